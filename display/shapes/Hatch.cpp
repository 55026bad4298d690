#include "Hatch.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Crossings of lines and outlines, and lines, that a hatch may have.
constexpr double kMostCrossings = 400'000.0;
constexpr double kMostLines = 65536.0;

/// Most that the end of a line leans, along for each unit across.
constexpr double kSteepestEnd = 3.0;

/// Where an outline crosses a line.
struct Crossing {
    double line = 0.0;
    int layer = 0;
    int step = 0; ///< of the winding number, towards the right
    double along = 0.0;
    double lean = 0.0; ///< how far along the outline goes for each unit across
};

/// The frame of the hatch: x along its lines, y across them in lines.
class HatchFrame {
public:
    HatchFrame(const Hatch& hatch)
        : m_along{std::cos(hatch.angleDegrees * kRadiansPerDegree), std::sin(hatch.angleDegrees * kRadiansPerDegree)},
          m_anchor(hatch.anchor), m_spacing(hatch.spacing) {
        // The anchor may be far away: what counts is where the lines are near the origin.
        m_shift = std::remainder(Dot(m_anchor, LeftOf(m_along)), m_spacing);
    }

    PointXY ToFrame(const PointXYZ& point) const {
        const PointXY place = Flat(point);
        return {Dot(place, m_along), (Dot(place, LeftOf(m_along)) - m_shift) / m_spacing};
    }
    /// `across` in units of the points, from a line.
    PointXY FromFrame(double line, double along, double across) const {
        return m_along * along + LeftOf(m_along) * (line * m_spacing + m_shift + across);
    }
    double Spacing() const { return m_spacing; }

private:
    PointXY m_along;
    PointXY m_anchor;
    double m_spacing;
    double m_shift;
};

/// Calls `visit(from, to, layer)` for each edge of the outlines, in the frame.
template <typename Visit> void ForEachEdge(std::span<const FillRing> rings, const HatchFrame& frame, Visit visit) {
    for (const FillRing& ring : rings) {
        std::optional<PointXY> first;
        PointXY before;
        for (const PointXYZ& point : ring.points) {
            if (!IsFinite(point)) {
                continue;
            }
            const PointXY place = frame.ToFrame(point);
            if (first) {
                visit(before, place, ring.layer);
            } else {
                first = place;
            }
            before = place;
        }
        if (first) {
            visit(before, *first, ring.layer);
        }
    }
}

/// The lines, by number, that an area may show.
struct LineRange {
    double first = 0.0;
    double last = -1.0;
};

LineRange LinesOf(std::span<const FillRing> rings, const HatchFrame& frame, const std::optional<PlaneBox>& visible) {
    LineRange range;
    bool any = false;
    ForEachEdge(rings, frame, [&](const PointXY& from, const PointXY&, int) {
        range.first = any ? std::min(range.first, from.y) : from.y;
        range.last = any ? std::max(range.last, from.y) : from.y;
        any = true;
    });
    if (visible) {
        LineRange shown{HUGE_VAL, -HUGE_VAL};
        for (const double x : {visible->low.x, visible->high.x}) {
            for (const double y : {visible->low.y, visible->high.y}) {
                const double line = frame.ToFrame({x, y, 0.0}).y;
                shown = {std::min(shown.first, line), std::max(shown.last, line)};
            }
        }
        range = {std::max(range.first, shown.first - 1.0), std::min(range.last, shown.last + 1.0)};
    }
    return range;
}

/// The line numbers between two places across, the lower one excluded; of each `stride`th line.
struct CrossedLines {
    CrossedLines(double from, double to, const LineRange& range, double stride) {
        const double low = std::max(std::min(from, to), range.first - stride);
        const double high = std::min(std::max(from, to), range.last + stride);
        first = std::floor(low / stride) + 1.0;
        last = std::floor(high / stride);
    }
    double Count() const { return std::max(last - first + 1.0, 0.0); }

    double first;
    double last;
};

std::vector<Crossing> FindCrossings(std::span<const FillRing> rings, const HatchFrame& frame, const LineRange& range,
                                    double stride) {
    std::vector<Crossing> crossings;
    ForEachEdge(rings, frame, [&](const PointXY& from, const PointXY& to, int layer) {
        const CrossedLines lines(from.y, to.y, range, stride);
        const double lean = (to.x - from.x) / (to.y - from.y);
        double line = lines.first;
        while (line <= lines.last) {
            const double across = line * stride;
            crossings.push_back({across, layer, to.y > from.y ? -1 : 1, from.x + (across - from.y) * lean,
                                 std::clamp(lean / frame.Spacing(), -kSteepestEnd, kSteepestEnd)});
            line += 1.0;
        }
    });
    std::sort(crossings.begin(), crossings.end(), [](const Crossing& a, const Crossing& b) {
        return a.line != b.line ? a.line < b.line : a.along < b.along;
    });
    return crossings;
}

/// A line of the hatch between two places where it enters and leaves the area.
void AddBar(const HatchFrame& frame, const Hatch& hatch, const Crossing& start, const Crossing& end, double z,
            ShapeMesh& mesh) {
    const double half = hatch.width * 0.5;
    const double fade = hatch.fringe * 0.5;
    const double full = std::abs(half - fade);
    const double faded = half + fade;
    const double length = end.along - start.along;
    const double inset = std::min(fade, length * 0.5);
    float coverage = hatch.width < hatch.fringe ? static_cast<float>(hatch.width / hatch.fringe) : 1.0F;
    coverage *= length < hatch.fringe ? static_cast<float>(length / hatch.fringe) : 1.0F;
    const auto vertex = [&](const Crossing& at, double along, double across, float share) {
        const PointXY place = frame.FromFrame(start.line, at.along + along + at.lean * across, across);
        return ShapeVertex{place.x, place.y, z, share, hatch.paint};
    };
    const auto addStrip = [&](double first, float firstCoverage, double second, float secondCoverage) {
        mesh.BeginStrip();
        const auto addRib = [&](const Crossing& at, double along, float share) {
            mesh.Add(vertex(at, along, first, firstCoverage * share));
            mesh.Add(vertex(at, along, second, secondCoverage * share));
        };
        if (fade > 0.0) {
            addRib(start, -fade, 0.0F);
        }
        addRib(start, inset, 1.0F);
        addRib(end, -inset, 1.0F);
        if (fade > 0.0) {
            addRib(end, fade, 0.0F);
        }
        mesh.BeginStrip();
    };
    if (full > 0.0) {
        addStrip(full, coverage, -full, coverage);
    }
    if (fade > 0.0) {
        addStrip(faded, 0.0F, full, coverage);
        addStrip(-faded, 0.0F, -full, coverage);
    }
}

} // namespace

void AddHatch(std::span<const FillRing> rings, FillRule rule, const Hatch& hatch,
              const std::optional<PlaneBox>& visible, ShapeMesh& mesh) {
    const HatchFrame frame(hatch);
    const LineRange range = LinesOf(rings, frame, visible);
    if (!(range.first <= range.last) || !std::isfinite(range.first) || !std::isfinite(range.last)) {
        return;
    }
    double stride = 1.0;
    while ((range.last - range.first) / stride > kMostLines) {
        stride *= 2.0;
    }
    double count = 0.0;
    ForEachEdge(rings, frame, [&](const PointXY& from, const PointXY& to, int) {
        count += CrossedLines(from.y, to.y, range, stride).Count();
    });
    while (count > kMostCrossings) {
        count *= 0.5;
        stride *= 2.0;
    }
    double z = 0.0;
    if (!rings.empty() && !rings.front().points.empty()) {
        z = rings.front().points.front().z;
    }
    const std::vector<Crossing> crossings = FindCrossings(rings, frame, range, stride);
    std::array<int, 2> winding{};
    const Crossing* start = nullptr;
    for (const Crossing& crossing : crossings) {
        if (start && start->line != crossing.line) {
            start = nullptr;
        }
        if (&crossing == &crossings.front() || (&crossing)[-1].line != crossing.line) {
            winding = {};
        }
        winding[static_cast<std::size_t>(crossing.layer)] += crossing.step;
        const bool inside = IsInside(rule, winding);
        if (inside && !start) {
            start = &crossing;
        } else if (!inside && start) {
            if (crossing.along > start->along) {
                AddBar(frame, hatch, *start, crossing, z, mesh);
            }
            start = nullptr;
        }
    }
}

} // namespace KTR
