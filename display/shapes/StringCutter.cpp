#include "StringCutter.h"

#include "Plane.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

namespace KTR {

using namespace Plane;

namespace {

/// Beyond this neither a product of two coordinates nor a float is safe.
constexpr double kLargest = 1e30;

/// Shortest dash, as a part of its pattern.
constexpr double kLeastDash = 1e-4;

/// Most repetitions of a pattern along a string.
constexpr double kMostRepetitions = 65536.0;

bool IsDrawable(const PointXYZ& point) {
    return std::abs(point.x) <= kLargest && std::abs(point.y) <= kLargest && std::abs(point.z) <= kLargest;
}

/// Narrows `first` to `last` to where `at` + t × `along` lies between `low` and `high`.
bool ClipToSlab(double at, double along, double low, double high, double& first, double& last) {
    if (along == 0.0) {
        return at >= low && at <= high;
    }
    const double entry = ((along > 0.0 ? low : high) - at) / along;
    const double exit = ((along > 0.0 ? high : low) - at) / along;
    first = std::max(first, entry);
    last = std::min(last, exit);
    return first <= last;
}

} // namespace

bool ClipToBox(const PointXY& start, const PointXY& end, const PlaneBox& box, double& first, double& last) {
    first = 0.0;
    last = 1.0;
    return ClipToSlab(start.x, end.x - start.x, box.low.x, box.high.x, first, last) &&
           ClipToSlab(start.y, end.y - start.y, box.low.y, box.high.y, first, last);
}

DashPattern::DashPattern(std::span<const double> lengths, double phase, double shortest) {
    double total = 0.0;
    double gaps = 0.0;
    for (std::size_t index = 0; index < lengths.size(); ++index) {
        const double length = lengths[index] > 0.0 ? lengths[index] : 0.0;
        total += length;
        gaps += index % 2 == 1 || lengths.size() % 2 == 1 ? length : 0.0;
    }
    if (!std::isfinite(total) || total < shortest || gaps <= 0.0) {
        return;
    }
    for (std::size_t round = 0; round < 1 + lengths.size() % 2; ++round) {
        for (const double length : lengths) {
            m_lengths.push_back(length > 0.0 ? length : 0.0);
            m_total += m_lengths.back();
        }
    }
    // A dash without length still has caps, which need a direction.
    const double least = m_total * kLeastDash;
    for (std::size_t index = 0; index < m_lengths.size(); index += 2) {
        if (m_lengths[index] < least) {
            m_lengths[index + 1] = std::max(m_lengths[index + 1] - (least - m_lengths[index]), 0.0);
            m_lengths[index] = least;
        }
    }
    std::partial_sum(m_lengths.begin(), m_lengths.end(), std::back_inserter(m_ends));
    if (std::isfinite(phase)) {
        m_phase = std::fmod(phase, m_total);
        m_phase += m_phase < 0.0 ? m_total : 0.0;
    }
}

double DashPattern::MostRepetitions() const {
    return std::min(kMostRepetitions, m_most / static_cast<double>(std::max(m_lengths.size(), std::size_t{1})));
}

void VisitFiniteParts(std::span<const PointXYZ> points, bool closed, const VisitPiece& visit) {
    const auto broken = std::find_if_not(points.begin(), points.end(), IsDrawable);
    if (broken == points.end()) {
        if (!points.empty()) {
            visit(points, closed);
        }
        return;
    }
    std::vector<PointXYZ> part;
    const auto finish = [&] {
        if (!part.empty()) {
            visit(part, false);
        }
        part.clear();
    };
    const std::size_t count = points.size();
    const std::size_t start = closed ? static_cast<std::size_t>(broken - points.begin()) : 0;
    for (std::size_t index = 0; index < count; ++index) {
        const PointXYZ& point = points[(start + index) % count];
        if (IsDrawable(point)) {
            part.push_back(point);
        } else {
            finish();
        }
    }
    finish();
}

/// Where in its pattern a string is.
class DashWalker {
public:
    explicit DashWalker(const DashPattern& pattern) : m_pattern(pattern) { Seek(pattern.m_phase); }

    bool IsDrawn() const { return m_index % 2 == 0; }
    /// How far it is to the next change.
    double Left() const { return m_left; }
    void Advance(double by) {
        if (by > m_pattern.m_total) {
            Seek(std::fmod(Place() + by, m_pattern.m_total));
            return;
        }
        m_left -= by;
        for (std::size_t steps = 0; m_left <= 0.0 && steps < 2 * m_pattern.m_lengths.size(); ++steps) {
            m_index = (m_index + 1) % m_pattern.m_lengths.size();
            m_left += m_pattern.m_lengths[m_index];
        }
    }
    /// Goes to where the next length begins. At a dash without length the walker stands still once.
    void Change() {
        m_index = (m_index + 1) % m_pattern.m_lengths.size();
        m_left = m_pattern.m_lengths[m_index];
    }

private:
    double Place() const { return m_pattern.m_ends[m_index] - m_left; }
    void Seek(double place) {
        const std::vector<double>& ends = m_pattern.m_ends;
        m_index = static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end() - 1, place) - ends.begin());
        m_left = std::max(ends[m_index] - place, 0.0);
    }

    const DashPattern& m_pattern;
    std::size_t m_index = 0;
    double m_left = 0.0;
};

namespace {

/// What can be seen of each segment of a string.
class StringParts {
public:
    struct Part {
        PointXYZ start;
        PointXYZ end;
        double length = -1.0; ///< below 0 where nothing can be seen
        double skippedBefore = 0.0;
        double skippedBehind = 0.0;

        PointXYZ At(double distance) const { return length > 0.0 ? Between(start, end, distance / length) : start; }
    };

    StringParts(std::span<const PointXYZ> points, bool ring, const std::optional<PlaneBox>& visible)
        : m_points(points), m_count(ring ? points.size() : points.size() - 1), m_visible(visible) {}

    std::size_t Count() const { return m_count; }
    Part At(std::size_t index) const {
        const PointXYZ& start = m_points[index];
        const PointXYZ& end = m_points[(index + 1) % m_points.size()];
        const double length = Length(Flat(end) - Flat(start));
        double first = 0.0;
        double last = 1.0;
        if (m_visible && !ClipToBox(Flat(start), Flat(end), *m_visible, first, last)) {
            return {start, end, -1.0, length, 0.0};
        }
        return {first > 0.0 ? Between(start, end, first) : start, last < 1.0 ? Between(start, end, last) : end,
                (last - first) * length, first * length, (1.0 - last) * length};
    }
    double VisibleLength() const {
        double sum = 0.0;
        for (std::size_t index = 0; index < m_count; ++index) {
            sum += std::max(At(index).length, 0.0);
        }
        return sum;
    }

private:
    std::span<const PointXYZ> m_points;
    std::size_t m_count;
    const std::optional<PlaneBox>& m_visible;
};

/// Collects the points of the dash at hand. On a ring the first one waits for the last, which may end where it begins.
class DashCollector {
public:
    DashCollector(bool closed, const VisitPiece& visit) : m_closed(closed), m_visit(visit) {}

    void Add(const PointXYZ& point) { m_piece.push_back(point); }
    bool IsOpen() const { return !m_piece.empty(); }
    /// The piece at hand begins where the ring does.
    void MarkFirst() { m_isFirst = m_closed; }
    void Finish() {
        if (m_piece.empty()) {
            return;
        }
        if (m_isFirst) {
            m_first.swap(m_piece);
            m_isFirst = false;
        } else {
            m_visit(m_piece, false);
        }
        m_piece.clear();
    }
    /// The end of the string; a piece that is open reaches it.
    void FinishString() {
        if (m_isFirst && !m_piece.empty()) {
            m_piece.pop_back(); // it repeats the first
            m_visit(m_piece, true);
            return;
        }
        if (!m_piece.empty() && !m_first.empty()) {
            m_piece.insert(m_piece.end(), m_first.begin() + 1, m_first.end());
            m_first.clear();
        }
        Finish();
        if (!m_first.empty()) {
            m_visit(m_first, false);
        }
    }

private:
    bool m_closed;
    const VisitPiece& m_visit;
    bool m_isFirst = false;
    std::vector<PointXYZ> m_piece;
    std::vector<PointXYZ> m_first;
};

} // namespace

void VisitDashes(std::span<const PointXYZ> points, bool closed, const DashPattern& pattern,
                 const std::optional<PlaneBox>& visible, const VisitPiece& visit) {
    const std::size_t count = points.size();
    if (count < 2) {
        visit(points, false);
        return;
    }
    const bool ring = closed && count > 2;
    const StringParts parts(points, ring, visible);
    const DashPattern endless(std::vector{std::numeric_limits<double>::max(), 1.0}, 0.0, 0.0);
    const bool solid = pattern.IsSolid() || parts.VisibleLength() > pattern.MostRepetitions() * pattern.Total();
    DashWalker walker(solid ? endless : pattern);
    DashCollector collector(ring, visit);
    for (std::size_t index = 0; index < parts.Count(); ++index) {
        const StringParts::Part part = parts.At(index);
        if (part.skippedBefore > 0.0 || part.length < 0.0) {
            collector.Finish();
            walker.Advance(part.skippedBefore);
        }
        if (part.length < 0.0) {
            continue;
        }
        if (walker.IsDrawn() && !collector.IsOpen()) {
            collector.Add(part.start);
            if (index == 0 && part.skippedBefore == 0.0) {
                collector.MarkFirst();
            }
        }
        // A gap that ends where the segment does leaves the next dash to the next segment, if there is one.
        double done = 0.0;
        for (double left = walker.Left(); left < part.length - done || (left == part.length - done && walker.IsDrawn());
             left = walker.Left()) {
            done += left;
            const PointXYZ place = part.At(done);
            const bool ends = walker.IsDrawn();
            collector.Add(place);
            if (ends) {
                collector.Finish();
            }
            walker.Change();
        }
        walker.Advance(part.length - done);
        if (collector.IsOpen()) {
            collector.Add(part.end);
        }
        if (part.skippedBehind > 0.0) {
            collector.Finish();
            walker.Advance(part.skippedBehind);
        }
    }
    collector.FinishString();
}

} // namespace KTR
