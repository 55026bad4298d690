#include "profile/ProfileLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using namespace KTR;

/// The nearest leg by trying them all.
bool FindSlowly(const std::vector<PointXY>& line, double halfWidth, double x, double y, ProfilePlace& place) {
    double nearest = halfWidth;
    double station = 0.0;
    bool found = false;
    for (std::size_t leg = 0; leg + 1 < line.size(); ++leg) {
        const double dx = line[leg + 1].x - line[leg].x;
        const double dy = line[leg + 1].y - line[leg].y;
        const double length = std::hypot(dx, dy);
        const double share = ((x - line[leg].x) * dx + (y - line[leg].y) * dy) / (length * length);
        const bool beyond = (leg == 0 && share < 0.0) || (leg + 2 == line.size() && share > 1.0);
        const double inside = std::fmin(std::fmax(share, 0.0), 1.0);
        const double distance = std::hypot(x - line[leg].x - inside * dx, y - line[leg].y - inside * dy);
        if (!beyond && distance <= nearest && (!found || distance < nearest)) {
            nearest = distance;
            found = true;
            double left = dx * (y - line[leg].y) - dy * (x - line[leg].x);
            if (share < 0.0 || share > 1.0) {
                const std::size_t corner = share < 0.0 ? leg : leg + 1;
                const PointXY& before = line[corner - 1];
                const PointXY& at = line[corner];
                const PointXY& behind = line[corner + 1];
                left = (at.y - before.y) * (behind.x - at.x) - (at.x - before.x) * (behind.y - at.y);
            }
            place = {station + inside * length, left < 0.0 ? -distance : distance};
        }
        station += length;
    }
    return found;
}

// Sharp bends, legs that cross each other, short and long ones, national-grid coordinates.
TEST(ProfileLine, NearestLegIsTheOneThatTryingAllFinds) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(-100.0, 100.0);
    constexpr int rounds = 62; // the last two of lines that reach all over, one with a band wider than itself
    for (int round = 0; round < rounds; ++round) {
        const bool isLong = round >= 60;
        const PointXY shift = round % 2 == 0 ? PointXY{} : PointXY{500000.0, 4500000.0};
        std::vector<PointXY> line(static_cast<std::size_t>(isLong ? 3000 : 2 + round % 21));
        for (PointXY& point : line) {
            point = {shift.x + place(random), shift.y + place(random)};
        }
        const double halfWidth = round == 61 ? 5000.0 : round % 3 == 0 ? 40.0 : 0.5 + round;
        ProfileLine profile;
        ASSERT_TRUE(profile.Set(line.data(), static_cast<int>(line.size()), halfWidth));
        for (int point = 0; point < (isLong ? 100 : 2000); ++point) {
            const double x = shift.x + 1.7 * place(random);
            const double y = shift.y + 1.7 * place(random);
            ProfilePlace found{-1.0, -1.0};
            ProfilePlace wanted{-1.0, -1.0};
            ASSERT_EQ(profile.Find(x, y, found), FindSlowly(line, halfWidth, x, y, wanted)) << x << ", " << y;
            ASSERT_NEAR(found.station, wanted.station, 1e-6);
            ASSERT_NEAR(found.offset, wanted.offset, 1e-6);
        }
    }
}

TEST(ProfileLine, StationsRunAlongTheCorners) {
    const PointXY line[] = {{0.0, 0.0}, {0.0, 0.0}, {30.0, 0.0}, {30.0, 40.0}, {30.0, 40.0}};
    ProfileLine profile;
    ASSERT_TRUE(profile.Set(line, 5, 5.0));
    EXPECT_EQ(profile.Length(), 70.0);
    ASSERT_EQ(profile.Corners().size(), 3U) << "repeated points are left out";
    EXPECT_EQ(profile.StationOfCorner(1), 30.0);
    EXPECT_EQ(profile.StationOfCorner(2), 70.0);
    PointXY point;
    ASSERT_TRUE(profile.PointAt(50.0, point));
    EXPECT_EQ(point.x, 30.0);
    EXPECT_EQ(point.y, 20.0);
    EXPECT_EQ(profile.DirectionAt(30.0).y, 1.0);
    EXPECT_TRUE(profile.PointAt(70.0, point));
    EXPECT_FALSE(profile.PointAt(70.001, point));
    EXPECT_FALSE(profile.PointAt(-0.001, point));
    EXPECT_FALSE(profile.PointAt(std::nan(""), point));
    ProfilePlace place;
    ASSERT_TRUE(profile.Find(10.0, 5.0, place)) << "the edge belongs to the band";
    EXPECT_EQ(place.offset, 5.0) << "left is positive";
    ASSERT_TRUE(profile.Find(10.0, -2.0, place));
    EXPECT_EQ(place.offset, -2.0);
    ASSERT_TRUE(profile.Find(33.0, -4.0, place)) << "around the outside of a bend";
    EXPECT_EQ(place.station, 30.0);
    EXPECT_EQ(place.offset, -5.0);
    EXPECT_FALSE(profile.Find(34.0, -4.0, place));
    EXPECT_FALSE(profile.Find(-0.1, 0.0, place)) << "before the line";
    EXPECT_FALSE(profile.Find(30.0, 40.1, place)) << "behind it";
    EXPECT_FALSE(profile.Find(std::nan(""), 0.0, place));
}

TEST(ProfileLine, RefusesWhatIsNoLine) {
    const double infinite = std::numeric_limits<double>::infinity();
    const PointXY same[] = {{1.0, 1.0}, {1.0, 1.0}};
    const PointXY good[] = {{1.0, 1.0}, {2.0, 1.0}};
    const PointXY bad[] = {{1.0, 1.0}, {infinite, 1.0}};
    const PointXY farApart[] = {{-1.7e308, 0.0}, {1.7e308, 0.0}};
    ProfileLine profile;
    EXPECT_FALSE(profile.Set(nullptr, 2, 1.0));
    EXPECT_FALSE(profile.Set(good, 1, 1.0));
    EXPECT_FALSE(profile.Set(same, 2, 1.0));
    EXPECT_FALSE(profile.Set(bad, 2, 1.0));
    EXPECT_FALSE(profile.Set(farApart, 2, 1.0));
    EXPECT_FALSE(profile.Set(good, 2, 0.0));
    EXPECT_FALSE(profile.Set(good, 2, infinite));
    EXPECT_TRUE(profile.Set(good, 2, 1.0));
    EXPECT_FALSE(profile.Set(bad, 2, 1.0));
    ProfilePlace place;
    EXPECT_TRUE(profile.IsEmpty());
    EXPECT_FALSE(profile.Find(1.0, 1.0, place));
}

} // namespace
