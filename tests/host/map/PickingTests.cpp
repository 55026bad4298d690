#include "map/FeaturePicking.h"
#include "map/MapScale.h"
#include "map/PickedRows.h"
#include "map/PointSearch.h"
#include "map/StatusLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace OrrinViewer {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// A map with two pixels a unit, whose upper left is at (0, 100).
PickBeam OnMap(double x, double y) {
    PickBeam beam;
    beam.camera = PickCamera::Parallel({0.0, 100.0, 0.0}, {0.5, 0.0, 0.0}, {0.0, -0.5, 0.0}, {0.0, 0.0, -1.0});
    beam.x = 2.0 * x;
    beam.y = 2.0 * (100.0 - y);
    return beam;
}

/// From 100 units south of (50, 0) and 60 above it, looking north and down at (50, 0, 0); about a pixel a unit there.
PickBeam InPerspective(double x, double y, double z) {
    const Position eye{50.0, -100.0, 60.0};
    const double length = std::hypot(100.0, 60.0);
    const Position down{0.0, -60.0 / length, -100.0 / length};
    // The window is 400 pixels wide and high.
    const Position corner{50.0 - 200.0, -200.0 * down.y, -200.0 * down.z};
    PickBeam beam;
    beam.camera = PickCamera::Perspective(corner, {1.0, 0.0, 0.0}, down, eye);
    const SeenPlace seen = beam.camera.See({x, y, z});
    beam.x = seen.x / seen.w;
    beam.y = seen.y / seen.w;
    return beam;
}

VectorFeature PointAt(double x, double y) {
    VectorFeature feature;
    feature.points = {{x, y, 0.0}};
    return feature;
}

VectorFeature LineThrough(Path path) {
    VectorFeature feature;
    feature.lines = {std::move(path)};
    return feature;
}

Path Square(double west, double south, double side) {
    return {{west, south, 0.0}, {west + side, south, 0.0}, {west + side, south + side, 0.0}, {west, south + side, 0.0}};
}

VectorFeature AreaOf(std::vector<Path> rings) {
    VectorFeature feature;
    feature.polygons = {{std::move(rings)}};
    return feature;
}

VectorLayer LayerOf(std::vector<VectorFeature> features) {
    VectorLayer layer;
    for (VectorFeature& feature : features) {
        feature.extent = {};
        for (const Position& point : feature.points) {
            feature.extent.Include(point);
        }
        for (const Path& line : feature.lines) {
            for (const Position& position : line) {
                feature.extent.Include(position);
            }
        }
        for (const Polygon& polygon : feature.polygons) {
            for (const Path& ring : polygon.rings) {
                for (const Position& position : ring) {
                    feature.extent.Include(position);
                }
            }
        }
        layer.extent.Include(feature.extent);
    }
    layer.features = std::move(features);
    return layer;
}

std::vector<std::size_t> FindAt(const VectorLayer& layer, const PickBeam& beam) {
    std::vector<std::size_t> found;
    for (const FeatureHit& hit : FeatureIndex(layer).Find(layer, beam, {})) {
        found.push_back(hit.feature);
    }
    return found;
}

using Found = std::vector<std::size_t>;

TEST(FeaturePicking, PointsLieOverLinesOverAreasWhateverTheirOrder) {
    const VectorLayer layer =
        LayerOf({PointAt(50.0, 50.0), AreaOf({Square(20.0, 20.0, 60.0)}),
                 LineThrough({{0.0, 51.0, 0.0}, {100.0, 51.0, 0.0}}), AreaOf({Square(40.0, 40.0, 20.0)})});
    EXPECT_EQ(FindAt(layer, OnMap(51.0, 50.0)), (Found{0, 2, 3, 1})) << "of areas the last one is drawn uppermost";
    EXPECT_EQ(FindAt(layer, OnMap(56.0, 50.0)), (Found{2, 3, 1})) << "the point is twelve pixels away";
    EXPECT_EQ(FindAt(layer, OnMap(5.0, 5.0)), Found{});
}

TEST(FeaturePicking, HolesAreNoAreaAndOutlinesReachSomePixels) {
    const VectorLayer layer = LayerOf({AreaOf({Square(0.0, 0.0, 90.0), Square(30.0, 30.0, 30.0)})});
    EXPECT_EQ(FindAt(layer, OnMap(15.0, 15.0)), Found{0});
    EXPECT_EQ(FindAt(layer, OnMap(45.0, 45.0)), Found{}) << "in the hole";
    EXPECT_EQ(FindAt(layer, OnMap(32.0, 45.0)), Found{0}) << "four pixels from the hole's edge";
    EXPECT_EQ(FindAt(layer, OnMap(92.0, 45.0)), Found{0}) << "four pixels outside";
    EXPECT_EQ(FindAt(layer, OnMap(93.0, 45.0)), Found{}) << "six";
    EXPECT_EQ(FindAt(layer, OnMap(90.0, 90.0)), Found{0}) << "its corner";
}

// Neighbours share an edge and a corner: a place inside is of one of them alone, however its line of sight passes
// corners.
TEST(FeaturePicking, PlaceBetweenNeighboursIsWithinExactlyOne) {
    const VectorLayer layer = LayerOf({AreaOf({Square(0.0, 0.0, 50.0)}), AreaOf({Square(50.0, 0.0, 50.0)}),
                                       AreaOf({Square(0.0, 50.0, 50.0)}), AreaOf({Square(50.0, 50.0, 50.0)})});
    for (const double x : {25.0, 50.0, 75.0}) {
        for (const double y : {25.0, 50.0, 75.0}) {
            int within = 0;
            for (const FeatureHit& hit : FeatureIndex(layer).Find(layer, OnMap(x, y), {})) {
                PickBeam exact = OnMap(x, y);
                exact.lineReach = -1.0;
                within += std::isinf(HitFeature(layer, hit.feature, exact, {}).pixels) ? 0 : 1;
            }
            EXPECT_EQ(within, 1) << x << ", " << y;
        }
    }
}

TEST(FeaturePicking, DegenerateShapesAreFoundWhereTheyAreDrawn) {
    VectorFeature empty;
    empty.polygons = {{{Path{}}}};
    empty.lines = {Path{}};
    const VectorLayer layer = LayerOf({
        empty, LineThrough({{10.0, 10.0, 0.0}, {10.0, 10.0, 0.0}}),                             // of no length
        AreaOf({{{30.0, 30.0, 0.0}, {40.0, 30.0, 0.0}, {35.0, 30.0, 0.0}}}),                    // of no area
        AreaOf({{{60.0, 60.0, 0.0}}}),                                                          // of one position
        AreaOf({{{70.0, 10.0, 0.0}, {90.0, 30.0, 0.0}, {90.0, 10.0, 0.0}, {70.0, 30.0, 0.0}}}), // crosses itself
    });
    EXPECT_EQ(FindAt(layer, OnMap(10.0, 10.0)), Found{1});
    EXPECT_EQ(FindAt(layer, OnMap(35.0, 31.0)), Found{2});
    EXPECT_EQ(FindAt(layer, OnMap(60.0, 60.0)), Found{3});
    EXPECT_EQ(FindAt(layer, OnMap(86.0, 20.0)), Found{4});
    EXPECT_EQ(FindAt(layer, OnMap(80.0, 27.0)), Found{}) << "between its wings";
    EXPECT_EQ(FindAt(LayerOf({}), OnMap(0.0, 0.0)), Found{});
    PickBeam blind = OnMap(10.0, 10.0);
    blind.camera = {};
    EXPECT_EQ(FindAt(layer, blind), Found{});
}

TEST(FeaturePicking, InPerspectiveShapesAreFoundWhereTheyAreSeen) {
    // A road from behind the eye to the far, a field under the eye, a mast beside.
    VectorFeature mast = LineThrough({{80.0, 0.0, 0.0}, {80.0, 0.0, 30.0}});
    const VectorLayer layer = LayerOf(
        {LineThrough({{50.0, -500.0, 0.0}, {50.0, 2000.0, 0.0}}), AreaOf({Square(-200.0, -400.0, 420.0)}), mast});
    EXPECT_EQ(FindAt(layer, InPerspective(50.0, 500.0, 0.0)), Found{0}) << "far away";
    EXPECT_EQ(FindAt(layer, InPerspective(50.0, -20.0, 0.0)), (Found{0, 1}));
    EXPECT_EQ(FindAt(layer, InPerspective(20.0, 10.0, 0.0)), Found{1});
    EXPECT_EQ(FindAt(layer, InPerspective(20.0, 60.0, 0.0)), Found{}) << "north of it";
    EXPECT_EQ(FindAt(layer, InPerspective(80.0, 0.0, 25.0)), Found{2}) << "its top, over nothing";
    // Laid onto ground 30 higher the same road is elsewhere.
    const PickHeights raised{[](const Position&) { return 30.0; }, 30.0, 30.0};
    const FeatureIndex index(layer);
    EXPECT_EQ(index.Find(layer, InPerspective(20.0, 10.0, 30.0), raised).size(), 1U);
    EXPECT_TRUE(index.Find(layer, InPerspective(20.0, 10.0, 30.0), {}).empty()) << "far behind the field";
    EXPECT_TRUE(index.Find(layer, InPerspective(20.0, 15.0, 0.0), {}).size() == 1);
}

// Whatever the index leaves out has to be out of reach, and what it finds comes in the same order.
TEST(FeaturePicking, IndexFindsWhatLookingAtEverythingFinds) {
    std::mt19937 random(20'261'122);
    std::uniform_real_distribution<double> anywhere(0.0, 100.0);
    std::uniform_real_distribution<double> near(-6.0, 6.0);
    std::vector<VectorFeature> features;
    for (int index = 0; index < 900; ++index) {
        const Position middle{anywhere(random), anywhere(random), anywhere(random) * 0.1};
        const auto around = [&](double scale) {
            return Position{middle.x + scale * near(random), middle.y + scale * near(random), middle.z};
        };
        VectorFeature feature;
        switch (index % 4) {
        case 0:
            feature.points = {middle, around(1.0)};
            break;
        case 1: {
            Path line = {middle};
            for (int leg = 0; leg < 3 + index % 200; ++leg) {
                const Position& before = line.back();
                line.push_back({before.x + 0.2 * near(random), before.y + 0.2 * near(random), before.z});
            }
            feature.lines = {line, {around(1.0), around(3.0)}};
            break;
        }
        default: {
            Path ring;
            const int corners = 3 + index % 140;
            for (int corner = 0; corner < corners; ++corner) {
                const double angle = 6.283185307179586 * corner / corners;
                const double radius = 3.0 + std::fabs(near(random));
                ring.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle), middle.z});
            }
            feature.polygons = {{{ring, Square(middle.x - 1.0, middle.y - 1.0, 2.0)}}};
            break;
        }
        }
        features.push_back(std::move(feature));
    }
    const VectorLayer layer = LayerOf(std::move(features));
    const FeatureIndex tree(layer);
    const PickHeights bumpy{[](const Position& place) { return 5.0 + std::sin(place.x) * 5.0; }, 0.0, 10.0};
    std::size_t hits = 0;
    for (int pick = 0; pick < 120; ++pick) {
        const Position place{anywhere(random), anywhere(random), 5.0};
        const PickBeam beam = pick % 2 == 0 ? OnMap(place.x, place.y) : InPerspective(place.x, place.y, place.z);
        const PickHeights heights = pick % 3 == 0 ? bumpy : PickHeights{};
        std::vector<FeatureHit> all;
        for (std::size_t feature = 0; feature < layer.features.size(); ++feature) {
            if (const FeatureHit hit = HitFeature(layer, feature, beam, heights); !std::isinf(hit.pixels)) {
                all.push_back(hit);
            }
        }
        std::sort(all.begin(), all.end(), LiesOver);
        const std::vector<FeatureHit> found = tree.Find(layer, beam, heights);
        ASSERT_EQ(found.size(), all.size()) << "pick " << pick;
        for (std::size_t index = 0; index < all.size(); ++index) {
            EXPECT_EQ(found[index].feature, all[index].feature) << "pick " << pick;
            EXPECT_EQ(found[index].shape, all[index].shape) << "pick " << pick;
            EXPECT_NEAR(found[index].pixels, all[index].pixels, 1e-9) << "pick " << pick;
        }
        hits += all.size();
    }
    EXPECT_GT(hits, 200U);
}

std::vector<CloudPoint> PointsAt(const std::vector<Position>& positions) {
    std::vector<CloudPoint> points;
    for (const Position& position : positions) {
        CloudPoint point;
        point.position = position;
        points.push_back(point);
    }
    return points;
}

TEST(PointPicking, PointThatCoversThePlaceAndIsNearestToTheEyeIsTaken) {
    const PickBeam beam = OnMap(50.0, 50.0);
    const PointProbe probe{beam.camera, beam.x, beam.y};
    SearchedCloud cloud;
    cloud.sizePixels = 4.0;
    const auto pick = [&](const PointProbe& where, const std::vector<Position>& positions) {
        SeenPoint seen(where);
        seen.Add(PointsAt(positions), cloud);
        return seen.Best() ? seen.Best()->point.position : Position{};
    };
    const Position low{50.0, 50.0, 1.0};
    const Position high{50.9, 50.9, 9.0};
    const Position beside{51.5, 50.0, 30.0};
    EXPECT_EQ(pick(probe, {low, high, beside}), high);
    EXPECT_EQ(pick(probe, {beside, low}), low);
    EXPECT_EQ(pick(probe, {{53.0, 50.0, 0.0}, beside}), beside) << "three pixels away, the other one six";
    EXPECT_EQ(pick(probe, {{53.1, 50.0, 0.0}}), Position{});
    PointProbe hidden = probe;
    hidden.farthest = probe.camera.See({0.0, 0.0, 5.0}).depth;
    EXPECT_EQ(pick(hidden, {low, beside}), beside) << "what lies below the ground is not seen";
}

/// A cloud in memory, of which some parts can be read.
class CloudInMemory final : public CloudReader {
public:
    explicit CloudInMemory(std::vector<CloudPoint> points) : m_points(std::move(points)) {}
    CloudFields GetFields() const override { return {}; }
    std::uint64_t GetPointCount() const override { return m_points.size(); }
    std::uint64_t CountSkipped() const override { return 0; }
    std::size_t Read(std::span<CloudPoint> points) override {
        const std::size_t count = std::min(points.size(), m_points.size() - m_read);
        std::copy_n(m_points.begin() + static_cast<std::ptrdiff_t>(m_read), count, points.begin());
        m_read += count;
        return count;
    }

private:
    std::vector<CloudPoint> m_points;
    std::size_t m_read = 0;
};

TEST(PointPicking, SearchReadsOnlyCloudsThatMayBeThere) {
    const PickBeam beam = OnMap(50.0, 50.0);
    int opened = 0;
    const auto cloudAt = [&](double x, double y, std::uint32_t number) {
        SearchedCloud cloud;
        cloud.open = [&opened, x, y]() -> std::unique_ptr<CloudReader> {
            ++opened;
            std::vector<CloudPoint> points = PointsAt(std::vector<Position>(40'000, Position{x + 40.0, y, 0.0}));
            points.push_back(PointsAt({{x, y, 7.0}}).front());
            return std::make_unique<CloudInMemory>(std::move(points));
        };
        cloud.extent.Include(Position{x, y, 0.0});
        cloud.extent.Include(Position{x + 40.0, y, 7.0});
        cloud.number = number;
        return cloud;
    };
    SearchedCloud broken = cloudAt(50.0, 50.0, 3);
    broken.open = []() -> std::unique_ptr<CloudReader> { throw std::runtime_error("gone"); };
    PointSearch search;
    search.Start({beam.camera, beam.x, beam.y}, {cloudAt(-100.0, 50.0, 1), broken, cloudAt(51.0, 50.0, 2)});
    while (search.GetState().reading) {
        std::this_thread::yield();
    }
    const PointSearch::State state = search.GetState();
    ASSERT_TRUE(state.found);
    EXPECT_EQ(state.found->cloud, 2U);
    EXPECT_EQ(state.found->point.position, (Position{51.0, 50.0, 7.0}));
    EXPECT_EQ(state.problem, "gone");
    EXPECT_EQ(opened, 1);
}

TEST(PickedRows, TellWhatThereIsInTheUnitsOfTheMap) {
    VectorFeature field = AreaOf({Square(500'000.0, 4'500'000.0, 100.0), Square(500'010.0, 4'500'010.0, 50.0)});
    field.properties = {{"name", "Weide"}, {"owner", ""}};
    EXPECT_EQ(
        DescribeFeature(field, false, {}),
        (std::vector<PickedRow>{{"name", "Weide"}, {"owner", ""}, {"Area", "7500 m\xC2\xB2"}, {"Outline", "600 m"}}));
    CloudPoint point;
    point.position = {500'000.1234, 4'500'000.0, -0.25};
    point.intensity = 41'000.0F;
    EXPECT_EQ(DescribePoint(point, {false, true, true}, "ground", {MapUnits::Feet, kMetresPerUsSurveyFoot}),
              (std::vector<PickedRow>{{"x", "500000.123 ft"},
                                      {"y", "4500000.000 ft"},
                                      {"Height", "-0.250 ft"},
                                      {"Class", "ground"},
                                      {"Intensity", "41000"}}));
    for (const int widening : {1, 257}) {
        point.red = static_cast<std::uint16_t>(250 * widening);
        point.green = static_cast<std::uint16_t>(7 * widening);
        EXPECT_EQ(DescribePoint(point, {true, false, false}, "", {}).back(),
                  (PickedRow{"Red, green, blue", "250, 7, 0"}));
    }
    EXPECT_EQ(DescribePlace({7.5, 50.25, kNone}, {MapUnits::Degrees, {}}),
              (std::vector<PickedRow>{{"Longitude", "7.50000000\xC2\xB0"}, {"Latitude", "50.25000000\xC2\xB0"}}));
    EXPECT_EQ(RowsAsText({{"a\tb", "1\r\n2"}, {"c", ""}}), "a b\t1  2\r\nc\t\r\n");
}

TEST(MapScale, IsThatOfTheGroundAndTheScreen) {
    // At 96 dots per inch a pixel is 0.264583 mm.
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Metres, 1.0, 0.0, 96.0)), "1 : 3,780");
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Metres, 1.0, 0.0, 192.0)), "1 : 7,559");
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Feet, 10.0, 0.0, 96.0)), "1 : 11,520");
    // A degree of longitude at 60 degrees north is 55.8 km.
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Degrees, 1.0, 60.0, 96.0)), "1 : 210,900,000");
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Metres, 0.0001, 0.0, 96.0)), "1 : 0.378");
    EXPECT_EQ(FormatScale(FindScaleDenominator(MapUnits::Metres, 0.0, 0.0, 96.0)), "");
    EXPECT_EQ(DescribePosition({500'123.456, 4'500'000.0, 20.5}, 0.02, MapUnits::Metres, {}),
              "500123.46 m, 4500000.00 m, height 20.50 m");
    EXPECT_EQ(DescribePosition({7.5, 50.0, kNone}, 0.002, MapUnits::Degrees, {}), "7.500\xC2\xB0, 50.000\xC2\xB0");
}

// The place is what people look for, then the scale; what has no room goes, and nothing is cut or on top of another.
TEST(StatusLine, FactsGoFromTheLeastImportantOn) {
    StatusFacts facts;
    facts.scale = "1 : 25,000";
    facts.points = 50'000'000;
    facts.drawnPoints = 1'234'567;
    facts.system = "WGS 84 / UTM zone 32N (EPSG:32632)";
    facts.frameMilliseconds = 12.34;
    const std::vector<std::string> told = DescribeStatus(facts);
    EXPECT_EQ(told, (std::vector<std::string>{"1 : 25,000", "1,234,567 of 50,000,000 points",
                                              "WGS 84 / UTM zone 32N (EPSG:32632)", "12.3 ms",
                                              "OpenGL 1.1 fixed functions"}));
    const TextSizes sizes{[](const std::string& text) { return 6.0 * static_cast<double>(text.size()); }, 9.0, 3.0};
    const std::string place = "500123.46 m, 4500000.00 m";
    std::vector<std::size_t> counts;
    for (const int width : {100, 170, 300, 500, 720, 1'200}) {
        const std::vector<PixelText> texts = LayOutStatus(place, told, width, sizes);
        counts.push_back(texts.size());
        double right = width;
        for (std::size_t index = texts.size(); index-- > 0;) {
            // From the right: the facts, the most important one outermost; then the place.
            const PixelText& text = texts[index == 0 ? 0 : texts.size() - index];
            EXPECT_LE(text.x + sizes.width(text.text), right) << width;
            EXPECT_GE(text.x, 0.0) << width;
            right = text.x;
        }
    }
    EXPECT_EQ(counts, (std::vector<std::size_t>{1, 1, 2, 3, 4, 6}));
    EXPECT_EQ(LayOutStatus(place, told, 100, sizes).front().text, "1 : 25,000") << "the place is too wide";
}

} // namespace
} // namespace OrrinViewer
