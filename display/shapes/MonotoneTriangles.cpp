#include "MonotoneTriangles.h"

#include <algorithm>
#include <array>
#include <memory_resource>
#include <set>
#include <span>
#include <utility>

namespace KTR {

namespace {

/// A part of the area between two chains of edges that both run from left to right. Its points wait on a stack until
/// they can be cut off as triangles: all but the first lie on one of the chains, and seen from the inside they bulge
/// towards it.
class Piece {
public:
    void Begin(int point) { m_stack.assign(1, point); }
    /// A piece that begins as an edge whose second point lies on one of the chains.
    void Begin(int first, int second, bool onUpper) {
        m_stack.assign({first, second});
        m_onUpper = onUpper;
    }
    bool IsOnUpper() const { return m_stack.size() > 1 && m_onUpper; }
    int LastPoint() const { return m_stack.back(); }

    /// The next point of one of the chains.
    void Add(int point, bool onUpper, TriangulatedArea& area) {
        if (m_stack.size() > 1 && m_onUpper != onUpper) {
            const int last = m_stack.back();
            CutAll(point, area);
            Begin(last, point, onUpper);
            return;
        }
        m_onUpper = onUpper;
        while (m_stack.size() > 1 && CanCut(m_stack[m_stack.size() - 2], m_stack.back(), point, area)) {
            area.triangles.push_back({m_stack[m_stack.size() - 2], m_stack.back(), point});
            m_stack.pop_back();
        }
        m_stack.push_back(point);
    }
    /// The point where both chains end.
    void End(int point, TriangulatedArea& area) {
        CutAll(point, area);
        m_stack.clear();
    }

private:
    void CutAll(int point, TriangulatedArea& area) const {
        for (std::size_t index = 1; index < m_stack.size(); ++index) {
            area.triangles.push_back({m_stack[index - 1], m_stack[index], point});
        }
    }
    /// Whether the middle one of three points of a chain sticks out. Three on a line do not: a later triangle with a
    /// point of the other chain takes them.
    bool CanCut(int first, int middle, int last, const TriangulatedArea& area) const {
        const auto at = [&area](int point) {
            const PointXYZ& place = area.points[static_cast<std::size_t>(point)];
            return PointXY{place.x, place.y};
        };
        PlanarEdge edge;
        edge.left = at(first);
        edge.right = at(middle);
        const int side = SideOf(edge, at(last));
        return m_onUpper ? side < 0 : side > 0;
    }

    std::vector<int> m_stack;
    bool m_onUpper = false;
};

/// What of the area lies between two neighbours on the sweep's line. Behind a point where two pieces came together it
/// has both, until the next point cuts them apart.
class Interval {
public:
    void Begin(int point) {
        m_pieces[0].Begin(point);
        m_count = 1;
    }
    /// A point on the chain that bounds the interval from above or from below. A second piece on that side ends there.
    void Add(int point, bool onUpper, TriangulatedArea& area) {
        if (m_count == 2) {
            Piece& ending = m_pieces[onUpper ? 1 : 0];
            ending.End(point, area);
            if (!onUpper) {
                std::swap(m_pieces[0], m_pieces[1]);
            }
            m_count = 1;
        }
        m_pieces[0].Add(point, onUpper, area);
    }
    void End(int point, TriangulatedArea& area) {
        for (std::size_t piece = 0; piece < m_count; ++piece) {
            m_pieces[piece].End(point, area);
        }
        m_count = 0;
    }
    /// Two intervals, of one piece each, come together in a point that both have been given.
    void Join(Interval& above) {
        std::swap(m_pieces[1], above.m_pieces[0]);
        m_count = 2;
        above.m_count = 0;
    }
    /// A point in the middle, from where a gap opens. This remains what lies below.
    void Split(int point, Interval& above, TriangulatedArea& area) {
        if (m_count == 2) {
            std::swap(above.m_pieces[0], m_pieces[1]);
            m_pieces[0].Add(point, true, area);
            above.m_pieces[0].Add(point, false, area);
        } else {
            // The cut goes to the last point, which both sides then have.
            const int last = m_pieces[0].LastPoint();
            if (m_pieces[0].IsOnUpper()) {
                m_pieces[0].Add(point, true, area);
                above.m_pieces[0].Begin(last, point, false);
            } else {
                std::swap(above.m_pieces[0], m_pieces[0]);
                above.m_pieces[0].Add(point, false, area);
                m_pieces[0].Begin(last, point, true);
            }
        }
        m_count = 1;
        above.m_count = 1;
    }

private:
    std::array<Piece, 2> m_pieces; ///< from below
    std::size_t m_count = 0;
};

class TriangleSweep {
public:
    explicit TriangleSweep(const std::vector<BorderEdge>& borders) {
        m_edges.reserve(borders.size());
        m_insideAbove.reserve(borders.size());
        for (const BorderEdge& border : borders) {
            m_edges.push_back(border.edge);
            m_insideAbove.push_back(border.insideAbove);
        }
        NumberPoints();
    }

    TriangulatedArea Run() {
        m_places.resize(m_edges.size());
        m_intervals.resize(m_edges.size());
        std::size_t start = 0;
        std::size_t end = 0;
        std::vector<int> ending;
        for (int point = 0; static_cast<std::size_t>(point) < m_area.points.size(); ++point) {
            ending.clear();
            while (end < m_byRight.size() && m_rightPoints[Index(m_byRight[end])] == point) {
                ending.push_back(m_byRight[end++]);
            }
            const std::size_t first = start;
            while (start < m_byLeft.size() && m_leftPoints[Index(m_byLeft[start])] == point) {
                ++start;
            }
            Pass(point, ending, {m_byLeft.data() + first, m_byLeft.data() + start});
        }
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge) {
            const bool forward = m_insideAbove[edge];
            m_area.border.push_back({forward ? m_leftPoints[edge] : m_rightPoints[edge],
                                     forward ? m_rightPoints[edge] : m_leftPoints[edge]});
        }
        return std::move(m_area);
    }

private:
    using Line = std::pmr::set<int, EdgeOrder>;
    static std::size_t Index(int edge) { return static_cast<std::size_t>(edge); }

    void NumberPoints() {
        struct End {
            PointXYZ place;
            int edge;
            bool isRight;
        };
        std::vector<End> ends;
        ends.reserve(m_edges.size() * 2);
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge) {
            const PlanarEdge& e = m_edges[edge];
            ends.push_back({{e.left.x, e.left.y, e.leftZ}, static_cast<int>(edge), false});
            ends.push_back({{e.right.x, e.right.y, e.rightZ}, static_cast<int>(edge), true});
        }
        std::sort(ends.begin(), ends.end(), [](const End& a, const End& b) {
            return IsBefore({a.place.x, a.place.y}, {b.place.x, b.place.y});
        });
        m_leftPoints.resize(m_edges.size());
        m_rightPoints.resize(m_edges.size());
        for (const End& end : ends) {
            if (m_area.points.empty() || m_area.points.back().x != end.place.x ||
                m_area.points.back().y != end.place.y) {
                m_area.points.push_back(end.place);
            }
            const int point = static_cast<int>(m_area.points.size()) - 1;
            (end.isRight ? m_rightPoints : m_leftPoints)[Index(end.edge)] = point;
            (end.isRight ? m_byRight : m_byLeft).push_back(end.edge);
        }
    }

    /// Brings the edges that meet in a point into their order from below.
    void Sort(std::span<int> edges) const { std::sort(edges.begin(), edges.end(), EdgeOrder{&m_edges}); }

    void Pass(int point, std::span<int> ending, std::span<int> starting);

    TriangulatedArea m_area;
    std::vector<PlanarEdge> m_edges;
    std::vector<bool> m_insideAbove;
    std::vector<int> m_leftPoints;
    std::vector<int> m_rightPoints;
    std::vector<int> m_byLeft; ///< edges in the order of those
    std::vector<int> m_byRight;
    std::pmr::unsynchronized_pool_resource m_pool;
    Line m_line{EdgeOrder{&m_edges}, &m_pool};
    std::vector<Line::iterator> m_places;
    std::vector<Interval> m_intervals; ///< above each edge that has the area there
};

/// The sweep passes a point where some edges end and others start. From below: the interval below all of them, those
/// between ending edges, which end here, and the one above all; between starting edges new ones begin.
void TriangleSweep::Pass(int point, std::span<int> ending, std::span<int> starting) {
    Sort(ending);
    Sort(starting);
    const auto inside = [this](int edge) { return static_cast<bool>(m_insideAbove[Index(edge)]); };
    const auto interval = [this](int edge) -> Interval& { return m_intervals[Index(edge)]; };
    // The edge below the point, where the area lies in between.
    const auto below = [&](int lowest) {
        const Line::iterator place = m_places[Index(lowest)];
        return place != m_line.begin() && inside(*std::prev(place)) ? *std::prev(place) : -1;
    };
    if (!ending.empty()) {
        for (std::size_t index = 0; index + 1 < ending.size(); ++index) {
            if (inside(ending[index])) {
                interval(ending[index]).End(point, m_area);
            }
        }
        const int under = below(ending.front());
        if (under >= 0) {
            interval(under).Add(point, true, m_area);
        }
        if (const int last = ending.back(); inside(last)) {
            interval(last).Add(point, false, m_area);
            if (!starting.empty()) {
                std::swap(interval(starting.back()), interval(last));
            } else if (under >= 0) {
                interval(under).Join(interval(last));
            }
        }
    }
    for (const int edge : ending) {
        m_line.erase(m_places[Index(edge)]);
    }
    for (const int edge : starting) {
        m_places[Index(edge)] = m_line.insert(edge).first;
    }
    if (ending.empty()) {
        if (const int under = below(starting.front()); under >= 0) {
            interval(under).Split(point, interval(starting.back()), m_area);
        }
    }
    for (std::size_t index = 0; index + 1 < starting.size(); ++index) {
        if (inside(starting[index])) {
            interval(starting[index]).Begin(point);
        }
    }
}

} // namespace

TriangulatedArea Triangulate(const std::vector<BorderEdge>& borders) {
    return TriangleSweep(borders).Run();
}

} // namespace KTR
