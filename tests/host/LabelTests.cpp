#include "LabelAnchor.h"
#include "LabelPlacement.h"

#include <gtest/gtest.h>

#include <random>

namespace OrrinViewer {
namespace {

VectorFeature Area(std::vector<Path> rings) {
    VectorFeature feature;
    feature.polygons.push_back({std::move(rings)});
    return feature;
}

const Path g_square = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
const Path g_hole = {{3, 3, 0}, {3, 7, 0}, {7, 7, 0}, {7, 3, 0}};
/// Open to the north; the centroid is in the gap.
const Path g_horseshoe = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {9, 10, 0}, {9, 1, 0}, {1, 1, 0}, {1, 10, 0}, {0, 10, 0}};

TEST(LabelAnchor, NameOfAnAreaIsInsideIt) {
    const struct {
        const char* name;
        std::vector<Path> rings;
    } cases[] = {{"square", {g_square}}, {"courtyard", {g_square, g_hole}}, {"horseshoe", {g_horseshoe}}};
    for (const auto& test : cases) {
        const VectorFeature feature = Area(test.rings);
        const Position anchor = FindLabelAnchor(feature);
        EXPECT_TRUE(IsInside(feature.polygons[0], anchor.x, anchor.y))
            << test.name << " " << anchor.x << " " << anchor.y;
    }
    EXPECT_FALSE(IsInside(Area({g_square, g_hole}).polygons[0], 5, 5));
    EXPECT_EQ(FindSignedArea(g_square), 100.0);
    EXPECT_EQ(FindSignedArea(g_hole), -16.0);
}

TEST(LabelAnchor, CentroidKeepsItsDigitsAtGridCoordinates) {
    Path shifted = g_square;
    for (Position& corner : shifted) {
        corner.x = corner.x * 0.1 + 500'000;
        corner.y = corner.y * 0.1 + 4'500'000;
    }
    const Position anchor = FindLabelAnchor(Area({shifted}));
    EXPECT_NEAR(anchor.x, 500'000.5, 1e-6);
    EXPECT_NEAR(anchor.y, 4'500'000.5, 1e-6);
}

TEST(LabelAnchor, TakesTheLargestPartAndTheMiddleOfALine) {
    VectorFeature islands = Area({g_hole});
    islands.polygons.push_back({{{{100, 0, 0}, {120, 0, 0}, {120, 20, 0}, {100, 20, 0}}}});
    EXPECT_EQ(FindLabelAnchor(islands), (Position{110, 10, 0}));

    VectorFeature road;
    road.lines = {{{0, 0, 5}, {1, 0, 5}}, {{0, 0, 5}, {2, 0, 5}, {2, 0, 5}, {2, 4, 5}}};
    EXPECT_EQ(FindLabelAnchor(road), (Position{2, 1, 0}));

    const VectorFeature flat = Area({{{0, 0, 0}, {5, 0, 0}, {10, 0, 0}}});
    EXPECT_EQ(FindLabelAnchor(flat).y, 0.0) << "a ring without area still has a place";
}

bool Overlap(const LabelRequest& one, const LabelRequest& other, double unitsPerPixel) {
    const double sideways = std::abs(one.anchor.x - other.anchor.x) / unitsPerPixel;
    const double upwards = std::abs(one.anchor.y - other.anchor.y) / unitsPerPixel;
    return sideways < (one.widthPixels + other.widthPixels) / 2 - 1e-6 &&
           upwards < (one.heightPixels + other.heightPixels) / 2 - 1e-6;
}

// The promise to the user, at many scales: no label covers another, the most important one always shows, and there is
// no room left in which a further one could have stayed for good.
TEST(LabelPlacement, NoLabelCoversAnotherAtAnyScale) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(0.0, 1000.0);
    std::uniform_real_distribution<double> width(10.0, 90.0);
    std::vector<LabelRequest> requests(150);
    for (LabelRequest& request : requests) {
        request = {{place(random) + 500'000, place(random) + 4'500'000, 0}, width(random), 14.0};
    }
    const std::vector<double> coarsest = PlaceLabels(requests);
    EXPECT_EQ(coarsest[0], requests[0].coarsestUnitsPerPixel);
    std::size_t shownBefore = 0;
    for (double scale = 20.0; scale > 0.01; scale *= 0.7) {
        std::size_t shown = 0;
        for (std::size_t one = 0; one < requests.size(); ++one) {
            shown += scale <= coarsest[one] ? 1 : 0;
            for (std::size_t other = 0; other < one; ++other) {
                EXPECT_FALSE(scale <= coarsest[one] && scale <= coarsest[other] &&
                             Overlap(requests[one], requests[other], scale))
                    << one << " and " << other << " at " << scale;
            }
        }
        EXPECT_GE(shown, shownBefore);
        shownBefore = shown;
    }
    EXPECT_EQ(shownBefore, requests.size()) << "close enough, all are there";
}

TEST(LabelPlacement, EarlierLabelsWinAndVanishedOnesAreInNobodysWay) {
    const LabelRequest farAway{{0, 0, 0}, 20, 10, 1.0}; // vanishes when a pixel is more than a unit
    const LabelRequest beside{{40, 0, 0}, 20, 10};
    const LabelRequest same{{0, 0, 0}, 20, 10};
    const std::vector<double> coarsest = PlaceLabels({farAway, beside, same});
    EXPECT_EQ(coarsest[0], 1.0);
    EXPECT_EQ(coarsest[1], 1e300) << "the two would meet where the first has vanished";
    EXPECT_EQ(coarsest[2], 0.0);
}

} // namespace
} // namespace OrrinViewer
