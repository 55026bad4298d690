#include "SoftArea.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Most that a corner of the border moves, in moves of its edges.
constexpr double kLongestMiter = 3.0;

constexpr double kStraight = 1e-9;

/// Rings around less than this part of a fringe's square are where outlines nearly meet; nobody sees them unless they
/// fade.
constexpr double kSmallestRing = 0.05;

/// The border as rings: which edge follows which, and which way its corners move.
class BorderRings {
public:
    BorderRings(const TriangulatedArea& area, double fringe) : m_area(area) {
        FindFirstEdges();
        const std::size_t count = area.border.size();
        m_next.resize(count);
        m_before.assign(count, -1);
        for (std::size_t edge = 0; edge < count; ++edge) {
            const int next = NextOf(edge);
            m_next[edge] = next;
            m_before[Index(next)] = static_cast<int>(edge);
        }
        FindSmallRings(kSmallestRing * fringe * fringe);
    }

    /// -1 where corners were too tangled to tell.
    int Before(std::size_t edge) const { return m_before[edge]; }
    int Next(std::size_t edge) const { return m_next[edge]; }
    /// Whether several rings pass the point.
    bool IsShared(int point) const { return m_firstEdge[Index(point) + 1] - m_firstEdge[Index(point)] > 1; }

    /// Whether the border fades along an edge.
    bool IsSoft(std::size_t edge) const { return !m_area.border[edge].meetsOther && !m_small[edge]; }

    /// How the start of an edge moves when the edges that meet there move outwards by so much. Sharp corners do not
    /// reach far, and between two edges that enclose next to nothing of the outside they stay.
    PointXY MoveAt(std::size_t edge, double before, double after) const {
        const PointXY next = NormalOf(edge);
        if (m_before[edge] < 0) {
            return next * after;
        }
        const PointXY first = NormalOf(Index(m_before[edge]));
        const double cosine = Dot(first, next);
        const double squaredSine = 1.0 - cosine * cosine;
        const double farthest = std::max(std::abs(before), std::abs(after)) * kLongestMiter;
        if (squaredSine < kStraight) {
            return cosine > 0.0 ? (first + next) * ((before + after) * 0.25) : -LeftOf(first) * before;
        }
        const PointXY move =
            (first * (before - cosine * after) + next * (after - cosine * before)) * (1.0 / squaredSine);
        const double length = Length(move);
        if (length <= farthest) {
            return move;
        }
        return Cross(first, next) < 0.0 ? PointXY{} : move * (farthest / length);
    }

private:
    static std::size_t Index(int number) { return static_cast<std::size_t>(number); }
    PointXY DirectionOf(std::size_t edge) const {
        const TriangulatedArea::Border& border = m_area.border[edge];
        const PointXY along = Flat(m_area.points[Index(border.to)]) - Flat(m_area.points[Index(border.from)]);
        return along * (1.0 / Length(along));
    }
    PointXY NormalOf(std::size_t edge) const { return -LeftOf(DirectionOf(edge)); }

    /// The edges that begin at each point, one after the other.
    void FindFirstEdges() {
        m_firstEdge.assign(m_area.points.size() + 1, 0);
        for (const TriangulatedArea::Border& border : m_area.border) {
            ++m_firstEdge[Index(border.from) + 1];
        }
        for (std::size_t point = 0; point < m_area.points.size(); ++point) {
            m_firstEdge[point + 1] += m_firstEdge[point];
        }
        std::vector<int> free(m_firstEdge.begin(), m_firstEdge.end() - 1);
        m_edges.resize(m_area.border.size());
        for (std::size_t edge = 0; edge < m_area.border.size(); ++edge) {
            m_edges[Index(free[Index(m_area.border[edge].from)]++)] = static_cast<int>(edge);
        }
    }

    /// Where several begin, the first that one meets turning with the clock from where the edge came from: the area
    /// lies in between.
    int NextOf(std::size_t edge) const {
        const int point = m_area.border[edge].to;
        const int first = m_firstEdge[Index(point)];
        const int last = m_firstEdge[Index(point) + 1];
        if (last - first == 1) {
            return m_edges[Index(first)];
        }
        const PointXY back = -DirectionOf(edge);
        int best = -1;
        double bestAngle = 0.0;
        for (int one = first; one < last; ++one) {
            const PointXY way = DirectionOf(Index(m_edges[Index(one)]));
            double angle = std::atan2(Cross(way, back), Dot(way, back)); // with the clock from `back` to `way`
            angle += angle <= 0.0 ? 2.0 * kPi : 0.0;
            if (best < 0 || angle < bestAngle) {
                best = m_edges[Index(one)];
                bestAngle = angle;
            }
        }
        return best;
    }

    void FindSmallRings(double smallest) {
        m_small.assign(m_next.size(), false);
        std::vector<bool> done(m_next.size());
        std::vector<std::size_t> ring;
        for (std::size_t start = 0; start < m_next.size(); ++start) {
            ring.clear();
            double area = 0.0;
            const PointXY origin = Flat(m_area.points[Index(m_area.border[start].from)]);
            for (std::size_t edge = start; !done[edge]; edge = Index(m_next[edge])) {
                done[edge] = true;
                ring.push_back(edge);
                area += Cross(Flat(m_area.points[Index(m_area.border[edge].from)]) - origin,
                              Flat(m_area.points[Index(m_area.border[edge].to)]) - origin);
            }
            if (std::abs(area) * 0.5 < smallest) {
                for (const std::size_t edge : ring) {
                    m_small[edge] = true;
                }
            }
        }
    }

    const TriangulatedArea& m_area;
    std::vector<bool> m_small; ///< edges of rings around next to nothing
    std::vector<int> m_firstEdge;
    std::vector<int> m_edges;
    std::vector<int> m_next;
    std::vector<int> m_before;
};

ShapeVertex VertexOf(const PointXYZ& point, float coverage, unsigned char paint) {
    return {point.x, point.y, point.z, coverage, paint};
}

PointXYZ Moved(const PointXYZ& point, const PointXY& by) {
    return {point.x + by.x, point.y + by.y, point.z};
}

void AddTriangles(const TriangulatedArea& area, const std::vector<PointXYZ>& points, float coverage,
                  unsigned char paint, ShapeMesh& mesh) {
    for (const std::array<int, 3>& triangle : area.triangles) {
        const auto at = [&](int corner) {
            return VertexOf(points[static_cast<std::size_t>(triangle[static_cast<std::size_t>(corner)])], coverage,
                            paint);
        };
        mesh.AddTriangle(at(0), at(1), at(2));
    }
}

} // namespace

void AddArea(const TriangulatedArea& area, unsigned char paint, ShapeMesh& mesh) {
    AddTriangles(area, area.points, 1.0F, paint, mesh);
}

void AddSoftArea(const TriangulatedArea& area, const SoftEdge& soft, ShapeMesh& mesh) {
    const BorderRings rings(area, soft.inwards + soft.outwards);
    // Along the other layer, whose own edge fades there, the area reaches below that.
    const auto moveOf = [&](std::size_t edge, double whereSoft) {
        return rings.IsSoft(edge) ? whereSoft : area.border[edge].meetsOther ? soft.outwards : 0.0;
    };
    const auto before = [&rings](std::size_t edge) {
        return rings.Before(edge) < 0 ? edge : static_cast<std::size_t>(rings.Before(edge));
    };
    std::vector<PointXYZ> full = area.points;
    for (std::size_t edge = 0; edge < area.border.size(); ++edge) {
        const int point = area.border[edge].from;
        if (!rings.IsShared(point)) {
            PointXYZ& place = full[static_cast<std::size_t>(point)];
            place = Moved(place, rings.MoveAt(edge, moveOf(before(edge), -soft.inwards), moveOf(edge, -soft.inwards)));
        }
    }
    AddTriangles(area, full, soft.coverage, soft.paint, mesh);
    std::vector<bool> done(area.border.size());
    for (std::size_t start = 0; start < area.border.size(); ++start) {
        // A ring, or the soft part of one.
        mesh.BeginStrip();
        std::size_t edge = start;
        const auto addRib = [&] {
            const auto point = static_cast<std::size_t>(area.border[edge].from);
            const PointXY move = rings.MoveAt(edge, moveOf(before(edge), soft.outwards), moveOf(edge, soft.outwards));
            mesh.Add(VertexOf(Moved(area.points[point], move), 0.0F, soft.paint));
            mesh.Add(VertexOf(full[point], soft.coverage, soft.paint));
        };
        while (!done[edge] && rings.IsSoft(edge)) {
            done[edge] = true;
            addRib();
            edge = static_cast<std::size_t>(rings.Next(edge));
            if (done[edge] || !rings.IsSoft(edge)) {
                addRib();
            }
        }
        mesh.BeginStrip();
    }
}

} // namespace KTR
