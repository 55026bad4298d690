#include "SoftArea.h"

#include "Plane.h"

#include <algorithm>

namespace KTR {

using namespace Plane;

namespace {

/// Most that a corner of the fringe is away from that of the border, in its widths.
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

    int Next(std::size_t edge) const { return m_next[edge]; }
    /// Whether the border fades along an edge.
    bool IsSoft(std::size_t edge) const { return !m_small[edge]; }

    /// Where the fringe ends at the start of an edge, for a fringe of width 1. Sharp corners do not reach far, and
    /// where two edges enclose next to nothing of the outside there is no room for it.
    PointXY MiterAt(std::size_t edge) const {
        const PointXY next = NormalOf(edge);
        if (m_before[edge] < 0) {
            return next;
        }
        const PointXY first = NormalOf(Index(m_before[edge]));
        if (1.0 + Dot(first, next) < kStraight) {
            return -LeftOf(first); // a spike: its tip moves on
        }
        const PointXY miter = MiterOf(first, next);
        const double length = Length(miter);
        if (length <= kLongestMiter) {
            return miter;
        }
        return Cross(first, next) < 0.0 ? PointXY{} : miter * (kLongestMiter / length);
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

void AddTriangles(const TriangulatedArea& area, float coverage, unsigned char paint, ShapeMesh& mesh) {
    for (const std::array<int, 3>& triangle : area.triangles) {
        const auto at = [&](std::size_t corner) {
            return VertexOf(area.points[static_cast<std::size_t>(triangle[corner])], coverage, paint);
        };
        mesh.AddTriangle(at(0), at(1), at(2));
    }
}

} // namespace

void AddArea(const TriangulatedArea& area, unsigned char paint, ShapeMesh& mesh) {
    AddTriangles(area, 1.0F, paint, mesh);
}

void AddSoftArea(const TriangulatedArea& area, const SoftEdge& soft, ShapeMesh& mesh) {
    AddTriangles(area, soft.coverage, soft.paint, mesh);
    const BorderRings rings(area, soft.width);
    std::vector<bool> done(area.border.size());
    for (std::size_t start = 0; start < area.border.size(); ++start) {
        if (done[start] || !rings.IsSoft(start)) {
            continue;
        }
        mesh.BeginStrip();
        std::size_t edge = start;
        const auto addRib = [&] {
            const PointXYZ& point = area.points[static_cast<std::size_t>(area.border[edge].from)];
            const PointXY miter = rings.MiterAt(edge) * soft.width;
            mesh.Add(VertexOf({point.x + miter.x, point.y + miter.y, point.z}, 0.0F, soft.paint));
            mesh.Add(VertexOf(point, soft.coverage, soft.paint));
        };
        for (; !done[edge]; edge = static_cast<std::size_t>(rings.Next(edge))) {
            done[edge] = true;
            addRib();
        }
        addRib();
        mesh.BeginStrip();
    }
}

} // namespace KTR
