#include "data/ReadingProgress.h"
#include "map/FeatureLabels.h"
#include "map/LabelAnchor.h"
#include "map/LabelPlacement.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace OrrinViewer {
namespace {

VectorFeature Area(std::vector<Path> rings) {
    VectorFeature feature;
    feature.polygons.push_back({std::move(rings)});
    return feature;
}

const Path kSquare = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
const Path kHole = {{3, 3, 0}, {3, 7, 0}, {7, 7, 0}, {7, 3, 0}};
/// Open to the north; the centroid is in the gap.
const Path kHorseshoe = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {9, 10, 0}, {9, 1, 0}, {1, 1, 0}, {1, 10, 0}, {0, 10, 0}};

TEST(LabelAnchor, LabelOfAnArea_IsInsideIt) {
    const struct {
        const char* name;
        std::vector<Path> rings;
    } cases[] = {{"square", {kSquare}}, {"courtyard", {kSquare, kHole}}, {"horseshoe", {kHorseshoe}}};
    for (const auto& test : cases) {
        const VectorFeature feature = Area(test.rings);
        const Position anchor = FindLabelAnchor(feature);
        EXPECT_TRUE(IsInside(feature.polygons[0], anchor.x, anchor.y))
            << test.name << " " << anchor.x << " " << anchor.y;
    }
    EXPECT_FALSE(IsInside(Area({kSquare, kHole}).polygons[0], 5, 5));
    EXPECT_EQ(FindSignedArea(kSquare), 100.0);
    EXPECT_EQ(FindSignedArea(kHole), -16.0);
}

TEST(LabelAnchor, CentroidAtGridCoordinates_KeepsItsDigits) {
    Path shifted = kSquare;
    for (Position& corner : shifted) {
        corner.x = corner.x * 0.1 + 500'000;
        corner.y = corner.y * 0.1 + 4'500'000;
    }
    const Position anchor = FindLabelAnchor(Area({shifted}));
    EXPECT_NEAR(anchor.x, 500'000.5, 1e-6);
    EXPECT_NEAR(anchor.y, 4'500'000.5, 1e-6);
}

TEST(LabelAnchor, LargestPartAndMiddleOfALine_AreTaken) {
    VectorFeature islands = Area({kHole});
    islands.polygons.push_back({{{{100, 0, 0}, {120, 0, 0}, {120, 20, 0}, {100, 20, 0}}}});
    EXPECT_EQ(FindLabelAnchor(islands), (Position{110, 10, 0}));

    VectorFeature road;
    road.lines = {{{0, 0, 5}, {1, 0, 5}}, {{0, 0, 5}, {2, 0, 5}, {2, 0, 5}, {2, 4, 5}}};
    EXPECT_EQ(FindLabelAnchor(road), (Position{2, 1, 0}));

    const VectorFeature flat = Area({{{0, 0, 0}, {5, 0, 0}, {10, 0, 0}}});
    EXPECT_EQ(FindLabelAnchor(flat).y, 0.0) << "a ring without area still has a place";
}

/// Whether the labels cover each other when each is larger by some `slack` in pixels.
bool Overlap(const LabelRequest& one, const LabelRequest& other, double unitsPerPixel, double slack) {
    const double sideways = std::abs(one.anchor.x - other.anchor.x) / unitsPerPixel;
    const double upwards = std::abs(one.anchor.y - other.anchor.y) / unitsPerPixel;
    return sideways < (one.widthPixels + other.widthPixels) / 2 + slack &&
           upwards < (one.heightPixels + other.heightPixels) / 2 + slack;
}

// The promise to the user, at many scales: no label covers another, none goes away while zooming in, and what is
// missing has no room.
TEST(LabelPlacement, AtEveryScale_NoLabelCoversAnotherAndNoRoomIsLeft) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(0.0, 1000.0);
    std::uniform_real_distribution<double> width(10.0, 90.0);
    std::vector<LabelRequest> requests(150);
    for (LabelRequest& request : requests) {
        request = {{place(random) + 500'000, place(random) + 4'500'000, 0}, width(random), 14.0, width(random) / 20.0};
    }
    const std::vector<double> coarsest = PlaceLabels(requests);
    std::size_t shownAtLast = 0;
    for (double scale = 5.0; scale > 0.005; scale *= 0.7) {
        shownAtLast = 0;
        for (std::size_t one = 0; one < requests.size(); ++one) {
            const bool shows = scale <= coarsest[one];
            shownAtLast += shows ? 1 : 0;
            bool isInTheWay = scale > requests[one].coarsestUnitsPerPixel;
            for (std::size_t other = 0; other < requests.size(); ++other) {
                if (other == one || scale > coarsest[other]) {
                    continue;
                }
                EXPECT_FALSE(shows && Overlap(requests[one], requests[other], scale, -1e-6))
                    << one << " and " << other << " at " << scale;
                isInTheWay = isInTheWay || Overlap(requests[one], requests[other], scale, 1e-6);
            }
            EXPECT_TRUE(shows || isInTheWay) << one << " at " << scale;
        }
    }
    EXPECT_EQ(shownAtLast, requests.size()) << "close enough, all are there";
}

TEST(LabelPlacement, EqualLabelsShowInTheirOrder_AndTheSameTextIsNotRepeatedNearby) {
    const LabelRequest first{{0, 0, 0}, 20, 10};
    const LabelRequest same{{0, 0, 0}, 20, 10};
    const LabelRequest beside{{40, 0, 0}, 20, 10};
    EXPECT_EQ(PlaceLabels({first, same, beside}), (std::vector<double>{1e300, 0.0, 2.0}));
    const LabelRequest part{{0, 0, 0}, 20, 10, 1e300, 7};
    const LabelRequest otherPart{{110, 0, 0}, 20, 10, 1e300, 7};
    const LabelRequest neighbour{{110, 40, 0}, 20, 10, 1e300, 8};
    EXPECT_EQ(PlaceLabels({part, otherPart, neighbour}), (std::vector<double>{1e300, 0.5, 5.5}));
}

TEST(FeatureLabels, LabelsAreOneShortLine_ThoseOfLargeFeaturesFirst) {
    EXPECT_EQ(MakeLabelText("  two\r\nlines "), "two  lines");
    const std::string umlauts =
        MakeLabelText(std::string(40, '-') + "\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC"
                                             "\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC");
    EXPECT_EQ(umlauts, std::string(40, '-') + "\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC...")
        << "no character is cut in half";

    const auto square = [](double size, const char* name) {
        VectorFeature feature;
        feature.polygons.push_back({{{{0, 0, 0}, {size, 0, 0}, {size, size, 0}, {0, size, 0}}}});
        feature.extent.Include(Position{0, 0, 0});
        feature.extent.Include(Position{size, size, 0});
        feature.properties = {{"ID", "1"}, {"NAME", name}};
        return feature;
    };
    VectorLayer layer;
    layer.features = {square(1, "small"), square(9, "large"), square(5, ""), square(7, "null")};
    const std::vector<FeatureLabel> labels = CollectLabels({&layer}, "NAME");
    ASSERT_EQ(labels.size(), 2U);
    EXPECT_EQ(labels[0].text, "large");
    EXPECT_EQ(labels[0].areaWidth, 9.0);
    EXPECT_EQ(labels[1].anchor, (Position{0.5, 0.5, 0}));
    EXPECT_EQ(ListProperties({&layer, &layer}), (std::vector<std::string>{"ID", "NAME"}));
}

// Many labels are placed on a thread, which has to end when there are others.
TEST(LabelPlacement, EndsWhenNobodyWantsTheLabelsAnyMore) {
    const auto progress = std::make_shared<ReadingProgress>();
    const ReadingScope scope(progress);
    const std::vector<LabelRequest> requests(10);
    EXPECT_EQ(PlaceLabels(requests).size(), 10U);
    EXPECT_DOUBLE_EQ(progress->GetState().share.value_or(0.0), 0.9);
    progress->Stop();
    EXPECT_THROW(PlaceLabels(requests), ReadingStopped);
}

} // namespace
} // namespace OrrinViewer
