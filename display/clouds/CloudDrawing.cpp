#include "CloudDrawing.h"

#include "../platform/Border.h"
#include "../view/ViewAccess.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace KTR {

namespace {

/// So much further than the frame that is drawn the file is read ahead.
constexpr unsigned long long kFramesAhead = 3;
constexpr unsigned long long kLeastPointsAhead = 1'000'000;
/// Of pieces that are drawn in parts, so many points go to the card with a frame that has no limit of points.
constexpr unsigned long long kPointsFilledAtOnce = 250'000;

/// Puts the host's point size back.
class PointSizeScope {
public:
    explicit PointSizeScope(COpenGLView& view)
        : m_view(view), m_size(view.GetContextRecord(view.GetCurrentContextType()).attributes.pointSize) {}
    ~PointSizeScope() { m_view.PointSize(m_size); }
    PointSizeScope(const PointSizeScope&) = delete;
    PointSizeScope& operator=(const PointSizeScope&) = delete;

private:
    COpenGLView& m_view;
    float m_size;
};

/// What points are drawn with, for a scope: whatever fails in it, the view is left as a host knows it.
class PointsScope {
public:
    PointsScope(COpenGLView& view, double pointSizePixels, GLShaderTypes shader) : m_view(view) {
        m_view.PointSize(static_cast<float>(pointSizePixels));
        m_view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
    }
    ~PointsScope() { m_view.DisableClientState(); }
    PointsScope(const PointsScope&) = delete;
    PointsScope& operator=(const PointsScope&) = delete;

private:
    COpenGLView& m_view;
};

bool AreAlike(const PointCloudDrawing& left, const PointCloudDrawing& right) {
    return left.pointSizePixels == right.pointSizePixels && left.mostPointSizePixels == right.mostPointSizePixels &&
           left.shader == right.shader;
}

glm::dvec3 OffsetOf(const COpenGLView& view) {
    glm::dvec3 offset(0.0);
    view.GetCurrentCoordinateOffset(offset.x, offset.y);
    return offset;
}

} // namespace

CloudCamera CloudDrawing::FindCamera(const COpenGLView& view, const PointCloudDrawing& drawing) {
    CloudCamera camera;
    camera.placeToClip = view.GetMatrix(GL_PROJECTION) * view.GetMatrix(GL_MODELVIEW);
    camera.origin = glm::dvec3(drawing.origin.x, drawing.origin.y, drawing.origin.z) + OffsetOf(view);
    const glm::dvec4 viewport = view.GetViewport();
    camera.sizePixels = {std::max(viewport.z, 1.0), std::max(viewport.w, 1.0)};
    // NOTE: OpenGL drops a point whose middle is beyond the edge, but some drivers draw what reaches in.
    camera.marginPixels = std::max(drawing.pointSizePixels, drawing.mostPointSizePixels);
    return camera;
}

void CloudDrawing::SetColoring(PointCloudColoring coloring) {
    m_coloring = std::move(coloring);
    m_card.Clear();
    // No frame goes on with other colours.
    m_pictures.clear();
}

void CloudDrawing::Forget(const COpenGLView& view) {
    m_pictures.erase(&view);
    m_store.Want(&view, {});
}

/// Whether the picture is one of this view as it is now.
bool CloudDrawing::Fits(const Picture& picture, const COpenGLView& view) const {
    return picture.viewNumber == view.GetManagerIndex() && picture.camera == FindCamera(view, picture.drawing);
}

PointCloudFrame CloudDrawing::Draw(COpenGLView& view, const PointCloudDrawing& drawing, bool delivers) {
    Picture& picture = m_pictures[&view];
    // A camera that stands still gets its points in their true size, so that further ones can be added.
    const bool standsStill =
        picture.camera == FindCamera(view, drawing) && Fits(picture, view) && AreAlike(picture.drawing, drawing);
    picture = {};
    picture.viewNumber = view.GetManagerIndex();
    picture.camera = FindCamera(view, drawing);
    picture.drawing = drawing;
    picture.mayEnlarge = !standsStill;
    picture.begun = m_card.Now();
    return Advance(view, picture, delivers);
}

PointCloudFrame CloudDrawing::Refine(COpenGLView& view, bool delivers) {
    const auto picture = m_pictures.find(&view);
    if (picture == m_pictures.end() || picture->second.isEnlarged || !Fits(picture->second, view)) {
        PointCloudFrame frame;
        frame.outdated = true;
        return frame;
    }
    return Advance(view, picture->second, delivers);
}

PointCloudFrame CloudDrawing::Advance(COpenGLView& view, Picture& picture, bool delivers) {
    PointCloudFrame frame;
    if (!ViewAccess::HasCurrentContext(view)) {
        frame.result = E_FAIL;
        return frame;
    }
    MeetNewChunks(picture);
    const unsigned long long shownBefore = picture.shown;
    m_result = S_OK;
    m_fillable = picture.drawing.mostPoints > 0 ? picture.drawing.mostPoints / 4 : kPointsFilledAtOnce;
    {
        const PointSizeScope pointSize(view);
        if (picture.drawing.mostMilliseconds > 0.0) {
            StepInTime(view, picture, frame.spacingPixels);
        } else {
            frame.spacingPixels = Step(view, picture, picture.drawing.mostPoints);
        }
    }
    WantFurther(view, picture);
    frame.result = m_result;
    frame.shown = picture.shown;
    frame.drawn = picture.shown - shownBefore;
    frame.complete = !delivers;
    for (unsigned int chunk = 0; chunk < m_chunks.size(); ++chunk) {
        if (picture.pixels[chunk] > 0.0) {
            frame.inView += m_chunks[chunk].count;
            frame.complete = frame.complete && picture.drawn[chunk] >= CountReachable(chunk, picture.drawn[chunk]);
        }
    }
    frame.enlarged = picture.isEnlarged;
    frame.complete = frame.complete && !picture.isEnlarged;
    return frame;
}

/// Looks for what has come since the last frame.
void CloudDrawing::MeetNewChunks(Picture& picture) {
    m_store.AppendNew(m_chunks);
    m_store.GetPieces(m_pieces);
    for (std::size_t chunk = picture.pixels.size(); chunk < m_chunks.size(); ++chunk) {
        picture.pixels.push_back(FindCoveredPixels(m_chunks[chunk].box, picture.camera).value_or(0.0));
        picture.drawn.push_back(0);
    }
}

/// Up to which of a chunk's points one can draw now, where `drawn` are there already, without waiting for the file.
unsigned int CloudDrawing::CountAtHand(unsigned int chunk, unsigned int drawn) const {
    const StoredChunk& stored = m_chunks[chunk];
    unsigned int piece = 0;
    while (piece < stored.pieces && (stored.PieceBegin(piece + 1) <= drawn || m_card.Has({chunk, piece}) ||
                                     (m_pieces[chunk].inMemory >> piece & 1) != 0)) {
        ++piece;
    }
    return stored.PieceBegin(piece);
}

/// Up to which of them one can draw at all.
unsigned int CloudDrawing::CountReachable(unsigned int chunk, unsigned int drawn) const {
    const StoredChunk& stored = m_chunks[chunk];
    unsigned int piece = 0;
    while (piece < stored.pieces && (stored.PieceBegin(piece + 1) <= drawn || m_card.Has({chunk, piece}) ||
                                     (m_pieces[chunk].lost >> piece & 1) == 0)) {
        ++piece;
    }
    return stored.PieceBegin(piece);
}

/// Draws up to `budget` further points. Returns how far they are apart then, in pixels; 0 where all are there.
double CloudDrawing::Step(COpenGLView& view, Picture& picture, unsigned long long budget) {
    m_visible.clear();
    m_shares.clear();
    for (unsigned int chunk = 0; chunk < m_chunks.size(); ++chunk) {
        if (picture.pixels[chunk] > 0.0 && picture.drawn[chunk] < m_chunks[chunk].count) {
            m_visible.push_back(chunk);
            const unsigned int drawn = picture.drawn[chunk];
            m_shares.push_back({picture.pixels[chunk], drawn, std::max(drawn, CountAtHand(chunk, drawn)), 0});
        }
    }
    const double density = ShareBudget(m_shares, budget);
    const double spacing = density > 0.0 ? 1.0 / std::sqrt(density) : std::numeric_limits<double>::infinity();
    const double size = picture.drawing.pointSizePixels;
    double sparseSize = size;
    if (picture.mayEnlarge && picture.shown == 0) {
        sparseSize = std::max(size, std::min(std::ceil(spacing), picture.drawing.mostPointSizePixels));
    }
    std::vector<Range> whole;
    std::vector<Range> sparse;
    for (std::size_t index = 0; index < m_visible.size(); ++index) {
        if (m_shares[index].wanted > m_shares[index].drawn) {
            const bool isWhole = m_shares[index].wanted == m_shares[index].most;
            (isWhole || sparseSize == size ? whole : sparse).push_back({m_visible[index], m_shares[index].wanted});
        }
    }
    DrawRanges(view, picture, whole, size);
    DrawRanges(view, picture, sparse, sparseSize);
    picture.isEnlarged = picture.isEnlarged || !sparse.empty();
    return spacing;
}

/// As many steps as there is time for, each of which leaves some of what is left: no step tells before how long it will
/// take. Each is spread over the whole picture, so that it may end after any of them.
void CloudDrawing::StepInTime(COpenGLView& view, Picture& picture, double& spacing) {
    using Clock = std::chrono::steady_clock;
    const auto millisecondsSince = [](Clock::time_point start) {
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    };
    constexpr double kShareOfRest = 0.55;
    constexpr double kShortestRest = 0.3; // of all; below that a step costs more than its points
    constexpr double kShortestMeasured = 0.1;
    const auto start = Clock::now();
    const unsigned long long shownBefore = picture.shown;
    const unsigned long long most = picture.drawing.mostPoints;
    const double limit = picture.drawing.mostMilliseconds;
    for (double left = limit; left > 0.0;) {
        const unsigned long long shown = picture.shown;
        unsigned long long budget = m_pace.CountFor(kShareOfRest * left);
        if (most > 0) {
            budget = std::min(budget, most - (shown - shownBefore));
        }
        const auto stepStart = Clock::now();
        spacing = Step(view, picture, budget);
        view.Finish();
        const double taken = millisecondsSince(stepStart);
        if (taken >= kShortestMeasured * limit || picture.shown - shown == budget) {
            m_pace.Learn(picture.shown - shown, taken);
        }
        left = limit - millisecondsSince(start);
        const bool isSpent = most > 0 && picture.shown - shownBefore >= most;
        if (isSpent || picture.isEnlarged || picture.shown == shown || left < kShortestRest * limit) {
            return;
        }
    }
}

void CloudDrawing::DrawRanges(COpenGLView& view, Picture& picture, const std::vector<Range>& ranges,
                              double pointSizePixels) {
    if (ranges.empty()) {
        return;
    }
    const PointsScope points(view, pointSizePixels, picture.drawing.shader);
    m_loose.clear();
    for (const Range& range : ranges) {
        DrawRange(view, picture, range);
    }
    DrawLoose(view, picture);
}

void CloudDrawing::DrawRange(COpenGLView& view, Picture& picture, const Range& range) {
    const StoredChunk& chunk = m_chunks[range.chunk];
    unsigned int& drawn = picture.drawn[range.chunk];
    for (unsigned int piece = 0; piece < chunk.pieces && drawn < range.end; ++piece) {
        const unsigned int pieceBegin = chunk.PieceBegin(piece);
        const unsigned int end = std::min(range.end, chunk.PieceBegin(piece + 1));
        if (drawn >= end) {
            continue;
        }
        if (!DrawPart(view, picture, {range.chunk, piece}, drawn - pieceBegin, end - pieceBegin)) {
            return; // it has gone from memory meanwhile, and comes with a later frame
        }
        picture.shown += end - drawn;
        drawn = end;
    }
}

/// Draws a part of a piece from the card, or from main memory what there is no room for there or only a little of.
bool CloudDrawing::DrawPart(COpenGLView& view, Picture& picture, PieceId id, unsigned int first, unsigned int end) {
    const StoredChunk& chunk = m_chunks[id.chunk];
    const PointXYZ place = PlaceOf(chunk, picture);
    if (m_card.Has(id) && m_card.Draw(view, id, place, first, end - first) == S_OK) {
        return true;
    }
    PieceRecords records = m_store.Find(id);
    if (!records) {
        return false;
    }
    if (ShallFill(id, end - first)) {
        const GLRGBAColor* colors = ColorRecords(chunk, records->data(), records->size());
        if (m_card.Fill(view, id, *records, colors, picture.begun) == S_OK &&
            m_card.Draw(view, id, place, first, end - first) == S_OK) {
            return true;
        }
    }
    m_loose.push_back({std::move(records), first, end, id.chunk});
    return true;
}

/// Whether a piece of which `count` points are drawn is worth its way to the card: if that is most of it, or if it was
/// drawn before. In a frame only so many go there, since that takes time too.
bool CloudDrawing::ShallFill(PieceId id, unsigned int count) {
    const unsigned int all = m_chunks[id.chunk].PieceCount(id.piece);
    if (2 * count >= all) {
        return true;
    }
    if (m_drawnLoose.insert(id).second || m_fillable < all) {
        return false;
    }
    m_fillable -= all;
    m_drawnLoose.erase(id);
    return true;
}

/// One batch, whatever chunks they are of.
void CloudDrawing::DrawLoose(COpenGLView& view, const Picture& picture) {
    if (m_loose.empty()) {
        return;
    }
    const glm::dvec3 offset = OffsetOf(view);
    view.BeginArrays(GL_POINTS, picture.drawing.shader);
    for (const Loose& loose : m_loose) {
        const StoredChunk& chunk = m_chunks[loose.chunk];
        const PointXYZ place = PlaceOf(chunk, picture);
        const glm::dvec3 shift = glm::dvec3(place.x, place.y, place.z) - offset;
        const PointCloudRecord* record = loose.records->data() + loose.first;
        const GLRGBAColor* color = ColorRecords(chunk, record, loose.end - loose.first);
        for (unsigned int index = loose.first; index < loose.end; ++index, ++record, ++color) {
            if (color->a == 0) {
                continue;
            }
            view.AddIndex3DVertexRGBA(shift.x + static_cast<double>(record->x),
                                      shift.y + static_cast<double>(record->y),
                                      shift.z + static_cast<double>(record->z), color->r, color->g, color->b, color->a);
        }
    }
    view.EndArrays();
    m_loose.clear(); // so that the store may drop them
}

/// The colours stay until the next call.
const GLRGBAColor* CloudDrawing::ColorRecords(const StoredChunk& chunk, const PointCloudRecord* records,
                                              std::size_t count) {
    m_colors.resize(std::max(m_colors.size(), count));
    if (!m_coloring) {
        std::transform(records, records + count, m_colors.begin(), [](const PointCloudRecord& record) {
            const auto upper = [](unsigned short channel) { return static_cast<unsigned char>(channel >> 8); };
            return GLRGBAColor{upper(record.red), upper(record.green), upper(record.blue), 255};
        });
        return m_colors.data();
    }
    try {
        m_coloring(records, count, {chunk.origin.x, chunk.origin.y, chunk.origin.z}, m_colors.data());
    } catch (...) {
        DropCaught();
        std::fill_n(m_colors.begin(), count, GLRGBAColor{0, 0, 0, 255});
        m_result = E_UNEXPECTED;
    }
    return m_colors.data();
}

/// Says what the next frames of this picture need that is not on the card.
void CloudDrawing::WantFurther(const COpenGLView& view, const Picture& picture) {
    m_visible.clear();
    m_shares.clear();
    for (unsigned int chunk = 0; chunk < m_chunks.size(); ++chunk) {
        const unsigned int drawn = picture.drawn[chunk];
        if (picture.pixels[chunk] > 0.0 && drawn < CountReachable(chunk, drawn)) {
            m_visible.push_back(chunk);
            m_shares.push_back({picture.pixels[chunk], drawn, CountReachable(chunk, drawn), 0});
        }
    }
    const unsigned long long ahead = std::max(kFramesAhead * picture.drawing.mostPoints, kLeastPointsAhead);
    ShareBudget(m_shares, picture.drawing.mostPoints == 0 ? 4 * ahead : ahead);
    std::vector<PieceId> wanted;
    bool isMissing = false;
    for (std::size_t index = 0; index < m_visible.size(); ++index) {
        const unsigned int chunk = m_visible[index];
        for (unsigned int piece = 0; piece < m_chunks[chunk].pieces; ++piece) {
            if (m_chunks[chunk].PieceBegin(piece + 1) > m_shares[index].drawn &&
                m_chunks[chunk].PieceBegin(piece) < m_shares[index].wanted && !m_card.Has({chunk, piece})) {
                wanted.push_back({chunk, piece});
                isMissing = isMissing || (m_pieces[chunk].inMemory >> piece & 1) == 0;
            }
        }
    }
    if (!isMissing) {
        wanted.clear();
    }
    // The overview first. What comes last may find no room, but must not push out what it needs to follow.
    std::sort(wanted.begin(), wanted.end(), [](const PieceId& left, const PieceId& right) {
        return left.piece != right.piece ? left.piece < right.piece : left.chunk < right.chunk;
    });
    m_store.Want(&view, std::move(wanted));
}

/// Where a chunk's records stand for the view's matrices and coordinate offsets.
PointXYZ CloudDrawing::PlaceOf(const StoredChunk& chunk, const Picture& picture) const {
    const PointXYZ& origin = picture.drawing.origin;
    return {chunk.origin.x - origin.x, chunk.origin.y - origin.y, chunk.origin.z - origin.z};
}

} // namespace KTR
