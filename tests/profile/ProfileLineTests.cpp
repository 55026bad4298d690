#include "profile/ProfileLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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

/// As the library itself says it for a line of few legs: each is tried, and of equals the first counts.
bool FindAmongAll(const std::vector<PointXY>& line, double halfWidth, double x, double y, ProfilePlace& place) {
    std::vector<PointXY> direction(line.size() - 1);
    std::vector<double> lengths(line.size() - 1);
    for (std::size_t leg = 0; leg < lengths.size(); ++leg) {
        lengths[leg] = std::hypot(line[leg + 1].x - line[leg].x, line[leg + 1].y - line[leg].y);
        direction[leg] = {(line[leg + 1].x - line[leg].x) / lengths[leg],
                          (line[leg + 1].y - line[leg].y) / lengths[leg]};
    }
    double nearest = halfWidth * halfWidth;
    double station = 0.0;
    bool found = false;
    for (std::size_t leg = 0; leg < lengths.size(); station += lengths[leg], ++leg) {
        const double dx = x - line[leg].x;
        const double dy = y - line[leg].y;
        const double foot = dx * direction[leg].x + dy * direction[leg].y;
        if ((foot < 0.0 && leg == 0) || (foot > lengths[leg] && leg + 1 == lengths.size())) {
            continue;
        }
        const double along = std::fmin(std::fmax(foot, 0.0), lengths[leg]);
        const double awayX = dx - along * direction[leg].x;
        const double awayY = dy - along * direction[leg].y;
        const double distance = awayX * awayX + awayY * awayY;
        if (distance < nearest || (!found && distance == nearest)) {
            nearest = distance;
            found = true;
            double left = direction[leg].x * dy - direction[leg].y * dx;
            if (foot < 0.0 || foot > lengths[leg]) {
                const std::size_t corner = foot < 0.0 ? leg : leg + 1;
                left = direction[corner - 1].y * direction[corner].x - direction[corner - 1].x * direction[corner].y;
            }
            place = {station + along, std::copysign(std::sqrt(distance), left)};
        }
    }
    return found;
}

// A line of many thousand legs is searched in another way than one of few. Whoever unrolls the same points along both
// must get the same to the last bit, also where several legs are equally near.
TEST(ProfileLine, ManyLegsGiveToTheBitWhatTryingAllGives) {
    constexpr int legs = 3000;
    std::mt19937 random(11);
    std::uniform_real_distribution<double> place(-100.0, 100.0);
    const auto angle = [](int corner) { return corner * 6.283185307179586 / legs; };
    struct Line {
        const char* name;
        std::function<PointXY(int)> corner;
        std::function<PointXY()> place;
        double halfWidth;
    };
    const auto anywhere = [&] { return PointXY{1.5 * place(random), 1.5 * place(random)}; };
    const auto onLattice = [&] { return PointXY{std::round(place(random) / 5.0), std::round(place(random) / 5.0)}; };
    const Line lines[] = {
        {"all over",
         [&](int) {
             return PointXY{place(random), place(random)};
         },
         anywhere, 5000.0},
        {"far from the origin",
         [&](int) {
             return PointXY{500'000.0 + place(random), 4'500'000.0 + place(random)};
         },
         [&] {
             return PointXY{500'000.0 + place(random), 4'500'000.0 + place(random)};
         },
         300.0},
        // Leaves out what repeats the corner before it, as the line does.
        {"on a lattice",
         [&](int corner) {
             return PointXY{onLattice().x, corner % 2 + 2.0 * onLattice().y};
         },
         onLattice, 10.0},
        {"around the place",
         [&](int corner) {
             return PointXY{std::cos(angle(corner)), std::sin(angle(corner))};
         },
         [&] {
             return PointXY{1e-15 * place(random), 1e-15 * place(random)};
         },
         1.0},
        {"to and fro",
         [](int corner) {
             return PointXY{corner % 2 * 50.0, 0.0};
         },
         anywhere, 70.0},
    };
    for (const Line& tested : lines) {
        SCOPED_TRACE(tested.name);
        std::vector<PointXY> line;
        for (int corner = 0; corner <= legs; ++corner) {
            line.push_back(tested.corner(corner));
        }
        ProfileLine profile;
        ASSERT_TRUE(profile.Set(line.data(), static_cast<int>(line.size()), tested.halfWidth));
        ASSERT_EQ(profile.Corners().size(), line.size());
        int inside = 0;
        for (int index = 0; index < 300; ++index) {
            const PointXY at = tested.place();
            ProfilePlace found{-1.0, -1.0};
            ProfilePlace wanted{-1.0, -1.0};
            ASSERT_EQ(profile.Find(at.x, at.y, found), FindAmongAll(line, tested.halfWidth, at.x, at.y, wanted));
            ASSERT_EQ(found.station, wanted.station) << at.x << ", " << at.y;
            ASSERT_EQ(found.offset, wanted.offset) << at.x << ", " << at.y;
            inside += found.station >= 0.0 ? 1 : 0;
        }
        EXPECT_GT(inside, 30);
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
