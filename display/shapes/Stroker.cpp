#include "Stroker.h"

#include "Curves.h"
#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Bends that are this near to a straight line or to a full turn have no inner side to speak of.
constexpr double kStraight = 1e-12;

/// How near points of a string are the same, in strokes' widths.
constexpr double kSamePlace = 1e-9;

} // namespace

/// The colour fades as the share of a pixel that a line of this width covers does: thinner than a fringe, it never gets
/// full.
Stroker::Stroker(const Stroke& stroke)
    : m_stroke(stroke), m_half(stroke.width * 0.5), m_full(std::abs(m_half - stroke.fringe * 0.5 + stroke.grow)),
      m_faded(m_half + stroke.fringe * 0.5 + stroke.grow),
      m_coverage(stroke.width < stroke.fringe ? static_cast<float>(stroke.width / stroke.fringe) : 1.0F),
      m_outwards(m_faded - m_half), m_inwards(m_half - m_full) {}

double Stroker::Reach() const {
    const double corner = m_stroke.join == GLLineJoinMiter ? std::max(m_stroke.miterLimit, 1.5) : 1.5;
    return m_faded * corner;
}

void Stroker::Add(std::span<const PointXYZ> points, bool closed, ShapeMesh& mesh) {
    m_mesh = &mesh;
    if (points.empty()) {
        return;
    }
    if (!Prepare(points, closed)) {
        AddDot(points.front());
        return;
    }
    MeasureJoins();
    AddBody();
}

/// Leaves out points that repeat the one before. False where less than a line remains.
bool Stroker::Prepare(std::span<const PointXYZ> points, bool closed) {
    const double same = m_stroke.width * kSamePlace;
    m_points.clear();
    for (const PointXYZ& point : points) {
        if (m_points.empty() || Length(Flat(point) - Flat(m_points.back())) > same) {
            m_points.push_back(point);
        }
    }
    while (closed && m_points.size() > 1 && Length(Flat(m_points.back()) - Flat(m_points.front())) <= same) {
        m_points.pop_back();
    }
    m_closed = closed && m_points.size() > 2;
    if (m_points.size() < 2) {
        return false;
    }
    m_segments.clear();
    const std::size_t count = m_points.size();
    for (std::size_t index = 0; index + (m_closed ? 0 : 1) < count; ++index) {
        const PointXY along = Flat(m_points[(index + 1) % count]) - Flat(m_points[index]);
        const double length = Length(along);
        m_segments.push_back({along * (1.0 / length), length});
    }
    return true;
}

/// Finds where on the inside of each bend the edges cross, and which segments are too short for that.
void Stroker::MeasureJoins() {
    const std::size_t count = m_points.size();
    m_joins.assign(count, Join{});
    if (count == 0) {
        return;
    }
    for (std::size_t corner = m_closed ? 0 : 1; corner < (m_closed ? count : count - 1); ++corner) {
        const PointXY& before = m_segments[corner == 0 ? count - 1 : corner - 1].direction;
        const PointXY& after = m_segments[corner].direction;
        Join& join = m_joins[corner];
        const double sine = Cross(before, after);
        const double cosine = Dot(before, after);
        join.toLeft = sine > 0.0;
        if (std::abs(sine) < kStraight && cosine > 0.0) {
            continue;
        }
        join.overlaps = 1.0 + cosine < kStraight;
        // The tangent of half the angle.
        join.trim = join.overlaps ? 0.0 : m_faded * std::abs(sine) / (1.0 + cosine);
    }
    const double cut = m_stroke.cap == GLLineCapButt && !m_closed ? m_stroke.fringe * 0.5 : 0.0; // see AddCap
    for (std::size_t index = 0; index < m_segments.size(); ++index) {
        const Join& start = m_joins[index];
        const std::size_t next = index + 1 == count ? 0 : index + 1;
        const Join& end = m_joins[next];
        const double needed = start.toLeft == end.toLeft ? start.trim + end.trim : std::max(start.trim, end.trim);
        const bool isEnd = index == 0 || index + 1 == m_segments.size();
        if (needed + (isEnd ? cut : 0.0) > m_segments[index].length) {
            m_joins[index].overlaps |= start.trim > 0.0;
            m_joins[next].overlaps |= end.trim > 0.0;
        }
    }
}

/// A string without length.
void Stroker::AddDot(const PointXYZ& point) {
    const PointXY right{1.0, 0.0};
    if (m_stroke.cap == GLLineCapButt) {
        return;
    }
    m_ribs.clear();
    if (m_stroke.cap == GLLineCapRound) {
        AddRoundCap(point, -right, true);
        AddRoundCap(point, right, false);
    } else {
        AddCap(point, -right, true, m_inwards);
        AddCap(point, right, false, m_inwards);
    }
    EmitRibs();
}

void Stroker::AddBody() {
    m_ribs.clear();
    const std::size_t count = m_points.size();
    const Segment& start = m_segments.front();
    const Segment& end = m_segments.back();
    const float coverage = m_coverage;
    const bool cutOff = m_stroke.cap == GLLineCapButt && !m_closed;
    if (cutOff && m_segments.size() == 1 && start.length < m_stroke.fringe) {
        // A short dash fades as a thin line does.
        m_coverage *= static_cast<float>(start.length / m_stroke.fringe);
    }
    const auto inset = [&](const Segment& last) {
        const double room = m_segments.size() == 1 ? last.length * 0.5 : last.length;
        return cutOff ? std::min(m_stroke.fringe * 0.5, room) : m_stroke.fringe * 0.5;
    };
    if (!m_closed) {
        AddCap(m_points.front(), -start.direction, true, inset(start));
    } else if (m_joins.front().overlaps) {
        m_ribs.push_back(RibAt(m_points.front(), start.direction, m_coverage));
    } else {
        AddJoin(0);
    }
    const Rib first = m_ribs.front();
    for (std::size_t corner = 1; corner < (m_closed ? count : count - 1); ++corner) {
        if (m_joins[corner].overlaps) {
            AddOverlap(corner);
        } else {
            AddJoin(corner);
        }
    }
    if (!m_closed) {
        AddCap(m_points.back(), end.direction, false, inset(end));
    } else if (m_joins.front().overlaps) {
        AddOverlap(0);
        m_ribs.clear(); // the segment behind it was drawn first
    } else {
        m_ribs.push_back(first);
    }
    EmitRibs();
    m_coverage = coverage;
}

Stroker::Side Stroker::At(const PointXY& point, const PointXY& normal) const {
    return {point + normal * m_full, point + normal * m_faded};
}

Stroker::Rib Stroker::RibAt(const PointXYZ& point, const PointXY& direction, float coverage) const {
    const PointXY left = LeftOf(direction);
    return {At(Flat(point), left), At(Flat(point), -left), Flat(point), point.z, coverage};
}

/// The points around the outside of a bend, from the edge with one normal to the edge with the other, relative to the
/// corner.
void Stroker::AddOutside(const PointXY& normal, const PointXY& next) {
    m_outside.clear();
    const double cosine = Dot(normal, next);
    const double miterScale = 2.0 / (1.0 + cosine); // square of the miter's length in half widths
    const bool nearlyStraight = m_faded * (std::sqrt(miterScale) - 1.0) < m_stroke.tolerance * 0.5;
    const double limit = m_stroke.miterLimit * m_stroke.miterLimit;
    if (cosine > -1.0 + kStraight &&
        (nearlyStraight || (m_stroke.join == GLLineJoinMiter && miterScale <= limit * (1.0 + 1e-12)))) {
        m_outside.push_back(At({}, MiterOf(normal, next)));
        return;
    }
    const bool againstClock = Cross(normal, next) > 0.0;
    if (m_stroke.join == GLLineJoinRound) {
        const double angle = std::acos(std::clamp(cosine, -1.0, 1.0)) * (againstClock ? 1.0 : -1.0);
        const int parts = CountArcParts(m_faded, angle, m_stroke.tolerance);
        for (int part = 0; part <= parts; ++part) {
            const double turned = angle * part / parts;
            const PointXY rotated{normal.x * std::cos(turned) - normal.y * std::sin(turned),
                                  normal.x * std::sin(turned) + normal.y * std::cos(turned)};
            m_outside.push_back(At({}, part == parts ? next : rotated));
        }
        return;
    }
    // The bevel's own edge fades as the others do, so its corners move along the miters of that edge.
    const PointXY sum = normal + next;
    const double length = Length(sum);
    const PointXY across = length > kStraight ? sum * (1.0 / length) : LeftOf(normal) * (againstClock ? 1.0 : -1.0);
    for (const PointXY& edge : {normal, next}) {
        const PointXY miter = MiterOf(edge, across);
        m_outside.push_back({edge * m_half - miter * m_inwards, edge * m_half + miter * m_outwards});
    }
}

/// A bend whose ribs all meet in one point on the inside.
void Stroker::AddJoin(std::size_t corner) {
    const std::size_t count = m_points.size();
    const PointXYZ& point = m_points[corner];
    const PointXY before = LeftOf(m_segments[corner == 0 ? count - 1 : corner - 1].direction);
    const PointXY after = LeftOf(m_segments[corner].direction);
    const double outer = m_joins[corner].toLeft ? -1.0 : 1.0;
    AddOutside(before * outer, after * outer);
    const Side inside = At(Flat(point), MiterOf(before, after) * -outer);
    for (const Side& relative : m_outside) {
        const Side outside{Flat(point) + relative.full, Flat(point) + relative.faded};
        m_ribs.push_back(m_joins[corner].toLeft ? Rib{inside, outside, Flat(point), point.z, m_coverage}
                                                : Rib{outside, inside, Flat(point), point.z, m_coverage});
    }
}

/// A bend that is too tight for that: both segments end at the corner, and a wedge closes the outside.
void Stroker::AddOverlap(std::size_t corner) {
    m_simple = false;
    const std::size_t count = m_points.size();
    const PointXYZ& point = m_points[corner];
    const PointXY& before = m_segments[corner == 0 ? count - 1 : corner - 1].direction;
    const PointXY& after = m_segments[corner].direction;
    m_ribs.push_back(RibAt(point, before, m_coverage));
    EmitRibs();
    const double outer = m_joins[corner].toLeft ? -1.0 : 1.0;
    AddOutside(LeftOf(before) * outer, LeftOf(after) * outer);
    const Side centre{Flat(point), Flat(point)};
    const auto addWedge = [&](const Side& relative) {
        const Side outside{Flat(point) + relative.full, Flat(point) + relative.faded};
        m_ribs.push_back({centre, outside, Flat(point), point.z, m_coverage});
    };
    addWedge(At({}, LeftOf(before) * outer));
    for (const Side& relative : m_outside) {
        addWedge(relative);
    }
    addWedge(At({}, LeftOf(after) * outer));
    EmitRibs();
    m_ribs.push_back(RibAt(point, after, m_coverage));
}

/// An end that is cut off. The colour is full `inset` before the end and has faded half a fringe behind it.
void Stroker::AddCap(const PointXYZ& end, const PointXY& outwards, bool atStart, double inset) {
    if (m_stroke.cap == GLLineCapRound) {
        AddRoundCap(end, outwards, atStart);
        return;
    }
    const double beyond = (m_stroke.cap == GLLineCapSquare ? m_half : 0.0) + m_stroke.grow;
    const PointXY along = atStart ? -outwards : outwards;
    const auto ribAt = [&](double distance, float coverage) {
        const PointXY place = Flat(end) + outwards * distance;
        return RibAt({place.x, place.y, end.z}, along, coverage);
    };
    const Rib faded = ribAt(beyond + m_stroke.fringe * 0.5, 0.0F);
    const Rib full = ribAt(beyond - inset, m_coverage);
    if (m_stroke.fringe == 0.0) {
        m_ribs.push_back(full);
    } else if (atStart) {
        m_ribs.push_back(faded);
        m_ribs.push_back(full);
    } else {
        m_ribs.push_back(full);
        m_ribs.push_back(faded);
    }
}

void Stroker::AddRoundCap(const PointXYZ& end, const PointXY& outwards, bool atStart) {
    const PointXY left = LeftOf(atStart ? -outwards : outwards);
    const int parts = CountArcParts(m_faded, kPi * 0.5, m_stroke.tolerance);
    for (int index = 0; index <= parts; ++index) {
        const int part = atStart ? index : parts - index; // from the tip
        const double angle = kPi * 0.5 * part / parts;
        const PointXY ahead = outwards * (part == parts ? 0.0 : std::cos(angle));
        const PointXY aside = left * std::sin(angle);
        m_ribs.push_back({At(Flat(end), ahead + aside), At(Flat(end), ahead - aside), Flat(end) + ahead * m_full, end.z,
                          m_coverage});
    }
}

template <typename First, typename Second> void Stroker::EmitStrip(First first, Second second) {
    m_mesh->BeginStrip();
    for (const Rib& rib : m_ribs) {
        const auto [outer, outerCoverage] = first(rib);
        const auto [inner, innerCoverage] = second(rib);
        m_mesh->Add({outer.x, outer.y, rib.z, outerCoverage, m_stroke.paint});
        m_mesh->Add({inner.x, inner.y, rib.z, innerCoverage, m_stroke.paint});
    }
    m_mesh->BeginStrip();
}

void Stroker::EmitRibs() {
    struct Edge {
        PointXY place;
        float coverage;
    };
    const auto leftFaded = [](const Rib& rib) { return Edge{rib.left.faded, 0.0F}; };
    const auto left = [](const Rib& rib) { return Edge{rib.left.full, rib.coverage}; };
    const auto right = [](const Rib& rib) { return Edge{rib.right.full, rib.coverage}; };
    const auto rightFaded = [](const Rib& rib) { return Edge{rib.right.faded, 0.0F}; };
    const auto middle = [](const Rib& rib) { return Edge{rib.middle, rib.coverage}; };
    if (m_ribs.size() > 1) {
        if (m_stroke.fringe == 0.0) {
            // Along the string: where a segment ends at a corner the wedge there has a point in the middle of its end.
            EmitStrip(left, middle);
            EmitStrip(middle, right);
        } else {
            if (m_full > 0.0) {
                EmitStrip(left, right);
            }
            EmitStrip(leftFaded, left);
            EmitStrip(rightFaded, right);
        }
    }
    m_ribs.clear();
}

} // namespace KTR
