#include "PlanarEdges.h"

#include <algorithm>
#include <cmath>
#include <memory_resource>
#include <queue>
#include <set>
#include <utility>

namespace KTR {

namespace {

/// Passes until nothing crosses any more. The first finds nearly all, the second what rounding has moved across
/// something, and the last proves that nothing is left.
constexpr int kMostPasses = 16;

/// How near a crossing is to an end that counts as the same, in steps of the grid. Without this, edges that leave a
/// place in nearly one direction would be cut one step farther on again and again; with it, two ends two steps apart
/// may lend each other an edge for ever. So each pass of two late ones does it the other way.
double SameEndOf(int pass) {
    return pass < 6 || pass % 2 == 0 ? 2.0 : 0.0;
}

bool IsSamePoint(const PointXY& a, const PointXY& b) {
    return a.x == b.x && a.y == b.y;
}

/// What a × b, rounded to `product`, was rounded by; exact (Dekker).
double RoundingOf(double a, double b, double product) {
    constexpr double splitter = 134217729.0; // 2 to the power of 27, plus 1
    const auto split = [](double value) {
        const double scaled = splitter * value;
        const double high = scaled - (scaled - value);
        return std::pair{high, value - high};
    };
    const auto [aHigh, aLow] = split(a);
    const auto [bHigh, bLow] = split(b);
    return aLow * bLow - (product - aHigh * bHigh - aLow * bHigh - aHigh * bLow);
}

/// The sign of a × b - c × d. Rounding keeps the order of two products, so that it has a say only where both are
/// rounded to the same number.
int CompareProducts(double a, double b, double c, double d) {
    const double first = a * b;
    const double second = c * d;
    if (first != second) {
        return first > second ? 1 : -1;
    }
    const double firstRest = RoundingOf(a, b, first);
    const double secondRest = RoundingOf(c, d, second);
    return static_cast<int>(firstRest > secondRest) - static_cast<int>(firstRest < secondRest);
}

/// One pass over all edges: a vertical line goes from left to right, and edges that become neighbours on it are tested.
/// As long as none cross, the order on the line is true, so that the first crossing of all is among neighbours.
class CrossingSweep {
public:
    CrossingSweep(std::vector<PlanarEdge>& edges, double sameEnd, long& splitsLeft)
        : m_edges(edges), m_sameEnd(sameEnd), m_splitsLeft(splitsLeft) {}

    /// False when the splits are used up.
    bool Run() {
        Start();
        while (!m_events.empty() && m_splitsLeft >= 0) {
            m_at = m_events.top().at;
            m_started.clear();
            while (!m_events.empty() && IsSamePoint(m_events.top().at, m_at)) {
                const Event event = m_events.top();
                m_events.pop();
                Handle(event);
            }
            CountWindings();
        }
        return m_splitsLeft >= 0;
    }
    /// Whether edges were split or joined.
    bool HasChanged() const { return m_changed; }
    /// Removes what is no edge any more and makes the cuts that came too late.
    void Finish() {
        for (const LateCut& late : m_lateCuts) {
            if (m_states[static_cast<std::size_t>(late.edge)].gone) {
                continue;
            }
            const PlanarEdge edge = m_edges[static_cast<std::size_t>(late.edge)];
            ReplaceBy(late.edge, edge, late.at);
        }
        std::size_t kept = 0;
        for (std::size_t index = 0; index < m_edges.size(); ++index) {
            if (!m_states[index].gone) {
                m_edges[kept++] = m_edges[index];
            }
        }
        m_edges.resize(kept);
    }

private:
    struct Event {
        PointXY at;
        int edge;
        bool starts;

        /// Ends come before starts at the same point.
        bool operator<(const Event& other) const {
            if (!IsSamePoint(at, other.at)) {
                return IsBefore(other.at, at);
            }
            return starts && !other.starts;
        }
    };
    struct LateCut {
        int edge;
        PointXY at;
    };
    using Line = std::pmr::set<int, EdgeOrder>;
    struct State {
        Line::iterator place{};
        bool onLine = false;
        bool gone = false;
    };

    PlanarEdge& At(int edge) { return m_edges[static_cast<std::size_t>(edge)]; }
    State& StateOf(int edge) { return m_states[static_cast<std::size_t>(edge)]; }

    void Start() {
        m_states.resize(m_edges.size());
        std::vector<Event> events;
        events.reserve(m_edges.size() * 2);
        for (std::size_t index = 0; index < m_edges.size(); ++index) {
            const int edge = static_cast<int>(index);
            events.push_back({m_edges[index].left, edge, true});
            events.push_back({m_edges[index].right, edge, false});
        }
        m_events = std::priority_queue<Event>(std::less<Event>(), std::move(events));
    }

    /// An event whose edge has changed since says nothing.
    void Handle(const Event& event) {
        State& state = StateOf(event.edge);
        if (state.gone) {
            return;
        }
        if (event.starts) {
            if (!state.onLine && IsSamePoint(At(event.edge).left, m_at)) {
                Insert(event.edge);
            }
        } else if (state.onLine && IsSamePoint(At(event.edge).right, m_at)) {
            Remove(event.edge);
        }
    }

    void Insert(int edge) {
        State& state = StateOf(edge);
        state.place = m_line.insert(edge).first;
        state.onLine = true;
        m_started.push_back(edge);
        if (state.place != m_line.begin()) {
            Test(*std::prev(state.place), edge);
        }
        // The states may have moved.
        const State& now = StateOf(edge);
        if (now.onLine && std::next(now.place) != m_line.end()) {
            Test(edge, *std::next(now.place));
        }
    }

    void Remove(int edge) {
        State& state = StateOf(edge);
        const auto above = m_line.erase(state.place);
        state.onLine = false;
        if (above != m_line.begin() && above != m_line.end()) {
            Test(*std::prev(above), *above);
        }
    }

    void Test(int lower, int upper) {
        const PlanarEdge e = At(lower);
        const PlanarEdge f = At(upper);
        const auto [eLow, eHigh] = std::minmax(e.left.y, e.right.y);
        const auto [fLow, fHigh] = std::minmax(f.left.y, f.right.y);
        if (eHigh < fLow || fHigh < eLow) {
            return;
        }
        const int fLeft = SideOf(e, f.left);
        const int fRight = SideOf(e, f.right);
        if (fLeft * fRight > 0) {
            return;
        }
        const int eLeft = SideOf(f, e.left);
        const int eRight = SideOf(f, e.right);
        if (eLeft * eRight > 0) {
            return;
        }
        if (fLeft == 0 && fRight == 0) {
            TestOverlap(lower, upper);
        } else if (fLeft * fRight * eLeft * eRight == 0) {
            const auto cut = [this](int edge, int side, const PointXY& at) {
                if (side == 0 && IsBefore(At(edge).left, at) && IsBefore(at, At(edge).right)) {
                    Split(edge, at);
                }
            };
            cut(lower, fLeft, f.left);
            cut(lower, fRight, f.right);
            cut(upper, eLeft, e.left);
            cut(upper, eRight, e.right);
        } else {
            const PointXY at = CrossingOf(e, f);
            Split(lower, at);
            Split(upper, at);
        }
    }

    /// Two edges on one line. What they share becomes one edge.
    void TestOverlap(int lower, int upper) {
        const PlanarEdge e = At(lower);
        const PlanarEdge f = At(upper);
        if (!IsBefore(e.left, f.right) || !IsBefore(f.left, e.right)) {
            return;
        }
        if (!IsSamePoint(e.left, f.left)) {
            const bool eFirst = IsBefore(e.left, f.left);
            Split(eFirst ? lower : upper, eFirst ? f.left : e.left);
        } else if (!IsSamePoint(e.right, f.right)) {
            const bool eFirst = IsBefore(e.right, f.right);
            Split(eFirst ? upper : lower, eFirst ? e.right : f.right);
        } else {
            Join(lower, upper);
        }
    }

    void Join(int kept, int joined) {
        m_changed = true;
        std::array<int, 2>& step = At(kept).step;
        for (std::size_t layer = 0; layer < step.size(); ++layer) {
            step[layer] += At(joined).step[layer];
        }
        Discard(joined);
        if (step == std::array<int, 2>{}) {
            Discard(kept);
        }
    }

    /// The neighbours of what goes are tested when they next become neighbours of something; the pass is not the last.
    void Discard(int edge) {
        State& state = StateOf(edge);
        if (state.onLine) {
            m_line.erase(state.place);
            state.onLine = false;
        }
        state.gone = true;
    }

    PointXY CrossingOf(const PlanarEdge& e, const PlanarEdge& f) const {
        const auto distance = [&f](const PointXY& point) {
            return (f.right.x - f.left.x) * (point.y - f.left.y) - (f.right.y - f.left.y) * (point.x - f.left.x);
        };
        const double before = distance(e.left);
        const double behind = distance(e.right);
        const double share = before == behind ? 0.5 : std::clamp(before / (before - behind), 0.0, 1.0);
        const auto rounded = [share](double start, double end, double otherStart, double otherEnd) {
            const double value = std::nearbyint(start + (end - start) * share);
            const double low = std::max(std::min(start, end), std::min(otherStart, otherEnd));
            const double high = std::min(std::max(start, end), std::max(otherStart, otherEnd));
            return std::min(std::max(value, low), high);
        };
        PointXY at{rounded(e.left.x, e.right.x, f.left.x, f.right.x),
                   rounded(e.left.y, e.right.y, f.left.y, f.right.y)};
        // A steep edge that falls crosses many others below the line's place. They are cut in this pass if the
        // crossing is moved on rather than back.
        if (at.x == m_at.x && at.y < m_at.y) {
            at.x = std::min({m_at.x + 1.0, e.right.x, f.right.x});
        }
        for (const PointXY& end : {e.left, f.left, e.right, f.right}) {
            if (std::abs(end.x - at.x) <= m_sameEnd && std::abs(end.y - at.y) <= m_sameEnd) {
                return end;
            }
        }
        return at;
    }

    void Split(int edge, const PointXY& at) {
        const PlanarEdge whole = At(edge);
        if (IsSamePoint(at, whole.left) || IsSamePoint(at, whole.right)) {
            return;
        }
        m_changed = true;
        --m_splitsLeft;
        if (IsBefore(at, m_at) || !IsBefore(whole.left, at)) {
            m_lateCuts.push_back({edge, at}); // the line has passed there
            return;
        }
        const int rest = ReplaceBy(edge, whole, at);
        m_events.push({At(edge).right, edge, false});
        if (rest >= 0) {
            m_events.push({At(rest).left, rest, true});
            m_events.push({At(rest).right, rest, false});
        }
    }

    /// Makes `edge` the part of `whole` up to `at`, and the rest a new edge. The new one's number.
    int ReplaceBy(int edge, const PlanarEdge& whole, const PointXY& at) {
        const double width = whole.right.x - whole.left.x;
        const double height = whole.right.y - whole.left.y;
        const double share =
            std::abs(width) > std::abs(height) ? (at.x - whole.left.x) / width : (at.y - whole.left.y) / height;
        const PointXYZ middle{at.x, at.y, whole.leftZ + (whole.rightZ - whole.leftZ) * share};
        const auto first = MakeEdge({whole.left.x, whole.left.y, whole.leftZ}, middle, whole.step);
        const auto second = MakeEdge(middle, {whole.right.x, whole.right.y, whole.rightZ}, whole.step);
        if (first) {
            At(edge) = *first;
        } else {
            Discard(edge);
        }
        if (!second) {
            return -1;
        }
        m_edges.push_back(*second);
        m_states.emplace_back();
        return static_cast<int>(m_edges.size()) - 1;
    }

    /// From the lowest of the edges that start here upwards.
    void CountWindings() {
        for (const int edge : m_started) {
            const State& state = StateOf(edge);
            if (!state.onLine) {
                continue;
            }
            auto lowest = state.place;
            while (lowest != m_line.begin() && IsSamePoint(At(*std::prev(lowest)).left, m_at)) {
                --lowest;
            }
            std::array<int, 2> winding{};
            if (lowest != m_line.begin()) {
                winding = Above(*std::prev(lowest));
            }
            for (auto one = lowest; one != m_line.end() && IsSamePoint(At(*one).left, m_at); ++one) {
                At(*one).below = winding;
                winding = Above(*one);
            }
            return;
        }
    }

    std::array<int, 2> Above(int edge) {
        const PlanarEdge& e = At(edge);
        return {e.below[0] + e.step[0], e.below[1] + e.step[1]};
    }

    std::vector<PlanarEdge>& m_edges;
    double m_sameEnd;
    long& m_splitsLeft;
    std::vector<State> m_states;
    std::priority_queue<Event> m_events;
    std::pmr::unsynchronized_pool_resource m_pool;
    Line m_line{EdgeOrder{&m_edges}, &m_pool};
    std::vector<int> m_started;
    std::vector<LateCut> m_lateCuts;
    PointXY m_at;
    bool m_changed = false;
};

} // namespace

int SideOf(const PlanarEdge& edge, const PointXY& point) {
    return CompareProducts(edge.right.x - edge.left.x, point.y - edge.left.y, edge.right.y - edge.left.y,
                           point.x - edge.left.x);
}

bool EdgeOrder::operator()(int first, int second) const {
    const PlanarEdge& e = (*edges)[static_cast<std::size_t>(first)];
    const PlanarEdge& f = (*edges)[static_cast<std::size_t>(second)];
    int side = 0; // of f, seen from e
    if (IsBefore(e.left, f.left)) {
        side = SideOf(e, f.left);
        side = side != 0 ? side : SideOf(e, f.right);
    } else {
        side = -SideOf(f, e.left);
        side = side != 0 ? side : -SideOf(f, e.right);
    }
    return side != 0 ? side > 0 : first < second;
}

std::optional<PlanarEdge> MakeEdge(const PointXYZ& from, const PointXYZ& to, std::array<int, 2> step) {
    const PointXY start{from.x, from.y};
    const PointXY end{to.x, to.y};
    if (IsSamePoint(start, end)) {
        return std::nullopt;
    }
    if (IsBefore(start, end)) {
        return PlanarEdge{start, end, from.z, to.z, step};
    }
    return PlanarEdge{end, start, to.z, from.z, {-step[0], -step[1]}};
}

bool SeparateEdges(std::vector<PlanarEdge>& edges, long mostSplits) {
    for (int pass = 0; pass < kMostPasses; ++pass) {
        CrossingSweep sweep(edges, SameEndOf(pass), mostSplits);
        if (!sweep.Run()) {
            return false;
        }
        sweep.Finish();
        if (!sweep.HasChanged()) {
            return true;
        }
    }
    return false;
}

} // namespace KTR
