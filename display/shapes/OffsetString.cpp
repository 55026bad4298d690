#include "OffsetString.h"

#include "Curves.h"
#include "Plane.h"
#include "StringCutter.h"

#include <algorithm>
#include <optional>

namespace KTR {

using namespace Plane;

namespace {

constexpr double kStraight = 1e-12;

/// How near points of the string are the same, in distances of the parallel.
constexpr double kSamePlace = 1e-9;

/// By how much nearer to the string than the distance a place may be, as a part of it.
constexpr double kNearer = 1e-7;

/// Crossings, and pairs of neighbours to find them among, that a parallel may have. One that has more is left uncut.
constexpr std::size_t kMostCrossings = 100'000;
constexpr std::size_t kMostPairs = 30'000'000;

/// Points that all arcs of a parallel together may have, and what each arc has at least.
constexpr std::size_t kMostArcPoints = 1'000'000;
constexpr int kFewestArcParts = 8;

/// Where a piece of the uncut parallel comes from.
enum class Origin {
    Segment, ///< it runs beside a segment
    Join,    ///< in an arc around the outside of a bend
    Inside   ///< across the inside of a bend, nearer than it should be
};

/// A point of the uncut parallel and what leads from it to the next.
struct RawPoint {
    PointXYZ place;
    Origin origin = Origin::Segment;
    int source = 0; ///< the segment, or the point of the bend
};

/// The directions to the left of the segments that meet in a point.
struct Bend {
    PointXY normal;
    PointXY next;
    double sine = 0.0;
    double cosine = 1.0;
    bool turnsBack = false;
};

/// The string itself, to ask how near a place is to it.
class Source {
public:
    /// Points nearer than `same` to the one before are left out.
    Source(std::span<const PointXYZ> points, bool closed, double same) {
        const auto repeats = [same](const PointXYZ& a, const PointXYZ& b) { return Length(Flat(a) - Flat(b)) <= same; };
        for (const PointXYZ& point : points) {
            if (m_points.empty() || !repeats(point, m_points.back())) {
                m_points.push_back(point);
            }
        }
        while (closed && m_points.size() > 1 && repeats(m_points.back(), m_points.front())) {
            m_points.pop_back();
        }
        m_closed = closed && m_points.size() > 2;
        for (std::size_t first = 0; first < SegmentCount(); first += kBlock) {
            Block block{Flat(m_points[first]), Flat(m_points[first])};
            for (std::size_t index = first; index <= std::min(first + kBlock, SegmentCount()); ++index) {
                const PointXY place = Flat(PointAt(index));
                block.low = {std::min(block.low.x, place.x), std::min(block.low.y, place.y)};
                block.high = {std::max(block.high.x, place.x), std::max(block.high.y, place.y)};
            }
            m_blocks.push_back(block);
        }
    }

    bool IsClosed() const { return m_closed; }
    std::size_t PointCount() const { return m_points.size(); }
    std::size_t SegmentCount() const { return m_points.size() - (m_closed || m_points.empty() ? 0 : 1); }
    const PointXYZ& PointAt(std::size_t index) const { return m_points[index % m_points.size()]; }
    const std::vector<PointXYZ>& Points() const { return m_points; }
    PointXY DirectionAt(std::size_t segment) const {
        const PointXY along = Flat(PointAt(segment + 1)) - Flat(PointAt(segment));
        return along * (1.0 / Length(along));
    }
    /// The bend at the start of a segment; not of the first one of a string that is no ring.
    Bend BendAt(std::size_t segment) const {
        Bend bend;
        bend.normal = LeftOf(DirectionAt((segment + SegmentCount() - 1) % SegmentCount()));
        bend.next = LeftOf(DirectionAt(segment));
        bend.sine = Cross(bend.normal, bend.next);
        bend.cosine = Dot(bend.normal, bend.next);
        bend.turnsBack = 1.0 + bend.cosine < kStraight;
        return bend;
    }
    double LengthAt(std::size_t segment) const { return Length(Flat(PointAt(segment + 1)) - Flat(PointAt(segment))); }

    /// Whether a place is nearer than `distance`; to a point of the string, `radius`. The segments that meet in the
    /// point `bend` do not count; -1: all do.
    bool IsNear(const PointXY& place, double distance, double radius, int bend) const {
        for (std::size_t block = 0; block < m_blocks.size(); ++block) {
            const Block& box = m_blocks[block];
            const double x = std::max({box.low.x - place.x, place.x - box.high.x, 0.0});
            const double y = std::max({box.low.y - place.y, place.y - box.high.y, 0.0});
            if (x * x + y * y >= distance * distance) {
                continue;
            }
            for (std::size_t index = block * kBlock; index < std::min((block + 1) * kBlock, SegmentCount()); ++index) {
                const std::size_t next = (index + 1) % PointCount();
                const bool meets =
                    bend >= 0 && (index == static_cast<std::size_t>(bend) || next == static_cast<std::size_t>(bend));
                if (!meets && IsNearSegment(place, index, next, distance, radius)) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    bool IsNearSegment(const PointXY& place, std::size_t start, std::size_t end, double distance, double radius) const {
        const PointXY along = Flat(m_points[end]) - Flat(m_points[start]);
        const PointXY fromStart = place - Flat(m_points[start]);
        const double foot = Dot(fromStart, along);
        if (foot <= 0.0) {
            return Length(fromStart) < radius;
        }
        if (foot >= Dot(along, along)) {
            return Length(place - Flat(m_points[end])) < radius;
        }
        return std::abs(Cross(fromStart, along)) < distance * Length(along);
    }

    static constexpr std::size_t kBlock = 16;
    struct Block {
        PointXY low;
        PointXY high;
    };

    std::vector<PointXYZ> m_points;
    std::vector<Block> m_blocks; ///< of so many segments each
    bool m_closed = false;
};

/// The parallel before anything is cut out. It runs around the outside of bends in arcs, whatever the joins are: only
/// so all of it has its distance, which tells what to cut out. Joins come last.
class RawParallel {
public:
    RawParallel(const Source& source, const Offset& offset)
        : m_source(source), m_offset(offset),
          m_mostParts(std::max(static_cast<int>(kMostArcPoints / source.SegmentCount()), kFewestArcParts)) {
        const std::size_t segments = source.SegmentCount();
        for (std::size_t segment = 0; segment < segments; ++segment) {
            if (segment > 0 || source.IsClosed()) {
                AddBend(segment);
            } else {
                Add(source.PointAt(0), LeftOf(source.DirectionAt(0)) * offset.distance, Origin::Segment, 0);
            }
        }
        if (!source.IsClosed()) {
            const PointXY normal = LeftOf(source.DirectionAt(segments - 1));
            Add(source.PointAt(segments), normal * offset.distance, Origin::Segment, static_cast<int>(segments) - 1);
        }
    }

    std::vector<RawPoint> Take() { return std::move(m_points); }

private:
    void Add(const PointXYZ& beside, const PointXY& by, Origin origin, int source) {
        m_points.push_back({{beside.x + by.x, beside.y + by.y, beside.z}, origin, source});
    }

    /// The bend at the start of a segment. What follows its last point is the segment's.
    void AddBend(std::size_t segment) {
        const Bend bend = m_source.BendAt(segment);
        const PointXYZ& point = m_source.PointAt(segment);
        const int number = static_cast<int>(segment);
        const double distance = m_offset.distance;
        if (!bend.turnsBack && (std::abs(bend.sine) < kStraight || bend.sine * distance > 0.0)) {
            const double trim = std::abs(distance * bend.sine) / (1.0 + bend.cosine);
            const std::size_t before = (segment + m_source.SegmentCount() - 1) % m_source.SegmentCount();
            if (trim <= m_source.LengthAt(before) && trim <= m_source.LengthAt(segment)) {
                Add(point, MiterOf(bend.normal, bend.next) * distance, Origin::Segment, number);
            } else {
                Add(point, bend.normal * distance, Origin::Inside, number);
                Add(point, bend.next * distance, Origin::Segment, number);
            }
            return;
        }
        const double angle = std::acos(std::clamp(bend.cosine, -1.0, 1.0)) * (distance > 0.0 ? -1.0 : 1.0);
        const int parts = std::min(CountArcParts(std::abs(distance), angle, m_offset.tolerance), m_mostParts);
        for (int part = 0; part < parts; ++part) {
            const double turned = angle * part / parts;
            const PointXY normal{bend.normal.x * std::cos(turned) - bend.normal.y * std::sin(turned),
                                 bend.normal.x * std::sin(turned) + bend.normal.y * std::cos(turned)};
            Add(point, (part == 0 ? bend.normal : normal) * distance, Origin::Join, number);
        }
        Add(point, bend.next * distance, Origin::Segment, number);
    }

    const Source& m_source;
    const Offset& m_offset;
    int m_mostParts; ///< of an arc
    std::vector<RawPoint> m_points;
};

/// Where two pieces of the uncut parallel cross: a place on one of them.
struct Cut {
    std::size_t piece;
    double share;
    PointXYZ place;
};

class ParallelCutter {
public:
    ParallelCutter(const Source& source, std::vector<RawPoint> points, const Offset& offset)
        : m_source(source), m_offset(offset), m_points(std::move(points)),
          m_distance(std::abs(offset.distance) * (1.0 - kNearer)),
          m_pieces(m_points.size() - (source.IsClosed() ? 0 : 1)) {}

    std::vector<OffsetPart> Run() {
        if (!FindCuts()) {
            return {{WithJoins(m_points), m_source.IsClosed()}};
        }
        CutIntoSlices();
        return JoinSlices();
    }

private:
    /// The parallel between two cuts. It begins with a place; what leads on from each is as in the uncut one.
    using Slice = std::vector<RawPoint>;

    /// The places of a part, the arcs replaced by the joins that are asked for. A miter stands where all of its arc is
    /// left.
    std::vector<PointXYZ> WithJoins(const std::vector<RawPoint>& points) const {
        std::vector<PointXYZ> places;
        for (std::size_t index = 0; index < points.size();) {
            const RawPoint& first = points[index];
            std::size_t last = index;
            while (first.origin == Origin::Join && last + 1 < points.size() && points[last].origin == Origin::Join &&
                   points[last].source == first.source) {
                ++last;
            }
            if (last == index || m_offset.join == GLLineJoinRound) {
                places.push_back(first.place);
                ++index;
            } else if (const std::optional<PointXYZ> miter = MiterFor(first, points[last])) {
                places.push_back(*miter);
                index = last + 1;
            } else {
                places.push_back(first.place);
                index = last;
            }
        }
        return places;
    }
    std::optional<PointXYZ> MiterFor(const RawPoint& first, const RawPoint& last) const {
        const Bend bend = m_source.BendAt(static_cast<std::size_t>(first.source));
        const PointXYZ& point = m_source.PointAt(static_cast<std::size_t>(first.source));
        const double limit = m_offset.miterLimit * m_offset.miterLimit * (1.0 + kStraight);
        const auto isAt = [&](const RawPoint& end, const PointXY& normal) {
            return IsSame(Flat(end.place), Flat(point) + normal * m_offset.distance);
        };
        if (m_offset.join != GLLineJoinMiter || bend.turnsBack || 2.0 / (1.0 + bend.cosine) > limit ||
            !isAt(first, bend.normal) || !isAt(last, bend.next)) {
            return std::nullopt;
        }
        const PointXY miter = MiterOf(bend.normal, bend.next) * m_offset.distance;
        return PointXYZ{point.x + miter.x, point.y + miter.y, point.z};
    }
    const RawPoint& PointAt(std::size_t index) const { return m_points[index % m_points.size()]; }

    /// False where there are too many.
    bool FindCuts() {
        struct Box {
            std::size_t piece;
            double left, right, low, high;
        };
        std::vector<Box> boxes;
        for (std::size_t piece = 0; piece < m_pieces; ++piece) {
            const PointXYZ& a = PointAt(piece).place;
            const PointXYZ& b = PointAt(piece + 1).place;
            boxes.push_back({piece, std::min(a.x, b.x), std::max(a.x, b.x), std::min(a.y, b.y), std::max(a.y, b.y)});
        }
        std::sort(boxes.begin(), boxes.end(), [](const Box& a, const Box& b) { return a.left < b.left; });
        std::size_t pairs = 0;
        for (std::size_t first = 0; first < boxes.size(); ++first) {
            const Box& box = boxes[first];
            for (std::size_t second = first + 1; second < boxes.size() && boxes[second].left <= box.right; ++second) {
                if (++pairs > kMostPairs || m_cuts.size() > kMostCrossings) {
                    return false;
                }
                if (boxes[second].low <= box.high && box.low <= boxes[second].high) {
                    TestPair(box.piece, boxes[second].piece);
                }
            }
        }
        if (!m_source.IsClosed()) {
            for (std::size_t piece = 0; piece < m_pieces; ++piece) {
                CutAtCircle(piece, m_source.PointAt(0));
                CutAtCircle(piece, m_source.PointAt(m_source.PointCount() - 1));
            }
        }
        std::sort(m_cuts.begin(), m_cuts.end(), [](const Cut& a, const Cut& b) {
            return a.piece != b.piece ? a.piece < b.piece : a.share < b.share;
        });
        return true;
    }

    void TestPair(std::size_t first, std::size_t second) {
        if ((first + 1) % m_points.size() == second || (second + 1) % m_points.size() == first) {
            return; // neighbours
        }
        const PointXYZ& a = PointAt(first).place;
        const PointXYZ& b = PointAt(first + 1).place;
        const PointXYZ& c = PointAt(second).place;
        const PointXYZ& d = PointAt(second + 1).place;
        const PointXY along = Flat(b) - Flat(a);
        const PointXY other = Flat(d) - Flat(c);
        const double area = Cross(along, other);
        const PointXY between = Flat(c) - Flat(a);
        if (std::abs(area) <= kStraight * Length(along) * Length(other)) {
            if (std::abs(Cross(between, along)) <= kNearer * m_distance * Length(along)) {
                CutAtEnds(first, second);
                CutAtEnds(second, first);
            }
            return;
        }
        const double share = Cross(between, other) / area;
        const double otherShare = Cross(between, along) / area;
        if (share < 0.0 || share > 1.0 || otherShare < 0.0 || otherShare > 1.0) {
            return;
        }
        // Slices are joined where their ends are the same to the bit.
        const auto isEnd = [](double part, double end) { return std::abs(part - end) < kSamePlace; };
        const PointXYZ place = isEnd(share, 0.0)        ? a
                               : isEnd(share, 1.0)      ? b
                               : isEnd(otherShare, 0.0) ? c
                               : isEnd(otherShare, 1.0) ? d
                                                        : Between(a, b, share);
        m_cuts.push_back({first, share, place});
        m_cuts.push_back({second, otherShare, {place.x, place.y, c.z + (d.z - c.z) * otherShare}});
    }

    /// Two pieces on one line: each is cut where the other ends.
    void CutAtEnds(std::size_t piece, std::size_t other) {
        const PointXYZ& start = PointAt(piece).place;
        const PointXY along = Flat(PointAt(piece + 1).place) - Flat(start);
        for (const std::size_t end : {other, other + 1}) {
            const PointXYZ& place = PointAt(end).place;
            const double share = Dot(Flat(place) - Flat(start), along) / Dot(along, along);
            if (share > 0.0 && share < 1.0) {
                m_cuts.push_back({piece, share, place});
            }
        }
    }

    /// Around the ends of a string lie the places that are as far from them as the parallel from the string.
    void CutAtCircle(std::size_t piece, const PointXYZ& centre) {
        const PointXYZ& start = PointAt(piece).place;
        const PointXYZ& end = PointAt(piece + 1).place;
        const PointXY along = Flat(end) - Flat(start);
        const PointXY away = Flat(start) - Flat(centre);
        const double squares = Dot(along, along);
        const double half = Dot(away, along);
        const double root = half * half - squares * (Dot(away, away) - m_distance * m_distance);
        if (squares == 0.0 || !(root > 0.0)) {
            return;
        }
        for (const double sign : {-1.0, 1.0}) {
            const double share = (-half + sign * std::sqrt(root)) / squares;
            if (share > 0.0 && share < 1.0) {
                m_cuts.push_back({piece, share, Between(start, end, share)});
            }
        }
    }

    void CutIntoSlices() {
        Slice slice;
        const auto add = [&slice](const RawPoint& point) {
            if (!slice.empty() && IsSame(Flat(slice.back().place), Flat(point.place))) {
                slice.pop_back(); // what leads on is what counts
            }
            slice.push_back(point);
        };
        auto cut = m_cuts.begin();
        for (std::size_t piece = 0; piece < m_pieces; ++piece) {
            add(PointAt(piece));
            for (; cut != m_cuts.end() && cut->piece == piece; ++cut) {
                add({cut->place, PointAt(piece).origin, PointAt(piece).source});
                if (slice.size() > 1) {
                    m_slices.push_back(slice);
                    slice.erase(slice.begin(), slice.end() - 1);
                }
            }
        }
        add(PointAt(m_pieces));
        if (m_source.IsClosed() && !m_slices.empty()) {
            // The uncut one began somewhere in the middle of a slice.
            const Slice first = std::move(m_slices.front());
            std::for_each(first.begin(), first.end(), add);
            m_slices.front() = slice;
        } else {
            m_slices.push_back(slice);
        }
    }

    /// Between two cuts a slice is either all right or too near to the string; a few places tell. They lie where it
    /// runs beside a segment, since joins may come nearer than the distance.
    bool IsValid(const Slice& slice) const {
        std::size_t longest = 0;
        double longestSquares = -1.0;
        bool isJoin = true;
        for (std::size_t index = 0; index + 1 < slice.size(); ++index) {
            const bool beside = slice[index].origin == Origin::Segment;
            if (!beside && !isJoin) {
                continue;
            }
            const PointXY along = Flat(slice[index + 1].place) - Flat(slice[index].place);
            const double squares = Dot(along, along);
            if ((beside && isJoin) || squares > longestSquares) {
                longest = index;
                longestSquares = squares;
                isJoin = !beside;
            }
        }
        if (longestSquares <= 0.0 || slice[longest].origin == Origin::Inside) {
            return false;
        }
        const int bend = isJoin ? slice[longest].source : -1;
        int valid = 0;
        for (const double share : {0.25, 0.5, 0.75}) {
            const PointXYZ place = Between(slice[longest].place, slice[longest + 1].place, share);
            valid += m_source.IsNear(Flat(place), m_distance, m_distance - m_offset.tolerance, bend) ? 0 : 1;
        }
        return valid >= 2;
    }

    /// The slices by where they begin, or by where they end.
    class SliceEnds {
    public:
        SliceEnds(const std::vector<const Slice*>& slices, PointXY (*placeOf)(const Slice&)) {
            for (std::size_t index = 0; index < slices.size(); ++index) {
                m_ends.push_back({placeOf(*slices[index]), index});
            }
            std::sort(m_ends.begin(), m_ends.end(), [](const End& a, const End& b) {
                return IsSame(a.place, b.place) ? a.slice < b.slice : IsBefore(a.place, b.place);
            });
        }
        std::vector<std::size_t> At(const PointXY& place) const {
            std::vector<std::size_t> found;
            for (auto end = FirstAt(place); end != m_ends.end() && IsSame(end->place, place); ++end) {
                found.push_back(end->slice);
            }
            return found;
        }
        int CountAt(const PointXY& place, const std::vector<bool>& dropped) const {
            int count = 0;
            for (auto end = FirstAt(place); end != m_ends.end() && IsSame(end->place, place); ++end) {
                count += dropped[end->slice] ? 0 : 1;
            }
            return count;
        }

    private:
        struct End {
            PointXY place;
            std::size_t slice;
        };

        static bool IsBefore(const PointXY& a, const PointXY& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; }
        std::vector<End>::const_iterator FirstAt(const PointXY& place) const {
            return std::lower_bound(m_ends.begin(), m_ends.end(), place,
                                    [](const End& end, const PointXY& at) { return IsBefore(end.place, at); });
        }

        std::vector<End> m_ends;
    };

    /// Joins what is left where it was cut. That need not be in the order along the string: beside a bend miters of
    /// some segments may stand out from among those of others.
    std::vector<OffsetPart> JoinSlices() const {
        std::vector<const Slice*> valid;
        for (const Slice& slice : m_slices) {
            if (IsValid(slice)) {
                valid.push_back(&slice);
            }
        }
        const SliceEnds starts(valid, [](const Slice& slice) { return Flat(slice.front().place); });
        const SliceEnds ends(valid, [](const Slice& slice) { return Flat(slice.back().place); });
        std::vector<bool> done = DropStubs(valid, starts, ends);
        std::vector<OffsetPart> parts;
        for (const bool rings : {false, true}) {
            for (std::size_t first = 0; first < valid.size(); ++first) {
                if (!done[first] && (rings || ends.CountAt(Flat(valid[first]->front().place), done) == 0)) {
                    parts.push_back(Follow(valid, starts, first, done));
                }
            }
        }
        return parts;
    }

    /// Where two slices run side by side, within what is rounded or joined, both count as valid: only one leads on.
    /// Marks those that do not, and those that are there twice.
    std::vector<bool> DropStubs(const std::vector<const Slice*>& slices, const SliceEnds& starts,
                                const SliceEnds& ends) const {
        std::vector<bool> dropped(slices.size());
        for (std::size_t slice = 0; slice < slices.size(); ++slice) {
            for (const std::size_t other : starts.At(Flat(slices[slice]->front().place))) {
                dropped[slice] = dropped[slice] || (other < slice && IsSamePiece(*slices[other], *slices[slice]));
            }
        }
        for (bool changed = true; changed;) {
            changed = false;
            for (std::size_t slice = 0; slice < slices.size(); ++slice) {
                const PointXY start = Flat(slices[slice]->front().place);
                const PointXY end = Flat(slices[slice]->back().place);
                if (dropped[slice] || IsSame(start, end)) {
                    continue;
                }
                const bool endsNowhere = starts.CountAt(end, dropped) == 0 && starts.CountAt(start, dropped) > 1;
                const bool beginsNowhere = ends.CountAt(start, dropped) == 0 && ends.CountAt(end, dropped) > 1;
                if (endsNowhere || beginsNowhere) {
                    dropped[slice] = true;
                    changed = true;
                }
            }
        }
        return dropped;
    }

    OffsetPart Follow(const std::vector<const Slice*>& slices, const SliceEnds& starts, std::size_t slice,
                      std::vector<bool>& done) const {
        Slice whole = *slices[slice];
        done[slice] = true;
        const auto isRing = [&whole] { return IsSame(Flat(whole.front().place), Flat(whole.back().place)); };
        while (!isRing()) {
            const std::vector<std::size_t> ways = starts.At(Flat(whole.back().place));
            const auto next = std::find_if(ways.begin(), ways.end(), [&](std::size_t way) { return !done[way]; });
            if (next == ways.end()) {
                break;
            }
            const Slice& joined = *slices[*next];
            whole.pop_back(); // the next one's first point tells what leads on
            whole.insert(whole.end(), joined.begin(), joined.end());
            done[*next] = true;
        }
        const bool closed = m_source.IsClosed() && isRing() && whole.size() > 3;
        if (closed && whole[whole.size() - 2].origin == Origin::Join) {
            // Not in the middle or at the end of an arc, which would be cut in two.
            whole.pop_back();
            const auto before = std::find_if(whole.begin(), whole.end() - 1,
                                             [](const RawPoint& point) { return point.origin != Origin::Join; });
            std::rotate(whole.begin(), before + 1, whole.end());
            whole.push_back(RawPoint(whole.front()));
        }
        OffsetPart part{WithJoins(whole), closed};
        if (closed) {
            part.points.pop_back();
        }
        return part;
    }

    /// Two that run side by side between the same cuts.
    static bool IsSamePiece(const Slice& a, const Slice& b) {
        return a.size() == 2 && b.size() == 2 && IsSame(Flat(a.front().place), Flat(b.front().place)) &&
               IsSame(Flat(a.back().place), Flat(b.back().place));
    }

    const Source& m_source;
    const Offset& m_offset;
    std::vector<RawPoint> m_points;
    double m_distance;
    std::size_t m_pieces;
    std::vector<Cut> m_cuts;
    std::vector<Slice> m_slices;
};

} // namespace

std::vector<OffsetPart> OffsetString(std::span<const PointXYZ> points, bool closed, const Offset& offset) {
    if (offset.distance == 0.0) {
        return {{{points.begin(), points.end()}, closed}};
    }
    const Source source(points, closed, std::abs(offset.distance) * kSamePlace);
    if (source.PointCount() < 2) {
        return {};
    }
    return ParallelCutter(source, RawParallel(source, offset).Take(), offset).Run();
}

bool IsRing(std::span<const PointXYZ> points) {
    return points.size() > 3 && points.front().x == points.back().x && points.front().y == points.back().y;
}

void OffsetPlaces(std::span<const PointXYZ> points, double distance, GLLineJoin join, double miterLimit,
                  std::vector<PointXY>& out) {
    if (!std::isfinite(distance)) {
        return;
    }
    constexpr double farthest = 1e15;
    constexpr double roundness = 0.001; // of a round join, as a part of the distance
    const Offset offset{std::clamp(distance, -farthest, farthest), join,
                        std::isnan(miterLimit) ? Offset().miterLimit : std::clamp(miterLimit, 1.0, 100.0),
                        std::abs(distance) * roundness};
    const bool ring = IsRing(points);
    VisitFiniteParts(ring ? points.first(points.size() - 1) : points, ring,
                     [&](std::span<const PointXYZ> part, bool closed) {
                         for (const OffsetPart& piece : OffsetString(part, closed, offset)) {
                             if (!out.empty()) {
                                 out.push_back({std::nan(""), std::nan("")});
                             }
                             for (const PointXYZ& point : piece.points) {
                                 out.push_back(Flat(point));
                             }
                             if (piece.closed) {
                                 out.push_back(Flat(piece.points.front()));
                             }
                         }
                     });
}

} // namespace KTR
