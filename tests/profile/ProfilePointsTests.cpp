#include "profile/ProfilePoints.h"
#include "profile/RoundSteps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace KTR;

GLDrawGeometry RecordAt(double x, double y, double z) {
    GLDrawGeometry record{};
    record.x = static_cast<float>(x);
    record.y = static_cast<float>(y);
    record.z = static_cast<float>(z);
    record.g = 77;
    return record;
}

// Records are relative to the coordinate offsets, the line is not; what is left out still counts for the numbers.
TEST(ProfilePoints, KeepsWhatLiesInTheBandAndKnowsWhereItCameFrom) {
    const PointXY corners[] = {{500010.0, 4500000.0}, {500040.0, 4500000.0}};
    ProfileLine line;
    ASSERT_TRUE(line.Set(corners, 2, 2.0));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const GLDrawGeometry records[] = {RecordAt(0.0, 0.0, 5.0),  RecordAt(15.0, 1.0, 5.0),  RecordAt(20.0, -2.0, 9.5),
                                      RecordAt(20.0, 2.5, 5.0), RecordAt(20.0, 0.0, 11.0), RecordAt(20.0, 0.0, nan),
                                      RecordAt(nan, 0.0, 5.0),  RecordAt(40.0, 0.0, 4.0)};
    ProfilePoints points;
    EXPECT_EQ(points.Add(line, records, 4, {500000.0, 4500000.0}, 4.0, 10.0), 2U);
    EXPECT_EQ(points.Add(line, records + 4, 4, {500000.0, 4500000.0}, 4.0, 10.0), 1U);
    ASSERT_EQ(points.records.size(), 3U);
    EXPECT_EQ(points.sources, (std::vector<std::uint64_t>{1, 2, 7}));
    EXPECT_EQ(points.records[0].x, 5.0F);
    EXPECT_EQ(points.records[0].y, 1.0F);
    EXPECT_EQ(points.records[1].y, -2.0F);
    EXPECT_EQ(points.records[1].g, 77);
    EXPECT_EQ(points.heights.low, 4.0);
    EXPECT_EQ(points.heights.high, 9.5);
    EXPECT_EQ(points.Nearest(5.2, 5.1, 0.1, 0.1, 5.0), 0);
    EXPECT_EQ(points.Nearest(5.2, 5.1, 0.1, 0.1, 2.0), -1);
    EXPECT_EQ(points.Nearest(5.2, 9.0, 100.0, 0.1, 50.0), 1) << "pixels are what counts";
}

struct Marks {
    double low, high, smallest;
    double step = 0.0;
    double first = 0.0;
    int count = 0;
    int decimals = 0;
};

TEST(RoundSteps, AreRoundAndInside) {
    const Marks cases[] = {
        {0.0, 100.0, 10.0, 10.0, 0.0, 11, 0},   {0.0, 100.0, 10.1, 20.0, 0.0, 6, 0}, {-7.0, 3.0, 2.5, 5.0, -5.0, 2, 0},
        {406.2, 406.9, 0.09, 0.1, 406.2, 8, 1}, {0.0, 1.0, 0.03, 0.05, 0.0, 21, 2},  {1.0, 2.0, 30.0, 50.0, 50.0, 0, 0},
        {0.0, 1e9, 1.0, 2e6, 0.0, 501, 0},
    };
    for (const Marks& wanted : cases) {
        const RoundSteps steps = FindRoundSteps(wanted.low, wanted.high, wanted.smallest);
        EXPECT_DOUBLE_EQ(steps.step, wanted.step);
        EXPECT_NEAR(steps.first, wanted.first, 1e-9);
        EXPECT_EQ(steps.count, wanted.count) << wanted.low << " to " << wanted.high;
        EXPECT_EQ(steps.decimals, wanted.decimals) << wanted.smallest;
    }
    const double infinite = std::numeric_limits<double>::infinity();
    for (const Marks& bad : {Marks{0.0, infinite, 1.0}, Marks{5.0, 5.0, 1.0}, Marks{0.0, 1.0, 0.0},
                             Marks{0.0, 1.0, std::nan("")}, Marks{1e17, 1e17 + 32.0, 1.0}, Marks{2.0, 1.0, 0.1}}) {
        EXPECT_EQ(FindRoundSteps(bad.low, bad.high, bad.smallest).count, 0);
    }
}

} // namespace
