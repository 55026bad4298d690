#include "FeaturePicking.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr double kFar = std::numeric_limits<double>::infinity();
/// What is nearer to the eye than this share of the way to the middle of the picture is cut off.
constexpr double kNearest = 1e-4;
constexpr std::size_t kPositionsOfPiece = 64;
constexpr std::size_t kChildren = 16;

/// What of a line of sight is looked at, with the beam's place as the origin.
struct Seen {
    double x = 0.0; ///< pixels times w
    double y = 0.0;
    double w = 1.0;
};

class Sight {
public:
    Sight(const PickBeam& beam, const PickHeights& heights)
        : m_beam(beam), m_heights(heights), m_asksHeights(heights.heightOf && beam.camera.SeesHeights()) {}

    Seen See(Position position) const {
        if (m_asksHeights) {
            position.z = m_heights.heightOf(position);
        }
        const SeenPlace seen = m_beam.camera.See(position);
        return {seen.x - m_beam.x * seen.w, seen.y - m_beam.y * seen.w, seen.w};
    }
    const PickBeam& Beam() const { return m_beam; }

private:
    const PickBeam& m_beam;
    const PickHeights& m_heights;
    bool m_asksHeights;
};

bool IsAhead(const Seen& seen) {
    return seen.w >= kNearest; // not for NaN
}

/// Where the line from one to the other comes close to the eye.
Seen CutAtEye(const Seen& ahead, const Seen& behind) {
    const double share = (ahead.w - kNearest) / (ahead.w - behind.w);
    return {ahead.x + share * (behind.x - ahead.x), ahead.y + share * (behind.y - ahead.y), kNearest};
}

double PixelsTo(const Seen& seen) {
    return IsAhead(seen) ? std::hypot(seen.x, seen.y) / seen.w : kFar;
}

double PixelsToLeg(Seen from, Seen to) {
    if (!IsAhead(from) && !IsAhead(to)) {
        return kFar;
    }
    if (!IsAhead(from)) {
        from = CutAtEye(to, from);
    } else if (!IsAhead(to)) {
        to = CutAtEye(from, to);
    }
    const double fromX = from.x / from.w;
    const double fromY = from.y / from.w;
    const double legX = to.x / to.w - fromX;
    const double legY = to.y / to.w - fromY;
    const double squared = legX * legX + legY * legY;
    const double share = squared > 0.0 ? std::clamp(-(fromX * legX + fromY * legY) / squared, 0.0, 1.0) : 0.0;
    return std::hypot(fromX + share * legX, fromY + share * legY);
}

/// Positions `first` to `last` of a path, of which the one after the end is the first again.
double PixelsToPath(const Path& path, std::size_t first, std::size_t last, const Sight& sight) {
    if (first >= last) {
        return kFar;
    }
    Seen before = sight.See(path[first]);
    double nearest = PixelsTo(before);
    for (std::size_t index = first + 1; index < last; ++index) {
        const Seen seen = sight.See(path[index == path.size() ? 0 : index]);
        nearest = std::min(nearest, PixelsToLeg(before, seen));
        before = seen;
    }
    return nearest;
}

/// Whether the edge crosses the line from the place to the right. Of the upper and the lower end one belongs to the
/// edge, so that a corner is crossed once.
bool CrossesToTheRight(const Seen& from, const Seen& to) {
    const double fromY = from.y / from.w;
    const double toY = to.y / to.w;
    if ((fromY > 0.0) == (toY > 0.0)) {
        return false;
    }
    const double fromX = from.x / from.w;
    return fromX + (to.x / to.w - fromX) * (-fromY / (toY - fromY)) > 0.0;
}

bool CrossesOddly(const Path& ring, const Sight& sight) {
    if (ring.size() < 3) {
        return false;
    }
    // What lies behind the eye is cut off; the cuts are joined as they come.
    bool isOdd = false;
    std::optional<Seen> first;
    Seen last;
    const auto add = [&](const Seen& corner) {
        if (first) {
            isOdd = isOdd != CrossesToTheRight(last, corner);
        } else {
            first = corner;
        }
        last = corner;
    };
    Seen before = sight.See(ring.back());
    for (const Position& position : ring) {
        const Seen seen = sight.See(position);
        if (IsAhead(before) && !IsAhead(seen)) {
            add(CutAtEye(before, seen));
        } else if (!IsAhead(before) && IsAhead(seen)) {
            add(CutAtEye(seen, before));
        }
        if (IsAhead(seen)) {
            add(seen);
        }
        before = seen;
    }
    return first && isOdd != CrossesToTheRight(last, *first);
}

/// Holes are rings too: what they go around is crossed once more.
bool IsWithin(const Polygon& polygon, const Sight& sight) {
    bool isWithin = false;
    for (const Path& ring : polygon.rings) {
        isWithin = isWithin != CrossesOddly(ring, sight);
    }
    return isWithin;
}

FeatureHit Better(const FeatureHit& one, const FeatureHit& other) {
    return LiesOver(other, one) ? other : one;
}

FeatureHit Within(double reach, FeatureHit hit) {
    hit.pixels = hit.pixels <= reach ? hit.pixels : kFar;
    return hit;
}

/// A curve through the plane on which neighbours are near each other in the plane as well.
std::uint64_t PlaceOnCurve(std::uint32_t x, std::uint32_t y) {
    constexpr std::uint32_t kSide = 1U << 16;
    std::uint64_t place = 0;
    for (std::uint32_t side = kSide / 2; side > 0; side /= 2) {
        const std::uint32_t right = (x & side) != 0 ? 1 : 0;
        const std::uint32_t upper = (y & side) != 0 ? 1 : 0;
        place += static_cast<std::uint64_t>(side) * side * ((3 * right) ^ upper);
        // The curve runs in each quarter as in the whole, turned.
        if (upper == 0) {
            if (right == 1) {
                x = kSide - 1 - x;
                y = kSide - 1 - y;
            }
            std::swap(x, y);
        }
    }
    return place;
}

} // namespace

bool LiesOver(const FeatureHit& one, const FeatureHit& other) {
    if (std::isinf(one.pixels) || std::isinf(other.pixels)) {
        return !std::isinf(one.pixels) && std::isinf(other.pixels);
    }
    return std::tuple(one.shape, one.pixels, other.feature) < std::tuple(other.shape, other.pixels, one.feature);
}

FeatureHit HitFeature(const VectorLayer& layer, std::size_t feature, const PickBeam& beam, const PickHeights& heights) {
    const Sight sight(beam, heights);
    const VectorFeature& tested = layer.features[feature];
    FeatureHit best{feature, HitShape::Area, kFar};
    for (const Position& point : tested.points) {
        best = Better(best, Within(beam.pointReach, {feature, HitShape::Point, PixelsTo(sight.See(point))}));
    }
    for (const Path& line : tested.lines) {
        best =
            Better(best, Within(beam.lineReach, {feature, HitShape::Line, PixelsToPath(line, 0, line.size(), sight)}));
    }
    for (const Polygon& polygon : tested.polygons) {
        for (const Path& ring : polygon.rings) {
            best = Better(
                best, Within(beam.lineReach, {feature, HitShape::Area, PixelsToPath(ring, 0, ring.size() + 1, sight)}));
        }
        best = Better(best, {feature, HitShape::Area, IsWithin(polygon, sight) ? 0.0 : kFar});
    }
    return best;
}

FeatureIndex::FeatureIndex(const VectorLayer& layer) {
    for (std::size_t index = 0; index < layer.features.size(); ++index) {
        AddPieces(layer.features[index], static_cast<std::uint32_t>(index));
    }
    if (m_pieces.empty()) {
        return;
    }
    std::vector<Extent> boxes;
    boxes.reserve(m_pieces.size());
    Extent all;
    for (const Piece& piece : m_pieces) {
        boxes.push_back(BoxOf(layer, piece));
        all.Include(boxes.back());
    }
    const auto step = [](double value, double low, double high) {
        const double share = high > low ? (value - low) / (high - low) : 0.0;
        return static_cast<std::uint32_t>(std::clamp(share, 0.0, 1.0) * 65'535.0);
    };
    std::vector<std::pair<std::uint64_t, std::uint32_t>> order;
    order.reserve(m_pieces.size());
    for (std::uint32_t index = 0; index < m_pieces.size(); ++index) {
        const Position middle = boxes[index].Center();
        order.emplace_back(PlaceOnCurve(step(middle.x, all.low.x, all.high.x), step(middle.y, all.low.y, all.high.y)),
                           index);
    }
    std::sort(order.begin(), order.end());
    std::vector<Piece> sorted;
    sorted.reserve(m_pieces.size());
    std::vector<Extent> level((m_pieces.size() + kChildren - 1) / kChildren);
    for (std::size_t index = 0; index < order.size(); ++index) {
        sorted.push_back(m_pieces[order[index].second]);
        level[index / kChildren].Include(boxes[order[index].second]);
    }
    m_pieces = std::move(sorted);
    while (true) {
        std::vector<Extent> upper((level.size() + kChildren - 1) / kChildren);
        for (std::size_t index = 0; index < level.size(); ++index) {
            upper[index / kChildren].Include(level[index]);
        }
        const bool isTop = level.size() == 1;
        m_levels.push_back(std::move(level));
        if (isTop) {
            break;
        }
        level = std::move(upper);
    }
}

void FeatureIndex::AddPieces(const VectorFeature& feature, std::uint32_t index) {
    Piece piece;
    piece.feature = index;
    AddRuns(piece, feature.points.size(), false);
    piece.kind = Piece::Kind::Line;
    for (piece.part = 0; piece.part < feature.lines.size(); ++piece.part) {
        AddRuns(piece, feature.lines[piece.part].size(), true);
    }
    for (piece.part = 0; piece.part < feature.polygons.size(); ++piece.part) {
        const Polygon& polygon = feature.polygons[piece.part];
        piece.kind = Piece::Kind::Ring;
        for (piece.ring = 0; piece.ring < polygon.rings.size(); ++piece.ring) {
            const std::size_t positions = polygon.rings[piece.ring].size();
            AddRuns(piece, positions == 0 ? 0 : positions + 1, true);
        }
        piece.kind = Piece::Kind::Polygon;
        piece.ring = 0;
        m_pieces.push_back(piece);
    }
}

/// Pieces that join share a position, so that no leg is missing.
void FeatureIndex::AddRuns(Piece piece, std::size_t positions, bool joins) {
    const std::size_t shared = joins ? 1 : 0;
    for (std::size_t first = 0; first == 0 ? positions > 0 : first + shared < positions; first += kPositionsOfPiece) {
        piece.first = static_cast<std::uint32_t>(first);
        piece.last = static_cast<std::uint32_t>(std::min(first + kPositionsOfPiece + shared, positions));
        m_pieces.push_back(piece);
    }
}

Extent FeatureIndex::BoxOf(const VectorLayer& layer, const Piece& piece) {
    const VectorFeature& feature = layer.features[piece.feature];
    Extent box;
    if (piece.kind == Piece::Kind::Polygon) {
        for (const Path& ring : feature.polygons[piece.part].rings) {
            for (const Position& position : ring) {
                box.Include(position);
            }
        }
        return box;
    }
    const Path& path = piece.kind == Piece::Kind::Points ? feature.points
                       : piece.kind == Piece::Kind::Line ? feature.lines[piece.part]
                                                         : feature.polygons[piece.part].rings[piece.ring];
    for (std::size_t index = piece.first; index < piece.last; ++index) {
        box.Include(path[index == path.size() ? 0 : index]);
    }
    return box;
}

FeatureHit FeatureIndex::HitPiece(const VectorLayer& layer, const Piece& piece, const PickBeam& beam,
                                  const PickHeights& heights) {
    const Sight sight(beam, heights);
    const VectorFeature& feature = layer.features[piece.feature];
    FeatureHit hit{piece.feature, HitShape::Area, kFar};
    switch (piece.kind) {
    case Piece::Kind::Points:
        hit.shape = HitShape::Point;
        for (std::size_t index = piece.first; index < piece.last; ++index) {
            hit.pixels = std::min(hit.pixels, PixelsTo(sight.See(feature.points[index])));
        }
        return Within(beam.pointReach, hit);
    case Piece::Kind::Line:
        hit.shape = HitShape::Line;
        hit.pixels = PixelsToPath(feature.lines[piece.part], piece.first, piece.last, sight);
        return Within(beam.lineReach, hit);
    case Piece::Kind::Ring:
        hit.pixels = PixelsToPath(feature.polygons[piece.part].rings[piece.ring], piece.first, piece.last, sight);
        return Within(beam.lineReach, hit);
    case Piece::Kind::Polygon:
        hit.pixels = IsWithin(feature.polygons[piece.part], sight) ? 0.0 : kFar;
        return hit;
    }
    return hit;
}

std::vector<FeatureHit> FeatureIndex::Find(const VectorLayer& layer, const PickBeam& beam,
                                           const PickHeights& heights) const {
    constexpr double kSlack = 1e-3; // pixels, so that no rounding takes away what lies at the very edge
    const double reach = std::max(beam.pointReach, beam.lineReach) + kSlack;
    const auto mayReach = [&](Extent box) {
        if (heights.heightOf) {
            box.low.z = heights.low;
            box.high.z = heights.high;
        }
        return !box.IsEmpty() && beam.camera.MayReach(box, beam.x, beam.y, reach);
    };
    std::vector<FeatureHit> hits;
    const auto test = [&](std::size_t leaf) {
        const std::size_t end = std::min((leaf + 1) * kChildren, m_pieces.size());
        for (std::size_t index = leaf * kChildren; index < end; ++index) {
            const Piece& piece = m_pieces[index];
            // Pieces are as small as their boxes, but for polygons.
            if (piece.kind == Piece::Kind::Polygon && !mayReach(layer.features[piece.feature].extent)) {
                continue;
            }
            if (const FeatureHit hit = HitPiece(layer, piece, beam, heights); !std::isinf(hit.pixels)) {
                hits.push_back(hit);
            }
        }
    };
    std::vector<std::pair<std::size_t, std::size_t>> open; // level and box
    if (!m_levels.empty()) {
        open.emplace_back(m_levels.size() - 1, 0);
    }
    while (!open.empty()) {
        const auto [level, box] = open.back();
        open.pop_back();
        if (!mayReach(m_levels[level][box])) {
            continue;
        }
        if (level == 0) {
            test(box);
            continue;
        }
        const std::size_t end = std::min((box + 1) * kChildren, m_levels[level - 1].size());
        for (std::size_t child = box * kChildren; child < end; ++child) {
            open.emplace_back(level - 1, child);
        }
    }
    // The best hit of each feature, then all of them from above.
    std::sort(hits.begin(), hits.end(), [](const FeatureHit& one, const FeatureHit& other) {
        return one.feature != other.feature ? one.feature < other.feature : LiesOver(one, other);
    });
    hits.erase(std::unique(hits.begin(), hits.end(),
                           [](const FeatureHit& one, const FeatureHit& other) { return one.feature == other.feature; }),
               hits.end());
    std::sort(hits.begin(), hits.end(), LiesOver);
    return hits;
}

} // namespace OrrinViewer
