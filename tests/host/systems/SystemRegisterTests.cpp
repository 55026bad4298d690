#include "systems/SystemRegister.h"
#include "systems/TransformLayers.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

namespace OrrinViewer {
namespace {

SystemRegister OpenRegister() {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    return SystemRegister(std::filesystem::path(program).parent_path() / L"proj.db");
}

CoordinateSystem ByCode(int code) {
    CoordinateSystem system;
    system.code = code;
    return system;
}

TEST(SystemRegister, KnowsSystemsByCodeNameAndDefinition) {
    const SystemRegister systems = OpenRegister();
    for (const char* text : {"EPSG:32632", "32632", "WGS 84 / UTM zone 32N"}) {
        const std::optional<CoordinateSystem> system = systems.Find(text);
        ASSERT_TRUE(system) << text;
        EXPECT_EQ(NameOf(*system), "WGS 84 / UTM zone 32N (EPSG:32632)");
        EXPECT_EQ(system->units, MapUnits::Metres);
    }
    EXPECT_EQ(systems.Complete(ByCode(2225)).units, MapUnits::UsSurveyFeet);
    EXPECT_EQ(systems.Complete(ByCode(2992)).units, MapUnits::Feet);
    EXPECT_EQ(systems.Complete(ByCode(4258)).units, MapUnits::Degrees);
    for (const char* text : {"", "EPSG:999999", "the moon", "EPSG:5703", "PROJCS[\"half"}) {
        EXPECT_FALSE(systems.Find(text)) << text;
    }
    EXPECT_FALSE(SystemRegister("nowhere.db").Find("EPSG:32632"));
    EXPECT_FALSE(SystemRegister("nowhere.db").Relate(ByCode(4326), ByCode(32632)));
}

// East comes first on maps, whatever the register says of latitude and longitude.
TEST(SystemRegister, PlacesGoFromOneSystemToAnotherAndBack) {
    const SystemRegister systems = OpenRegister();
    const std::optional<MapTransformation> way = systems.Relate(ByCode(4326), ByCode(32632));
    ASSERT_TRUE(way);
    const Position place = way->forward({9.0, 45.0, 123.0});
    EXPECT_NEAR(place.x, 500'000.0, 0.001);
    EXPECT_NEAR(place.y, 4'982'950.4, 0.05);
    EXPECT_EQ(place.z, 123.0);
    const Position back = way->backward(place);
    EXPECT_NEAR(back.x, 9.0, 1e-9);
    EXPECT_NEAR(back.y, 45.0, 1e-9);
    EXPECT_FALSE(IsPlace(way->forward({1e9, 1e9, 0.0})));
    EXPECT_TRUE(systems.AreSame(ByCode(32632), ByCode(32632)));
    EXPECT_FALSE(systems.AreSame(ByCode(32632), ByCode(32633)));
    CoordinateSystem feet = ByCode(2225);
    feet.heightMetres = kMetresPerUsSurveyFoot;
    CoordinateSystem metres = ByCode(32610);
    metres.heightMetres = 1.0;
    const std::optional<MapTransformation> toMetres = systems.Relate(feet, metres);
    ASSERT_TRUE(toMetres);
    EXPECT_NEAR(toMetres->forward({6'561'666.0, 1'640'416.0, 3937.0}).z, 1200.0, 1e-9);
}

/// Three points, one of them nowhere.
class ThreePoints final : public CloudReader {
public:
    CloudFields GetFields() const override { return {}; }
    std::uint64_t GetPointCount() const override { return 3; }
    std::uint64_t CountSkipped() const override { return 0; }
    Extent GetPromisedExtent() const override { return {{0.0, 0.0, 5.0}, {10.0, 10.0, 6.0}}; }
    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t read = 0;
        for (; read < points.size() && m_next < 3; ++read, ++m_next) {
            points[read].position = {m_next == 1 ? -1.0 : m_next, 0.0, 5.0};
        }
        return read;
    }

private:
    int m_next = 0;
};

/// East becomes north; what is west of zero is nowhere.
const MapTransformation kTurned = {[](const Position& p) {
                                       return p.x < 0.0 ? Position{1e300, 0.0, 0.0} : Position{-p.y, p.x, p.z};
                                   },
                                   [](const Position& p) {
                                       return Position{p.y, -p.x, p.z};
                                   }};

TEST(TransformLayers, WhatIsNotInTheOtherSystemIsSkipped) {
    const std::unique_ptr<CloudReader> reader = TransformCloud(std::make_unique<ThreePoints>(), kTurned, ByCode(1));
    std::vector<CloudPoint> points(3);
    ASSERT_EQ(reader->Read(points), 2U);
    EXPECT_EQ(points[1].position, (Position{0.0, 2.0, 5.0}));
    EXPECT_EQ(reader->CountSkipped(), 1U);
    EXPECT_EQ(reader->GetPromisedExtent().low, (Position{-10.0, 0.0, 5.0}));
    EXPECT_EQ(reader->GetSystem().code, 1);

    VectorLayer layer;
    layer.features.resize(2);
    layer.features[0].lines = {{{1, 2, 0}, {3, 4, 0}}};
    layer.features[1].points = {{1, 1, 0}, {-1, 1, 0}};
    Transform(layer, kTurned);
    ASSERT_EQ(layer.features.size(), 1U);
    EXPECT_EQ(layer.features[0].lines[0][1], (Position{-4, 3, 0}));
    EXPECT_EQ(layer.extent.low, (Position{-4, 1, 0}));
    EXPECT_EQ(layer.skippedFeatures, 1U);
}

TEST(TransformLayers, GridKeepsItsElevationsWhereTheyWere) {
    const ElevationGrid grid{3, 2, 10.0, 5.0, 15.0, {1, 2, 3, 4, 5, kNoElevation}};
    const ElevationGrid turned = Transform(grid, kTurned);
    EXPECT_NEAR(turned.cellSize, 10.0, 1e-9);
    EXPECT_NEAR(turned.ElevationAt(-15.0, 5.0), 1.0, 1e-9);
    EXPECT_NEAR(turned.ElevationAt(-15.0, 25.0), 3.0, 1e-9);
    EXPECT_NEAR(turned.ElevationAt(-5.0, 15.0), 5.0, 1e-9);
    EXPECT_TRUE(std::isnan(turned.ElevationAt(-5.0, 25.0)));
}

} // namespace
} // namespace OrrinViewer
