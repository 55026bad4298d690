#include "CloudReaders.h"

#include <clouds/CloudSelection.h>
#include <clouds/StepPace.h>

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>
#include <set>
#include <string>

namespace {

using namespace KTR;

/// Points of a survey; the intensity is each one's number.
std::vector<PointCloudPoint> Survey(int count) {
    CloudNumbers numbers;
    std::vector<PointCloudPoint> points;
    for (int index = 0; index < count; ++index) {
        PointCloudPoint point;
        const double x = numbers.Between(0.0, 400.0);
        point.position = {500'000.0 + x, 4'500'000.0 + numbers.Between(0.0, 200.0), 100.0 + std::sin(x / 30.0)};
        point.red = static_cast<unsigned short>(index);
        point.intensity = static_cast<float>(index);
        points.push_back(point);
    }
    return points;
}

std::vector<CloudChunk> Cut(ChunkBuilder& builder, const glm::dvec3& origin = {}) {
    std::vector<CloudChunk> chunks;
    EXPECT_TRUE(builder.Cut(origin, [&chunks](CloudChunk&& chunk) {
        chunks.push_back(std::move(chunk));
        return true;
    }));
    return chunks;
}

TEST(Chunks, RunIsCutIntoFullChunksThatHoldEachPointOnce) {
    const std::vector<PointCloudPoint> points = Survey(10'100);
    ChunkBuilder builder({.chunkPoints = 500, .runPoints = 20'000, .pointsInOrder = 10'000}, points.size());
    builder.Add(points);
    const std::vector<CloudChunk> chunks = Cut(builder);
    EXPECT_EQ(chunks.size(), 21U);
    std::set<int> seen;
    double area = 0.0;
    for (const CloudChunk& chunk : chunks) {
        EXPECT_TRUE(chunk.spread);
        EXPECT_LE(chunk.records.size(), 500U);
        EXPECT_GE(chunk.records.size(), 470U);
        CloudBox box;
        for (const PointCloudRecord& record : chunk.records) {
            const PointCloudPoint& point = points[static_cast<std::size_t>(record.intensity)];
            EXPECT_TRUE(seen.insert(static_cast<int>(record.intensity)).second) << "twice";
            EXPECT_EQ(record.red, point.red);
            EXPECT_NEAR(chunk.origin.x + static_cast<double>(record.x), point.position.x, 1e-5);
            EXPECT_NEAR(chunk.origin.y + static_cast<double>(record.y), point.position.y, 1e-5);
            box.Include({point.position.x, point.position.y, point.position.z});
        }
        EXPECT_EQ(box.low, chunk.box.low);
        EXPECT_EQ(box.high, chunk.box.high);
        area += (box.high.x - box.low.x) * (box.high.y - box.low.y);
    }
    EXPECT_EQ(seen.size(), points.size());
    EXPECT_LE(area, 400.0 * 200.0) << "chunks lie beside each other";
}

TEST(Chunks, FirstPointsOfAChunkAreFromAllOverIt) {
    std::vector<PointCloudPoint> points = Survey(16'000);
    std::sort(points.begin(), points.end(), [](const auto& left, const auto& right) {
        return left.position.x < right.position.x; // as a scanner goes along
    });
    ChunkBuilder builder({.chunkPoints = 4'000, .runPoints = 16'000, .pointsInOrder = 0}, points.size());
    builder.Add(points);
    for (const CloudChunk& chunk : Cut(builder)) {
        int inQuarter[4] = {};
        for (std::size_t index = 0; index < 200; ++index) {
            const PointCloudRecord& record = chunk.records[index];
            ++inQuarter[(record.x > 0.0F ? 1 : 0) + (record.y > 0.0F ? 2 : 0)];
        }
        for (const int count : inQuarter) {
            EXPECT_GE(count, 25);
        }
    }
}

// Points in no order at all take two or three times as long to rasterize.
TEST(Chunks, PointsThatFollowEachOtherLieNearEachOther) {
    ChunkBuilder builder({.chunkPoints = 10'000, .runPoints = 10'000, .pointsInOrder = 0}, 10'000);
    builder.Add(Survey(10'000));
    const CloudChunk chunk = Cut(builder).front();
    double way = 0.0;
    for (std::size_t index = 1; index < chunk.records.size(); ++index) {
        const PointCloudRecord& from = chunk.records[index - 1];
        const PointCloudRecord& to = chunk.records[index];
        way += std::hypot(to.x - from.x, to.y - from.y);
    }
    // Of two points of a box of 400 x 200 that have nothing to do with each other the distance is 160 on average.
    EXPECT_LT(way / static_cast<double>(chunk.records.size()), 20.0);
}

TEST(Chunks, SmallCloudKeepsTheReadersOrder) {
    const std::vector<PointCloudPoint> points = Survey(1'200);
    for (const unsigned long long expected : {0ULL, 1'200ULL}) {
        ChunkBuilder builder({.chunkPoints = 500, .runPoints = 2'000, .pointsInOrder = 1'200}, expected);
        const glm::dvec3 origin(500'100.0, 4'500'000.0, 0.0);
        std::vector<CloudChunk> chunks;
        for (const std::size_t first : {0U, 700U}) { // shown early, and the rest
            builder.Add(std::span(points).subspan(first, first == 0 ? 700 : 500));
            for (CloudChunk& chunk : Cut(builder, origin)) {
                chunks.push_back(std::move(chunk));
            }
        }
        ASSERT_EQ(chunks.size(), 3U);
        std::size_t next = 0;
        for (const CloudChunk& chunk : chunks) {
            EXPECT_FALSE(chunk.spread);
            for (const PointCloudRecord& record : chunk.records) {
                const PointXYZ& position = points[next].position;
                ASSERT_EQ(record.intensity, static_cast<float>(next));
                EXPECT_EQ(record.x, static_cast<float>(position.x - origin.x)) << "as a host would round it";
                EXPECT_EQ(record.z, static_cast<float>(position.z - origin.z));
                ++next;
            }
        }
        EXPECT_EQ(next, points.size());
    }
}

TEST(Chunks, CloudThatTurnsOutLargeIsSpreadFromThereOn) {
    const std::vector<PointCloudPoint> points = Survey(3'000);
    ChunkBuilder builder({.chunkPoints = 1'000, .runPoints = 2'000, .pointsInOrder = 1'200}, 0);
    builder.Add(std::span(points).first(600));
    EXPECT_TRUE(builder.KeepsOrder());
    EXPECT_FALSE(Cut(builder).front().spread);
    builder.Add(std::span(points).subspan(600, 700));
    EXPECT_FALSE(builder.KeepsOrder());
    EXPECT_TRUE(Cut(builder).front().spread);
}

TEST(Chunks, PointsWithoutAPlaceAreLeftOut) {
    std::vector<PointCloudPoint> points = Survey(5);
    points[1].position.x = std::nan("");
    points[3].position.z = -std::numeric_limits<double>::infinity();
    ChunkBuilder builder({.chunkPoints = 10, .runPoints = 100, .pointsInOrder = 100}, 5);
    builder.Add(points);
    EXPECT_EQ(builder.GetTaken(), 3U);
    EXPECT_EQ(builder.GetLeftOut(), 2U);
    EXPECT_EQ(Cut(builder).front().records.size(), 3U);
    EXPECT_TRUE(std::isfinite(builder.GetBox().high.x));
}

struct SeenBy {
    std::string name;
    CloudCamera camera;
};

std::vector<SeenBy> Cameras() {
    std::vector<SeenBy> cameras;
    CloudNumbers numbers;
    for (int index = 0; index < 60; ++index) {
        CloudCamera map;
        map.origin = {500'000.0, 4'500'000.0, 0.0};
        map.sizePixels = {800.0, 600.0};
        const double x = numbers.Between(-50.0, 350.0);
        const double y = numbers.Between(-50.0, 200.0);
        map.placeToClip =
            glm::ortho(x, x + numbers.Between(1.0, 200.0), y, y + numbers.Between(1.0, 100.0), -200.0, 200.0);
        cameras.push_back({"map " + std::to_string(index), map});
        CloudCamera perspective = map;
        const glm::dvec3 eye(numbers.Between(0.0, 400.0), numbers.Between(0.0, 200.0), numbers.Between(95.0, 160.0));
        const glm::dvec3 target(numbers.Between(0.0, 400.0), numbers.Between(0.0, 200.0), 100.0);
        perspective.placeToClip =
            glm::perspective(0.7, 4.0 / 3.0, 1.0, 300.0) * glm::lookAt(eye, target, glm::dvec3(0.0, 0.0, 1.0));
        cameras.push_back({"perspective " + std::to_string(index), perspective});
    }
    return cameras;
}

bool IsInView(const PointCloudPoint& point, const CloudCamera& camera) {
    const glm::dvec3 place(point.position.x, point.position.y, point.position.z);
    const glm::dvec4 clip = camera.placeToClip * glm::dvec4(place - camera.origin, 1.0);
    return std::abs(clip.x) <= clip.w && std::abs(clip.y) <= clip.w && std::abs(clip.z) <= clip.w;
}

// A chunk that is left out although a point of it is in view would be a hole in the frame.
TEST(Selection, NoPointInViewIsLeftOut) {
    const std::vector<PointCloudPoint> points = Survey(6'000);
    ChunkBuilder builder({.chunkPoints = 100, .runPoints = 10'000, .pointsInOrder = 0}, points.size());
    builder.Add(points);
    const std::vector<CloudChunk> chunks = Cut(builder);
    std::size_t chosen = 0;
    std::size_t needed = 0;
    for (const SeenBy& seen : Cameras()) {
        for (const CloudChunk& chunk : chunks) {
            const bool needs = std::any_of(chunk.records.begin(), chunk.records.end(), [&](const auto& record) {
                return IsInView(points[static_cast<std::size_t>(record.intensity)], seen.camera);
            });
            const bool has = FindCoveredPixels(chunk.box, seen.camera).has_value();
            EXPECT_TRUE(has || !needs) << seen.name;
            chosen += has ? 1U : 0U;
            needed += needs ? 1U : 0U;
        }
    }
    EXPECT_GT(needed, 300U);
    EXPECT_LT(chosen, needed * 5 / 4) << "and little more than what is needed is chosen";
}

TEST(Selection, BoxCoversItsPixels) {
    CloudCamera camera;
    camera.sizePixels = {800.0, 600.0};
    camera.placeToClip = glm::ortho(0.0, 80.0, 0.0, 60.0, -1.0, 1.0);
    const auto pixels = [&camera](const glm::dvec3& low, const glm::dvec3& high) {
        return FindCoveredPixels({low, high}, camera).value_or(-1.0);
    };
    EXPECT_NEAR(pixels({10.0, 10.0, 0.0}, {12.0, 15.0, 0.5}), 20.0 * 50.0, 1e-6);
    EXPECT_NEAR(pixels({-10.0, 10.0, 0.0}, {10.0, 20.0, 0.0}), 200.0 * 100.0, 1e-6) << "the part outside counts";
    EXPECT_EQ(pixels({10.0, 10.0, 0.0}, {10.0, 10.0, 0.0}), 1.0);
    EXPECT_EQ(pixels({-10.0, 10.0, 0.0}, {-0.1, 20.0, 0.0}), -1.0);
    EXPECT_EQ(pixels({10.0, 10.0, 2.0}, {12.0, 15.0, 3.0}), -1.0);
    camera.marginPixels = 2.0; // a large point reaches in
    EXPECT_GT(pixels({-10.0, 10.0, 0.0}, {-0.1, 20.0, 0.0}), 0.0);
    EXPECT_EQ(pixels({-10.0, 10.0, 0.0}, {-0.3, 20.0, 0.0}), -1.0);

    camera.placeToClip = glm::perspective(1.0, 4.0 / 3.0, 1.0, 1'000.0);
    EXPECT_EQ(pixels({-1.0, -1.0, -10.0}, {1.0, 1.0, 10.0}), kMostCoveredPixels) << "behind the eye too";
    EXPECT_EQ(pixels({-1.0, -1.0, 10.0}, {1.0, 1.0, 20.0}), -1.0) << "only behind";
}

unsigned long long Spent(const std::vector<ChunkShare>& shares) {
    unsigned long long spent = 0;
    for (const ChunkShare& share : shares) {
        EXPECT_GE(share.wanted, share.drawn);
        EXPECT_LE(share.wanted, share.most);
        spent += share.wanted - share.drawn;
    }
    return spent;
}

TEST(Budget, IsSpentSoThatTheFrameIsEquallyDense) {
    CloudNumbers numbers;
    for (int round = 0; round < 50; ++round) {
        std::vector<ChunkShare> shares;
        unsigned long long left = 0;
        for (int chunk = 0; chunk < 200; ++chunk) {
            ChunkShare share;
            share.pixels = std::exp(numbers.Between(0.0, 12.0));
            share.most = static_cast<unsigned int>(numbers.Below(60'000));
            share.drawn = chunk % 3 == 0 ? share.most / 7 : 0;
            left += share.most - share.drawn;
            shares.push_back(share);
        }
        const auto budget = static_cast<unsigned long long>(numbers.Between(1.0, 8'000'000.0));
        const double density = ShareBudget(shares, budget);
        const unsigned long long spent = Spent(shares);
        if (left <= budget) {
            EXPECT_EQ(spent, left);
            EXPECT_TRUE(std::isinf(density));
            continue;
        }
        EXPECT_LE(spent, budget);
        EXPECT_GE(spent + shares.size(), budget);
        for (const ChunkShare& share : shares) {
            const double reached = share.wanted / share.pixels;
            EXPECT_TRUE(share.wanted == share.drawn || reached <= density * 1.000001);
            EXPECT_TRUE(share.wanted == share.most || (share.wanted + 1) / share.pixels >= density * 0.999999);
        }
    }
}

TEST(Budget, OfOnePointStillComesToAnEnd) {
    std::vector<ChunkShare> shares = {{10.0, 0, 3, 0}, {1e9, 0, 2, 0}, {1.0, 0, 0, 0}};
    for (int step = 0; step < 5; ++step) {
        ShareBudget(shares, 1);
        EXPECT_EQ(Spent(shares), 1U);
        for (ChunkShare& share : shares) {
            share.drawn = share.wanted;
        }
    }
    ShareBudget(shares, 1);
    EXPECT_EQ(Spent(shares), 0U);
    EXPECT_EQ(shares[0].drawn + shares[1].drawn, 5U);
    shares[0] = {10.0, 1, 3, 0};
    ShareBudget(shares, 0);
    EXPECT_EQ(Spent(shares), 2U) << "0 sets no limit";
}

// A frame that takes too long is felt, one with fewer points is not.
TEST(StepPace, SlowestOfTheLastStepsCountsUntilEightOthersHaveCome) {
    StepPace pace;
    EXPECT_GT(pace.CountFor(40.0), 10'000U) << "a guess that shows something";
    EXPECT_GT(pace.CountFor(-1.0), 0U) << "a frame without time shows something, too";
    pace.Learn(100'000, 10.0);
    EXPECT_EQ(pace.CountFor(40.0), 400'000U);
    pace.Learn(100'000, 50.0);
    pace.Learn(10, 50.0); // nothing about points
    for (int fast = 0; fast < 7; ++fast) {
        pace.Learn(500'000, 10.0);
        EXPECT_EQ(pace.CountFor(40.0), 80'000U) << fast;
    }
    pace.Learn(500'000, 10.0);
    EXPECT_EQ(pace.CountFor(40.0), 2'000'000U);
}

} // namespace
