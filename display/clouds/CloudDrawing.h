#pragma once

#include "CardPieces.h"
#include "CloudIntake.h"
#include "CloudSelection.h"
#include "StepPace.h"

#include <set>

namespace KTR {

/// The part of a layer that draws: what each view has of the cloud so far, and what comes next. On the views' thread.
class CloudDrawing {
public:
    CloudDrawing(ChunkStore& store, unsigned long long cardBytes) : m_store(store), m_card(cardBytes) {}

    void SetColoring(PointCloudColoring coloring);
    /// `delivers`: whether more chunks may come.
    PointCloudFrame Draw(COpenGLView& view, const PointCloudDrawing& drawing, bool delivers);
    PointCloudFrame Refine(COpenGLView& view, bool delivers);
    void Forget(const COpenGLView& view);
    void FreeCard() { m_card.Clear(); }
    unsigned long long GetCardBytes() const { return m_card.GetBytes(); }

    /// What a view sees of the cloud now.
    static CloudCamera FindCamera(const COpenGLView& view, const PointCloudDrawing& drawing);

private:
    /// A frame of a view that grows.
    struct Picture {
        int viewNumber = -1;
        CloudCamera camera;
        PointCloudDrawing drawing;
        bool mayEnlarge = true;
        bool isEnlarged = false;
        unsigned long long begun = 0; ///< by the card's count
        unsigned long long shown = 0;
        std::vector<double> pixels;      ///< that each chunk covers; 0: out of view
        std::vector<unsigned int> drawn; ///< points of each chunk
    };
    /// Points of a chunk that are drawn next.
    struct Range {
        unsigned int chunk;
        unsigned int end; ///< behind the last; the first is the first that is not drawn yet
    };
    /// Points that are drawn without going to the card.
    struct Loose {
        PieceRecords records;
        unsigned int first;
        unsigned int end;
        unsigned int chunk;
    };

    bool Fits(const Picture& picture, const COpenGLView& view) const;
    PointCloudFrame Advance(COpenGLView& view, Picture& picture, bool delivers);
    void MeetNewChunks(Picture& picture);
    double Step(COpenGLView& view, Picture& picture, unsigned long long budget);
    void StepInTime(COpenGLView& view, Picture& picture, double& spacing);
    unsigned int CountAtHand(unsigned int chunk, unsigned int drawn) const;
    unsigned int CountReachable(unsigned int chunk, unsigned int drawn) const;
    void DrawRanges(COpenGLView& view, Picture& picture, const std::vector<Range>& ranges, double pointSizePixels);
    void DrawRange(COpenGLView& view, Picture& picture, const Range& range);
    bool DrawPart(COpenGLView& view, Picture& picture, PieceId id, unsigned int first, unsigned int end);
    bool ShallFill(PieceId id, unsigned int count);
    void DrawLoose(COpenGLView& view, const Picture& picture);
    const GLRGBAColor* ColorRecords(const StoredChunk& chunk, const PointCloudRecord* records, std::size_t count);
    void WantFurther(const COpenGLView& view, const Picture& picture);
    PointXYZ PlaceOf(const StoredChunk& chunk, const Picture& picture) const;

    ChunkStore& m_store;
    CardPieces m_card;
    PointCloudColoring m_coloring;
    std::map<const COpenGLView*, Picture> m_pictures;
    StepPace m_pace;
    long m_result = 0;
    unsigned long long m_fillable = 0; ///< points of pieces that still may go to the card with this frame
    std::set<PieceId> m_drawnLoose;    ///< pieces that were drawn in part, from main memory

    std::vector<StoredChunk> m_chunks;
    std::vector<ChunkStore::Pieces> m_pieces; ///< of each chunk
    std::vector<unsigned int> m_visible;      ///< scratch: chunks
    std::vector<ChunkShare> m_shares;         ///< scratch: their shares
    std::vector<Loose> m_loose;               ///< scratch
    std::vector<GLRGBAColor> m_colors;        ///< scratch
};

} // namespace KTR
