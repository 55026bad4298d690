#include "data/BandReading.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace OrrinViewer {
namespace {

/// Points along x, one a metre, each with its number as intensity.
class Row final : public CloudReader {
public:
    explicit Row(std::uint64_t count, std::uint64_t breaksAt = UINT64_MAX) : m_count(count), m_breaksAt(breaksAt) {}
    CloudFields GetFields() const override { return {}; }
    std::uint64_t GetPointCount() const override { return m_count; }
    std::uint64_t CountSkipped() const override { return 0; }
    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t count = 0;
        while (count < points.size() && m_next < m_count) {
            if (m_next == m_breaksAt) {
                throw std::runtime_error("the rest is torn off");
            }
            points[count].position = {static_cast<double>(m_next), 0.0, 5.0};
            points[count].intensity = static_cast<float>(m_next);
            ++count;
            ++m_next;
        }
        return count;
    }

private:
    std::uint64_t m_count;
    std::uint64_t m_breaksAt;
    std::uint64_t m_next = 0;
};

CloudOpener OpenRow(std::uint64_t count, std::uint64_t breaksAt = UINT64_MAX) {
    return [=] { return std::make_unique<Row>(count, breaksAt); };
}

void WaitFor(const BandReading& reading) {
    while (reading.GetState().reading) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::vector<BandPoint> PointsOf(const BandReading& reading) {
    std::vector<BandPoint> all;
    reading.Visit(0, [&](const std::vector<BandPoint>& points, std::size_t) { all = points; });
    return all;
}

TEST(BandReading, FindsWhatLiesBesideTheLineInAllClouds) {
    BandReading reading;
    reading.Start({{{10.0, -3.0, 0.0}, {10.0, 3.0, 0.0}}, 2.0}, {OpenRow(40'000), OpenRow(11)});
    WaitFor(reading);
    const std::vector<BandPoint> points = PointsOf(reading);
    ASSERT_EQ(points.size(), 5U + 3U);
    EXPECT_EQ(points.front().point.position.x, 8.0);
    EXPECT_EQ(points[4].point.position.x, 12.0);
    EXPECT_EQ(points[5].cloud, 1U);
    reading.Start({{{0.0, 1.0, 0.0}, {5.0, 1.0, 0.0}}, 0.5}, {OpenRow(100)});
    WaitFor(reading);
    EXPECT_EQ(PointsOf(reading).size(), 0U) << "what was there before is gone";
}

// Points that are left out must not look like the end of the file to those who read on.
TEST(CloudReader, ClassesThatAreLeftOutLeaveNoGaps) {
    class Classified final : public CloudReader {
    public:
        CloudFields GetFields() const override { return {.classes = true}; }
        std::uint64_t GetPointCount() const override { return 1000; }
        std::uint64_t CountSkipped() const override { return 0; }
        std::size_t Read(std::span<CloudPoint> points) override {
            std::size_t count = 0;
            for (; count < points.size() && m_next < 1000; ++count, ++m_next) {
                points[count].intensity = static_cast<float>(m_next);
                points[count].classNumber = static_cast<std::uint8_t>(m_next < 300 ? 2 : m_next % 2 == 0 ? 6 : 9);
            }
            return count;
        }

    private:
        int m_next = 0;
    };
    std::bitset<256> hidden;
    hidden.set(2);
    hidden.set(6);
    const std::unique_ptr<CloudReader> reader = LeaveOutClasses(std::make_unique<Classified>(), hidden);
    std::vector<float> read;
    std::vector<CloudPoint> points(64);
    for (std::size_t count = points.size(); count == points.size();) {
        count = reader->Read(points);
        for (std::size_t index = 0; index < count; ++index) {
            EXPECT_EQ(points[index].classNumber, 9);
            read.push_back(points[index].intensity);
        }
    }
    ASSERT_EQ(read.size(), 350U);
    EXPECT_EQ(read.front(), 301.0F);
    EXPECT_EQ(read.back(), 999.0F);
}

// A file of any size in memory of one size: evenly fewer, the first ones included.
TEST(BandReading, KeepsNoMorePointsThanItMay) {
    BandReading reading(1000);
    reading.Start({{{0.0, 0.0, 0.0}, {1e6, 0.0, 0.0}}, 1.0}, {OpenRow(100'000)});
    WaitFor(reading);
    const BandReading::State state = reading.GetState();
    EXPECT_EQ(state.found, 100'000U);
    EXPECT_LE(state.points, 1000U);
    EXPECT_GE(state.points, 500U);
    const std::vector<BandPoint> points = PointsOf(reading);
    const double step = 128.0;
    for (std::size_t index = 0; index < points.size(); ++index) {
        ASSERT_EQ(points[index].point.position.x, step * static_cast<double>(index));
    }
    EXPECT_EQ(state.thinned, 7U);
}

TEST(BandReading, TellsWhatWentWrongAndCanBeStopped) {
    BandReading reading;
    reading.Start({{{0.0, 0.0, 0.0}, {1e6, 0.0, 0.0}}, 1.0}, {OpenRow(100'000, 50'000)});
    WaitFor(reading);
    EXPECT_EQ(reading.GetState().problem, "the rest is torn off");
    EXPECT_EQ(reading.GetState().found, 49'152U) << "whole parts of the file";
    reading.Start({{{0.0, 0.0, 0.0}, {1e6, 0.0, 0.0}}, 1.0}, {OpenRow(UINT64_MAX)});
    reading.Stop();
    EXPECT_FALSE(reading.GetState().reading) << "a cloud without end";
}

TEST(Band, MovesAsideAndAlongItsFirstLeg) {
    const Band band{{{0.0, 0.0, 0.0}, {3.0, 4.0, 0.0}}, 1.0};
    EXPECT_EQ(band.Length(), 5.0);
    const Band right = band.Shifted(5.0, 0.0);
    EXPECT_DOUBLE_EQ(right.corners[0].x, 4.0);
    EXPECT_DOUBLE_EQ(right.corners[0].y, -3.0);
    const Band along = band.Shifted(0.0, 10.0);
    EXPECT_DOUBLE_EQ(along.corners[1].x, 9.0);
    EXPECT_DOUBLE_EQ(along.corners[1].y, 12.0);
}

} // namespace
} // namespace OrrinViewer
