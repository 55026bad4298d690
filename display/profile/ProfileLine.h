#pragma once

#include "../values/BasicTypes.h"
#include "LegTree.h"

#include <cstddef>
#include <vector>

namespace KTR {

/// Where a place lies as seen from a line: how far along it, and how far to its left.
struct ProfilePlace {
    double station = 0.0;
    double offset = 0.0;
};

/// A line string on the map with a half width: the band of land that a profile shows, unrolled along the line.
///
/// A place belongs to the leg that is nearest to it. At the outside of a bend that is the corner, so that the band has
/// round corners; it ends square at both ends of the line.
class ProfileLine {
public:
    ProfileLine() = default;
    /// Points that repeat the one before are left out. False, and the line empty, when fewer than two are left, one is
    /// not finite, or the half width is not a positive number.
    bool Set(const PointXY* points, int count, double halfWidth);
    void Clear() { *this = {}; }

    bool IsEmpty() const { return m_legs.empty(); }
    double Length() const { return m_legs.empty() ? 0.0 : m_legs.back().station + m_legs.back().length; }
    double HalfWidth() const { return m_halfWidth; }
    const std::vector<PointXY>& Corners() const { return m_corners; }
    /// Distance along the line of a corner.
    double StationOfCorner(std::size_t corner) const;

    /// False, and `place` untouched, beyond the half width and before or behind the line.
    bool Find(double x, double y, ProfilePlace& place) const;
    /// The place on the line; false, and the outputs untouched, before or behind it.
    bool PointAt(double station, PointXY& point) const;
    /// The direction of the leg there, of length one. At a corner that of the leg that begins.
    PointXY DirectionAt(double station) const;

private:
    /// The band's box in cells, each with the legs whose part of the band may touch it. Most places of a large cloud
    /// lie in a cell without any, and are done with.
    struct Cells {
        int side = 1; ///< cells in either direction
        PointXY low;
        double perX = 0.0; ///< cells a unit
        double perY = 0.0;
        std::vector<int> first; ///< index into `legs` for each cell, and the end
        std::vector<int> legs;
    };

    void FillCells();
    bool CountInCells(int side);
    template <typename Visit> void VisitCells(const ProfileLeg& leg, Visit visit) const;
    double TurnAt(std::size_t corner) const;
    std::ptrdiff_t NearestOfCell(std::size_t cell, double x, double y, LegFoot& foot) const;
    std::size_t LegAt(double station) const;

    std::vector<PointXY> m_corners;
    std::vector<ProfileLeg> m_legs;
    LegTree m_tree; ///< for the cells whose lists are long
    double m_halfWidth = 0.0;
    Cells m_cells;
};

} // namespace KTR
