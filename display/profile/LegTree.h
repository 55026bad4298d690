#pragma once

#include "../values/BasicTypes.h"

#include <array>
#include <cstddef>
#include <vector>

namespace KTR {

/// A straight piece of a line.
struct ProfileLeg {
    PointXY from;
    PointXY direction; ///< of length one
    double length = 0.0;
    double station = 0.0; ///< of its beginning
};

/// Where a place lies as seen from a leg.
struct LegFoot {
    double foot = 0.0;            ///< distance from the leg's beginning along its straight line, which has no ends
    double distanceSquared = 0.0; ///< from the leg
};

inline LegFoot FootOn(const ProfileLeg& leg, double x, double y) {
    const double dx = x - leg.from.x;
    const double dy = y - leg.from.y;
    const double foot = dx * leg.direction.x + dy * leg.direction.y;
    const double along = foot < 0.0 ? 0.0 : foot < leg.length ? foot : leg.length;
    const double awayX = dx - along * leg.direction.x;
    const double awayY = dy - along * leg.direction.y;
    return {foot, awayX * awayX + awayY * awayY};
}
/// Whether what has such a foot on leg `number` lies before or behind the whole line.
inline bool IsBeyondLine(double foot, double length, std::size_t number, std::size_t legCount) {
    return (foot < 0.0 && number == 0) || (foot > length && number + 1 == legCount);
}

/// Finds the nearest one of many legs, which may cross each other however they like. Its answers are those of trying
/// all legs one after the other.
class LegTree {
public:
    /// Throws when there is no memory.
    void Build(const std::vector<ProfileLeg>& legs);
    void Clear() { *this = {}; }

    /// The nearest leg's number, and where the place lies there; of equals the first. -1 where all are farther away
    /// than `most`. The first and the last leg do not count for what lies before and behind the line.
    std::ptrdiff_t Find(double x, double y, double most, LegFoot& found) const;

private:
    static constexpr std::size_t kLegsInLeaf = 16;

    /// Legs that lie together, each of their numbers in a row of its own, so that all are computed at once. The last
    /// one stands in for those that are missing.
    struct Leaf {
        std::array<double, kLegsInLeaf> fromX;
        std::array<double, kLegsInLeaf> fromY;
        std::array<double, kLegsInLeaf> directionX;
        std::array<double, kLegsInLeaf> directionY;
        std::array<double, kLegsInLeaf> length;
        std::array<unsigned int, kLegsInLeaf> number;
    };
    /// A node's left half stands behind it.
    struct Node {
        PointXY low;
        PointXY high;
        std::size_t right = 0; ///< 0: it is a leaf
        std::size_t leaf = 0;
    };
    struct Search {
        double x;
        double y;
        double nearest;             ///< squared
        std::ptrdiff_t number = -1; ///< of what is the nearest so far
        double foot = 0.0;
    };

    std::size_t AddNode(const std::vector<ProfileLeg>& legs, std::size_t* numbers, std::size_t count);
    void TryLeaf(const Leaf& leaf, Search& search) const;
    static double SquaredDistance(const Node& node, double x, double y);

    std::vector<Node> m_nodes;
    std::vector<Leaf> m_leaves;
    std::size_t m_legCount = 0;
    double m_slack = 0.0; ///< that rounding may put a leg beyond its box
};

} // namespace KTR
