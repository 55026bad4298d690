#include "PathThinning.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr double kNextTolerance = 0.5; ///< of the one before
/// A version that has not more positions than this takes the place of the coarser one.
constexpr double kClearlyMore = 1.25;
constexpr std::size_t kMostVersions = 12;

double SquaredDistance(const Position& one, const Position& other) {
    const double x = one.x - other.x;
    const double y = one.y - other.y;
    return x * x + y * y;
}

/// Cells of the ground that have something in them. It forgets those that others take the place of, so that it remains
/// small: then there is one thing more than it takes.
class TakenCells {
public:
    /// What lies in one cell is no farther apart than `diagonal`.
    explicit TakenCells(double diagonal)
        : m_side(diagonal * std::sqrt(0.5)), m_cells(kCells, {kNowhere, kNowhere, 0.0}) {}

    /// The height of what has the cell; nothing where it was free, and is taken now.
    std::optional<double> Take(const Position& place) {
        const double column = std::floor(place.x / m_side);
        const double row = std::floor(place.y / m_side);
        Position& cell = m_cells[Hash(column, row) % kCells];
        if (cell.x == column && cell.y == row) {
            return cell.z;
        }
        cell = {column, row, place.z};
        return std::nullopt;
    }

private:
    static constexpr std::size_t kCells = 8192;
    static constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN(); // equals nothing

    static std::uint64_t Hash(double column, double row) {
        const std::uint64_t mixed = std::bit_cast<std::uint64_t>(column) * 0x9E3779B97F4A7C15U +
                                    std::bit_cast<std::uint64_t>(row) * 0xC2B2AE3D27D4EB4FU;
        return mixed >> 40U;
    }

    double m_side;
    std::vector<Position> m_cells; ///< column, row and height
};

class Thinning {
public:
    Thinning(const DrawnPaths& whole, double tolerance, std::size_t most)
        : m_whole(whole), m_tolerance(tolerance), m_most(most), m_legs(tolerance * 0.5), m_points(tolerance) {
        m_thinned.groundError = tolerance;
    }

    /// Nothing where more than so many positions remain.
    std::optional<ThinnedPaths> Thin() {
        std::size_t first = 0;
        for (const DrawnPaths::End& end : m_whole.ends) {
            if (first < end.position) {
                AddPath(first, end);
            }
            first = end.position;
            if (m_thinned.paths.positions.size() > m_most) {
                return std::nullopt;
            }
        }
        for (const Position& point : m_whole.points) {
            AddPoint(point);
            if (m_thinned.paths.CountPositions() > m_most) {
                return std::nullopt;
            }
        }
        return std::move(m_thinned);
    }

private:
    void AddPath(std::size_t first, const DrawnPaths::End& end) {
        std::vector<Position>& kept = m_thinned.paths.positions;
        const std::size_t begin = kept.size();
        const Position& start = m_whole.positions[first];
        kept.push_back(start);
        const double squaredTolerance = m_tolerance * m_tolerance;
        std::size_t farthest = first;
        double squaredReach = 0.0; // as long as there is but the first
        double lowest = start.z;
        double highest = start.z;
        for (std::size_t index = first + 1; index < end.position; ++index) {
            const Position& position = m_whole.positions[index];
            const double squaredDistance = SquaredDistance(position, kept.back());
            if (squaredDistance >= squaredTolerance) {
                kept.push_back(position);
                continue;
            }
            NoteHeights(position.z, kept.back().z);
            if (kept.size() == begin + 1) {
                lowest = std::min(lowest, position.z);
                highest = std::max(highest, position.z);
                if (squaredDistance >= squaredReach) {
                    farthest = index;
                    squaredReach = squaredDistance;
                }
            }
        }
        const std::size_t last = end.position - 1;
        if (kept.size() > begin + 1) {
            if (!end.isClosed && !(kept.back() == m_whole.positions[last])) {
                kept.push_back(m_whole.positions[last]);
            }
        } else if (last > first) {
            if (squaredReach <= squaredTolerance * 0.25) {
                if (const std::optional<double> height = m_legs.Take(start)) {
                    NoteHeights(lowest, *height);
                    NoteHeights(highest, *height);
                    kept.resize(begin);
                    return;
                }
            }
            kept.push_back(m_whole.positions[farthest]);
        }
        m_thinned.paths.ends.push_back({kept.size(), end.isClosed});
    }

    void AddPoint(const Position& point) {
        if (const std::optional<double> height = m_points.Take(point)) {
            NoteHeights(point.z, *height);
        } else {
            m_thinned.paths.points.push_back(point);
        }
    }

    void NoteHeights(double one, double other) {
        m_thinned.heightError = std::max(m_thinned.heightError, std::abs(one - other));
    }

    const DrawnPaths& m_whole;
    double m_tolerance;
    std::size_t m_most;
    TakenCells m_legs;   ///< by paths that are but a short leg
    TakenCells m_points; ///< by points
    ThinnedPaths m_thinned;
};

} // namespace

ThinnedPaths Thin(const DrawnPaths& paths, double tolerance) {
    return *Thinning(paths, tolerance, std::numeric_limits<std::size_t>::max()).Thin();
}

std::vector<ThinnedPaths> ThinRepeatedly(const DrawnPaths& paths, double coarsest, double share) {
    std::vector<ThinnedPaths> versions;
    if (!(coarsest > 0.0)) {
        return versions;
    }
    auto left = static_cast<std::size_t>(static_cast<double>(paths.CountPositions()) * share);
    double tolerance = coarsest;
    for (std::size_t count = 0; count < kMostVersions; ++count, tolerance *= kNextTolerance) {
        std::optional<ThinnedPaths> finer = Thinning(paths, tolerance, left).Thin();
        if (!finer) {
            break;
        }
        const std::size_t positions = finer->paths.CountPositions();
        const std::size_t before = versions.empty() ? 0 : versions.back().paths.CountPositions();
        if (!versions.empty() && static_cast<double>(positions) < static_cast<double>(before) * kClearlyMore) {
            left += before;
            versions.pop_back();
        }
        left -= positions;
        versions.push_back(std::move(*finer));
    }
    return versions;
}

} // namespace OrrinViewer
