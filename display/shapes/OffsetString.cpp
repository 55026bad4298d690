#include "OffsetString.h"

#include "Curves.h"
#include "Plane.h"
#include "StringCutter.h"

#include <algorithm>
#include <limits>

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

/// Where a piece of the uncut parallel comes from.
enum class Origin {
    Segment, ///< it runs beside a segment
    Join,    ///< around the outside of a bend
    Inside   ///< across the inside of a bend, nearer than it should be
};

/// A point of the uncut parallel and what leads from it to the next.
struct RawPoint {
    PointXYZ place;
    Origin origin = Origin::Segment;
    int source = 0; ///< the segment, or the point of the bend
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
    double LengthAt(std::size_t segment) const { return Length(Flat(PointAt(segment + 1)) - Flat(PointAt(segment))); }

    /// Whether a place is nearer than `distance`. The segments that meet in the point `bend` do not count; -1: all do.
    bool IsNear(const PointXY& place, double distance, int bend) const {
        const double squared = distance * distance;
        for (std::size_t block = 0; block < m_blocks.size(); ++block) {
            const Block& box = m_blocks[block];
            const double x = std::max({box.low.x - place.x, place.x - box.high.x, 0.0});
            const double y = std::max({box.low.y - place.y, place.y - box.high.y, 0.0});
            if (x * x + y * y >= squared) {
                continue;
            }
            for (std::size_t index = block * kBlock; index < std::min((block + 1) * kBlock, SegmentCount()); ++index) {
                const bool meets = bend >= 0 && (index == static_cast<std::size_t>(bend) ||
                                                 (index + 1) % PointCount() == static_cast<std::size_t>(bend));
                if (!meets && DistanceTo(place, Flat(PointAt(index)), Flat(PointAt(index + 1))) < distance) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    static constexpr std::size_t kBlock = 16;
    struct Block {
        PointXY low;
        PointXY high;
    };

    std::vector<PointXYZ> m_points;
    std::vector<Block> m_blocks; ///< of so many segments each
    bool m_closed = false;
};

/// The parallel before anything is cut out.
class RawParallel {
public:
    RawParallel(const Source& source, const Offset& offset) : m_source(source), m_offset(offset) {
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
        const std::size_t count = m_source.PointCount();
        const std::size_t segments = m_source.SegmentCount();
        const std::size_t before = (segment + segments - 1) % segments;
        const PointXYZ& bend = m_source.PointAt(segment);
        const int number = static_cast<int>(segment % count);
        const int segmentNumber = static_cast<int>(segment);
        const PointXY first = LeftOf(m_source.DirectionAt(before));
        const PointXY next = LeftOf(m_source.DirectionAt(segment));
        const double distance = m_offset.distance;
        const double sine = Cross(first, next);
        const double cosine = Dot(first, next);
        const bool turnsBack = 1.0 + cosine < kStraight;
        if (!turnsBack && (std::abs(sine) < kStraight || sine * distance > 0.0)) {
            const double trim = std::abs(distance * sine) / (1.0 + cosine);
            if (trim <= m_source.LengthAt(before) && trim <= m_source.LengthAt(segment)) {
                Add(bend, MiterOf(first, next) * distance, Origin::Segment, segmentNumber);
            } else {
                Add(bend, first * distance, Origin::Inside, number);
                Add(bend, next * distance, Origin::Segment, segmentNumber);
            }
            return;
        }
        const double miterScale = 2.0 / (1.0 + cosine);
        const double limit = m_offset.miterLimit * m_offset.miterLimit;
        if (m_offset.join == GLLineJoinMiter && !turnsBack && miterScale <= limit * (1.0 + kStraight)) {
            Add(bend, MiterOf(first, next) * distance, Origin::Segment, segmentNumber);
            return;
        }
        Add(bend, first * distance, Origin::Join, number);
        if (m_offset.join == GLLineJoinRound) {
            const double angle = std::acos(std::clamp(cosine, -1.0, 1.0)) * (distance > 0.0 ? -1.0 : 1.0);
            const int parts = CountArcParts(std::abs(distance), angle, m_offset.tolerance);
            for (int part = 1; part < parts; ++part) {
                const double turned = angle * part / parts;
                const PointXY normal{first.x * std::cos(turned) - first.y * std::sin(turned),
                                     first.x * std::sin(turned) + first.y * std::cos(turned)};
                Add(bend, normal * distance, Origin::Join, number);
            }
        }
        Add(bend, next * distance, Origin::Segment, segmentNumber);
    }

    const Source& m_source;
    const Offset& m_offset;
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
    ParallelCutter(const Source& source, std::vector<RawPoint> points, double distance)
        : m_source(source), m_points(std::move(points)), m_distance(std::abs(distance) * (1.0 - kNearer)),
          m_pieces(m_points.size() - (source.IsClosed() ? 0 : 1)) {}

    std::vector<OffsetPart> Run() {
        if (!FindCuts()) {
            return {{PlacesOf(m_points), m_source.IsClosed()}};
        }
        CutIntoSlices();
        return JoinSlices();
    }

private:
    /// The parallel between two cuts. It begins with a place; what leads on from each is as in the uncut one.
    using Slice = std::vector<RawPoint>;

    static std::vector<PointXYZ> PlacesOf(const std::vector<RawPoint>& points) {
        std::vector<PointXYZ> places;
        for (const RawPoint& point : points) {
            places.push_back(point.place);
        }
        return places;
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
        if (area == 0.0) {
            return;
        }
        const PointXY between = Flat(c) - Flat(a);
        const double share = Cross(between, other) / area;
        const double otherShare = Cross(between, along) / area;
        if (share < 0.0 || share > 1.0 || otherShare < 0.0 || otherShare > 1.0) {
            return;
        }
        const PointXYZ place = Between(a, b, share);
        m_cuts.push_back({first, share, place});
        m_cuts.push_back({second, otherShare, {place.x, place.y, c.z + (d.z - c.z) * otherShare}});
    }

    void CutIntoSlices() {
        Slice slice;
        auto cut = m_cuts.begin();
        for (std::size_t piece = 0; piece < m_pieces; ++piece) {
            slice.push_back(PointAt(piece));
            for (; cut != m_cuts.end() && cut->piece == piece; ++cut) {
                slice.push_back({cut->place, PointAt(piece).origin, PointAt(piece).source});
                m_slices.push_back(slice);
                slice.erase(slice.begin(), slice.end() - 1);
            }
        }
        slice.push_back(PointAt(m_pieces));
        if (m_source.IsClosed() && !m_slices.empty()) {
            // The uncut one began somewhere in the middle of a slice.
            slice.insert(slice.end(), m_slices.front().begin() + 1, m_slices.front().end());
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
            valid += m_source.IsNear(Flat(place), m_distance, bend) ? 0 : 1;
        }
        return valid >= 2;
    }

    std::vector<OffsetPart> JoinSlices() const {
        std::vector<OffsetPart> parts;
        const bool whole = m_slices.size() == 1;
        for (const Slice& slice : m_slices) {
            if (!IsValid(slice)) {
                continue;
            }
            const std::vector<PointXYZ> places = PlacesOf(slice);
            if (parts.empty() || !Touch(parts.back().points.back(), places.front())) {
                parts.emplace_back();
                parts.back().points = places;
            } else {
                parts.back().points.insert(parts.back().points.end(), places.begin() + 1, places.end());
            }
        }
        if (m_source.IsClosed() && parts.size() > 1 &&
            Touch(parts.back().points.back(), parts.front().points.front())) {
            std::vector<PointXYZ>& last = parts.back().points;
            last.insert(last.end(), parts.front().points.begin() + 1, parts.front().points.end());
            parts.front() = parts.back();
            parts.pop_back();
        }
        for (OffsetPart& part : parts) {
            const bool closes = m_source.IsClosed() && part.points.size() > 3 &&
                                (whole || Touch(part.points.back(), part.points.front()));
            if (closes) {
                part.points.pop_back();
                part.closed = true;
            }
        }
        return parts;
    }

    /// Two slices that end in the same cut.
    bool Touch(const PointXYZ& a, const PointXYZ& b) const { return Length(Flat(a) - Flat(b)) <= m_distance * kNearer; }

    const Source& m_source;
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
    return ParallelCutter(source, RawParallel(source, offset).Take(), offset.distance).Run();
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
