#include "data/LayerSource.h"

#include <gtest/gtest.h>

namespace OrrinViewer {
namespace {

PlacedLayer Layer(const char* name, double west, double south, double size, const char* wkt = "") {
    PlacedLayer layer;
    layer.source.name = name;
    layer.source.system.wkt = wkt;
    layer.extent.Include(Position{west, south, 0.0});
    layer.extent.Include(Position{west + size, south + size, 0.0});
    return layer;
}

// A map with two dots in opposite corners looks like two empty files; why it is so has to be told.
TEST(LayerSource, LayersApartThatCannotBeRelated_AreTold) {
    const PlacedLayer cloud = Layer("cloud.las", 500'000, 4'500'000, 1'000, "PROJCS");
    const PlacedLayer roads = Layer("roads.json", 9, 45, 1);
    EXPECT_EQ(
        FindLayersApart({cloud, roads}),
        (std::vector<std::string>{"roads.json: lies apart from cloud.las; it does not tell its coordinate system"}));
    const PlacedLayer untold = Layer("cloud.ply", 500'000, 4'500'000, 1'000);
    EXPECT_EQ(FindLayersApart({untold, Layer("roads.json", 9, 45, 1, "GEOGCS")}),
              (std::vector<std::string>{
                  "roads.json: lies apart from cloud.ply; cloud.ply does not tell its coordinate system"}));
    EXPECT_TRUE(FindLayersApart({cloud, Layer("far.las", 900'000, 4'500'000, 1'000, "PROJCS")}).empty())
        << "both are known";
    EXPECT_TRUE(FindLayersApart({untold, Layer("next.ply", 501'500, 4'500'000, 1'000)}).empty()) << "a neighbour";
    EXPECT_TRUE(FindLayersApart({cloud}).empty());
    EXPECT_TRUE(FindLayersApart({cloud, PlacedLayer{{"empty.las", {}}, {}}}).empty());
}

TEST(LayerSource, UnitsAreThoseThatAFileTells) {
    PlacedLayer feet = Layer("feet.las", 0, 0, 50);
    feet.source.system.units = MapUnits::Feet;
    feet.source.system.heightMetres = 1.0;
    PlacedLayer outlines = Layer("outlines.json", 0, 0, 50);
    outlines.maybeDegrees = true;
    EXPECT_EQ(FindUnits({outlines, feet}).units, MapUnits::Feet);
    EXPECT_EQ(FindUnits({outlines, feet}).heightMetres, 1.0);
    EXPECT_EQ(FindUnits({outlines}).units, MapUnits::Degrees);
    EXPECT_EQ(FindUnits({outlines, Layer("cloud.ply", 300, 0, 50)}).units, MapUnits::Metres);
    EXPECT_EQ(FindUnits({Layer("cloud.ply", 0, 0, 50)}).units, MapUnits::Metres);
    EXPECT_EQ(FindUnits({}).units, MapUnits::Metres);
}

} // namespace
} // namespace OrrinViewer
