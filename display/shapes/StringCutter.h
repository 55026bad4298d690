#pragma once

#include "../values/BasicTypes.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace KTR {

/// An upright rectangle of the plane.
struct PlaneBox {
    PointXY low;
    PointXY high;

    PlaneBox Widened(double by) const { return {{low.x - by, low.y - by}, {high.x + by, high.y + by}}; }
};

/// Lengths drawn and left out in turn.
class DashPattern {
public:
    /// Without a pattern: a solid line.
    DashPattern() = default;
    /// `lengths` as GLLineStyle has them. Solid where they come to less than `shortest`, or to no length at all.
    DashPattern(std::span<const double> lengths, double phase, double shortest);

    /// Strings that would have more dashes and gaps are solid.
    void LimitTo(double most) { m_most = std::min(m_most, most); }
    bool IsSolid() const { return m_lengths.empty(); }
    double Total() const { return m_total; }
    /// Most repetitions along a string.
    double MostRepetitions() const;

    /// More dashes and gaps of a string are far too fine to be seen.
    static constexpr double kMostDashes = 250'000.0;

private:
    friend class DashWalker;

    std::vector<double> m_lengths; ///< an even number
    std::vector<double> m_ends;    ///< where each ends
    double m_total = 0.0;
    double m_most = kMostDashes;
    double m_phase = 0.0; ///< from 0, below the total
};

using VisitPiece = std::function<void(std::span<const PointXYZ> points, bool closed)>;

/// The parts of `points` between those that cannot be drawn: not finite, or so large that their floats would not be. A
/// closed string that has none stays closed; otherwise it goes on behind its last point at its first. A closed string's
/// first point is not repeated at its end.
void VisitFiniteParts(std::span<const PointXYZ> points, bool closed, const VisitPiece& visit);

/// Cuts a string of finite points into its dashes. What lies outside of `visible`, if there is one, is left out as far
/// as that is cheap, and does not disturb the pattern. A solid ring that is not cut anywhere is visited as a closed
/// one.
void VisitDashes(std::span<const PointXYZ> points, bool closed, const DashPattern& pattern,
                 const std::optional<PlaneBox>& visible, const VisitPiece& visit);

/// The part of the way from `start` to `end`, 0 to 1, that lies in `box`. False where none does.
bool ClipToBox(const PointXY& start, const PointXY& end, const PlaneBox& box, double& first, double& last);

} // namespace KTR
