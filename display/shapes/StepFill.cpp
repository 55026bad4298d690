#include "PolygonFill.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

constexpr int kMostSteps = 2048;
constexpr int kFewestSteps = 256;

/// Rows of all edges together that can be counted in a third of a second.
constexpr double kMostEdgeRows = 100e6;

PlaneBox ExtentOf(std::span<const FillRing> rings) {
    PlaneBox box{{1.0, 1.0}, {-1.0, -1.0}};
    bool first = true;
    for (const FillRing& ring : rings) {
        for (const PointXYZ& point : ring.points) {
            if (IsFinite(point)) {
                box.low = first ? Flat(point) : PointXY{std::min(box.low.x, point.x), std::min(box.low.y, point.y)};
                box.high = first ? Flat(point) : PointXY{std::max(box.high.x, point.x), std::max(box.high.y, point.y)};
                first = false;
            }
        }
    }
    return box;
}

/// Winding numbers in the middles of the cells of a grid.
class StepGrid {
public:
    StepGrid(const PlaneBox& box, int steps)
        : m_box(box), m_steps(steps), m_width((box.high.x - box.low.x) / steps),
          m_height((box.high.y - box.low.y) / steps),
          m_row(static_cast<std::size_t>(steps) + 1), m_changes{
                                                          std::vector<int>(m_row * static_cast<std::size_t>(steps)),
                                                          std::vector<int>(m_row * static_cast<std::size_t>(steps))} {}

    /// Writes down in each row where the edge is crossed.
    void Add(const PointXYZ& from, const PointXYZ& to, int layer) {
        const bool upwards = from.y < to.y;
        const PointXYZ& low = upwards ? from : to;
        const PointXYZ& high = upwards ? to : from;
        const int first = CellBehind((low.y - m_box.low.y) / m_height);
        const int last = CellBehind((high.y - m_box.low.y) / m_height);
        if (first >= last) {
            return;
        }
        const double slope = (high.x - low.x) / (high.y - low.y);
        // To the right of an edge that runs upwards the ring has not gone around.
        const int step = upwards ? -1 : 1;
        int* changes = m_changes[layer].data() + static_cast<std::size_t>(first) * m_row;
        const double along = slope * m_height / m_width;
        double column = (low.x - m_box.low.x + (m_box.low.y + (first + 0.5) * m_height - low.y) * slope) / m_width;
        for (int row = first; row < last; ++row, changes += m_row, column += along) {
            changes[CellBehind(column)] += step;
        }
    }

    TriangulatedArea Collect(FillRule rule, double z) {
        TriangulatedArea area;
        std::vector<Run> before;
        std::vector<Run> now;
        for (int row = 0; row <= m_steps; ++row) {
            now.clear();
            if (row < m_steps) {
                FindRuns(rule, row, now);
            }
            auto open = before.begin();
            for (Run& run : now) {
                while (open != before.end() && open->first < run.first) {
                    AddRectangle(*open++, row, z, area);
                }
                if (open != before.end() && open->first == run.first && open->last == run.last) {
                    run.row = open++->row;
                }
            }
            for (; open != before.end(); ++open) {
                AddRectangle(*open, row, z, area);
            }
            before.swap(now);
        }
        return area;
    }

private:
    /// Cells of a row that belong to the area, and the row that they began in.
    struct Run {
        int first;
        int last;
        int row;
    };

    /// The first cell whose middle lies behind a place.
    int CellBehind(double place) const {
        return static_cast<int>(std::clamp(std::ceil(place - 0.5), 0.0, static_cast<double>(m_steps)));
    }

    void FindRuns(FillRule rule, int row, std::vector<Run>& runs) const {
        const std::size_t start = static_cast<std::size_t>(row) * m_row;
        std::array<int, 2> winding{};
        bool inside = false;
        for (int column = 0; column <= m_steps; ++column) {
            const std::size_t cell = start + static_cast<std::size_t>(column);
            winding[0] += m_changes[0][cell];
            winding[1] += m_changes[1][cell];
            const bool now = column < m_steps && IsInside(rule, winding);
            if (now && !inside) {
                runs.push_back({column, column, row});
            } else if (!now && inside) {
                runs.back().last = column;
            }
            inside = now;
        }
    }

    void AddRectangle(const Run& run, int rowBehind, double z, TriangulatedArea& area) const {
        const int first = static_cast<int>(area.points.size());
        for (const int row : {run.row, rowBehind}) {
            for (const int column : {run.first, run.last}) {
                area.points.push_back({m_box.low.x + column * m_width, m_box.low.y + row * m_height, z});
            }
        }
        area.triangles.push_back({first, first + 1, first + 2});
        area.triangles.push_back({first + 1, first + 2, first + 3});
    }

    PlaneBox m_box;
    int m_steps;
    double m_width;
    double m_height;
    std::size_t m_row;
    std::vector<int> m_changes[2]; ///< by layer: from each cell to the one before it
};

} // namespace

TriangulatedArea FillInSteps(std::span<const FillRing> rings, FillRule rule, const std::optional<PlaneBox>& visible) {
    PlaneBox box = ExtentOf(rings);
    if (visible) {
        box.low = {std::max(box.low.x, visible->low.x), std::max(box.low.y, visible->low.y)};
        box.high = {std::min(box.high.x, visible->high.x), std::min(box.high.y, visible->high.y)};
    }
    if (!(box.low.x < box.high.x && box.low.y < box.high.y)) {
        return {};
    }
    std::size_t edges = 0;
    for (const FillRing& ring : rings) {
        edges += ring.points.size();
    }
    const double steps = kMostEdgeRows / static_cast<double>(std::max<std::size_t>(edges, 1));
    StepGrid grid(box, static_cast<int>(std::clamp<double>(steps, kFewestSteps, kMostSteps)));
    double z = 0.0;
    for (const FillRing& ring : rings) {
        const PointXYZ* before = nullptr;
        const PointXYZ* first = nullptr;
        for (const PointXYZ& point : ring.points) {
            if (!IsFinite(point)) {
                continue;
            }
            if (before) {
                grid.Add(*before, point, ring.layer);
            } else {
                first = &point;
                z = point.z;
            }
            before = &point;
        }
        if (before) {
            grid.Add(*before, *first, ring.layer);
        }
    }
    return grid.Collect(rule, z);
}

} // namespace KTR
