#include "ProfileLine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KTR {

namespace {

constexpr int kMostCells = 128; ///< in either direction
/// Of legs in all cells together. A line of usual length stays far below it.
constexpr std::size_t kMostEntries = 4'000'000;
/// Legs of a cell that are tried one after the other.
constexpr int kMostTried = 32;

} // namespace

bool ProfileLine::Set(const PointXY* points, int count, double halfWidth) {
    Clear();
    if (!points || !(halfWidth > 0.0) || !std::isfinite(halfWidth)) {
        return false;
    }
    double station = 0.0;
    for (int index = 0; index < count; ++index) {
        const PointXY& point = points[index];
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            Clear();
            return false;
        }
        if (!m_corners.empty()) {
            const PointXY& before = m_corners.back();
            const double length = std::hypot(point.x - before.x, point.y - before.y);
            if (!(length > 0.0)) {
                continue;
            }
            m_legs.push_back({before, {(point.x - before.x) / length, (point.y - before.y) / length}, length, station});
            station += length;
        }
        m_corners.push_back(point);
    }
    if (m_legs.empty() || !std::isfinite(station)) {
        Clear();
        return false;
    }
    m_halfWidth = halfWidth;
    FillCells();
    return true;
}

double ProfileLine::StationOfCorner(std::size_t corner) const {
    return corner < m_legs.size() ? m_legs[corner].station : Length();
}

/// Positive where the line turns left. What is nearest to a corner lies outside of the bend, on the other side: the two
/// legs alone may not agree.
double ProfileLine::TurnAt(std::size_t corner) const {
    const PointXY& in = m_legs[corner - 1].direction;
    const PointXY& out = m_legs[corner].direction;
    return in.x * out.y - in.y * out.x;
}

/// As many cells as keep their lists short: where many legs reach most of the cells, more cells would only take memory.
void ProfileLine::FillCells() {
    int side = kMostCells;
    while (!CountInCells(side)) {
        side /= 2;
    }
    m_tree.Clear();
    if (m_legs.size() > kMostTried) {
        m_tree.Build(m_legs);
    }
    std::vector<int> next(m_cells.first.begin(), m_cells.first.end() - 1);
    m_cells.legs.resize(static_cast<std::size_t>(m_cells.first.back()));
    for (std::size_t index = 0; index < m_legs.size(); ++index) {
        VisitCells(m_legs[index], [&](std::size_t cell) {
            m_cells.legs[static_cast<std::size_t>(next[cell]++)] = static_cast<int>(index);
        });
    }
}

/// Lays out side × side cells and where the list of each begins. False when the lists would be too long.
bool ProfileLine::CountInCells(int side) {
    PointXY low = m_corners.front();
    PointXY high = low;
    for (const PointXY& corner : m_corners) {
        low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
        high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
    }
    m_cells.side = side;
    m_cells.low = {low.x - m_halfWidth, low.y - m_halfWidth};
    m_cells.perX = side / (high.x - low.x + 2.0 * m_halfWidth);
    m_cells.perY = side / (high.y - low.y + 2.0 * m_halfWidth);
    const std::size_t most = side > 1 ? kMostEntries : m_legs.size();
    const auto cells = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    m_cells.first.assign(cells + 1, 0);
    std::size_t total = 0;
    for (const ProfileLeg& leg : m_legs) {
        VisitCells(leg, [&](std::size_t cell) {
            ++m_cells.first[cell + 1];
            ++total;
        });
        if (total > most) {
            return false;
        }
    }
    for (std::size_t cell = 0; cell < cells; ++cell) {
        m_cells.first[cell + 1] += m_cells.first[cell];
    }
    return true;
}

/// The cells that a leg reaches: those whose middle its line passes within the half width and half a cell's diagonal.
template <typename Visit> void ProfileLine::VisitCells(const ProfileLeg& leg, Visit visit) const {
    const int side = m_cells.side;
    const double cellWidth = 1.0 / m_cells.perX;
    const double cellHeight = 1.0 / m_cells.perY;
    // A little more, so that a place at the edge of a cell is not lost to rounding.
    const double reach = (m_halfWidth + std::hypot(cellWidth, cellHeight) / 2.0) * (1.0 + 1e-9);
    const PointXY to{leg.from.x + leg.length * leg.direction.x, leg.from.y + leg.length * leg.direction.y};
    const auto cellOf = [side](double place, double low, double perCell) {
        return static_cast<int>(std::clamp((place - low) * perCell, 0.0, side - 1.0));
    };
    const int firstColumn = cellOf(std::min(leg.from.x, to.x) - reach, m_cells.low.x, m_cells.perX);
    const int lastColumn = cellOf(std::max(leg.from.x, to.x) + reach, m_cells.low.x, m_cells.perX);
    const int firstRow = cellOf(std::min(leg.from.y, to.y) - reach, m_cells.low.y, m_cells.perY);
    const int lastRow = cellOf(std::max(leg.from.y, to.y) + reach, m_cells.low.y, m_cells.perY);
    for (int row = firstRow; row <= lastRow; ++row) {
        for (int column = firstColumn; column <= lastColumn; ++column) {
            const double dx = m_cells.low.x + (column + 0.5) * cellWidth - leg.from.x;
            const double dy = m_cells.low.y + (row + 0.5) * cellHeight - leg.from.y;
            const double along = std::clamp(dx * leg.direction.x + dy * leg.direction.y, 0.0, leg.length);
            const double awayX = dx - along * leg.direction.x;
            const double awayY = dy - along * leg.direction.y;
            if (awayX * awayX + awayY * awayY <= reach * reach) {
                visit(static_cast<std::size_t>(row) * static_cast<std::size_t>(side) +
                      static_cast<std::size_t>(column));
            }
        }
    }
}

/// The number of the leg that is nearest, of equals the first, and where the place lies there. -1 beyond the half width
/// and before or behind the line.
std::ptrdiff_t ProfileLine::NearestOfCell(std::size_t cell, double x, double y, LegFoot& foot) const {
    const int begin = m_cells.first[cell];
    const int end = m_cells.first[cell + 1];
    if (end - begin > kMostTried) {
        return m_tree.Find(x, y, m_halfWidth, foot);
    }
    std::ptrdiff_t nearest = -1;
    foot.distanceSquared = m_halfWidth * m_halfWidth;
    for (int index = begin; index < end; ++index) {
        const int number = m_cells.legs[static_cast<std::size_t>(index)];
        const ProfileLeg& leg = m_legs[static_cast<std::size_t>(number)];
        const LegFoot found = FootOn(leg, x, y);
        const bool isNearer = found.distanceSquared < foot.distanceSquared ||
                              (nearest < 0 && found.distanceSquared == foot.distanceSquared);
        if (isNearer && !IsBeyondLine(found.foot, leg.length, static_cast<std::size_t>(number), m_legs.size())) {
            foot = found;
            nearest = number;
        }
    }
    return nearest;
}

bool ProfileLine::Find(double x, double y, ProfilePlace& place) const {
    if (m_legs.empty()) {
        return false;
    }
    const int side = m_cells.side;
    const double column = (x - m_cells.low.x) * m_cells.perX;
    const double row = (y - m_cells.low.y) * m_cells.perY;
    // Written so that NaN is refused too; the upper edge belongs to the band.
    if (!(column >= 0.0 && column <= side && row >= 0.0 && row <= side)) {
        return false;
    }
    const std::size_t cell =
        static_cast<std::size_t>(std::min(static_cast<int>(row), side - 1)) * static_cast<std::size_t>(side) +
        static_cast<std::size_t>(std::min(static_cast<int>(column), side - 1));
    LegFoot foot;
    const std::ptrdiff_t nearest = NearestOfCell(cell, x, y, foot);
    if (nearest < 0) {
        return false;
    }
    const auto number = static_cast<std::size_t>(nearest);
    const ProfileLeg& leg = m_legs[number];
    const bool atCorner = foot.foot < 0.0 || foot.foot > leg.length;
    const double left = atCorner ? -TurnAt(foot.foot < 0.0 ? number : number + 1)
                                 : leg.direction.x * (y - leg.from.y) - leg.direction.y * (x - leg.from.x);
    place = {leg.station + std::clamp(foot.foot, 0.0, leg.length),
             std::copysign(std::sqrt(foot.distanceSquared), left)};
    return true;
}

std::size_t ProfileLine::LegAt(double station) const {
    const auto behind = std::upper_bound(m_legs.begin(), m_legs.end(), station,
                                         [](double wanted, const ProfileLeg& leg) { return wanted < leg.station; });
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(behind - m_legs.begin() - 1, 0));
}

bool ProfileLine::PointAt(double station, PointXY& point) const {
    if (m_legs.empty() || !(station >= 0.0 && station <= Length())) {
        return false;
    }
    const ProfileLeg& leg = m_legs[LegAt(station)];
    const double along = station - leg.station;
    point = {leg.from.x + along * leg.direction.x, leg.from.y + along * leg.direction.y};
    return true;
}

PointXY ProfileLine::DirectionAt(double station) const {
    return m_legs.empty() ? PointXY{} : m_legs[LegAt(station)].direction;
}

} // namespace KTR
