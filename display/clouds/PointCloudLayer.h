#pragma once

#include "../Export.h"
#include "../Framework.h"
#include "../pipeline/ShaderData.h"
#include "PointCloudReader.h"

#include <functional>
#include <memory>

namespace KTR {

class COpenGLView;
struct PointCloudParts;

/// What a layer may take.
struct PointCloudLimits {
    /// Buffers on the card, of all views together; on fixed-function contexts, which have none, memory.
    unsigned __int64 cardBytes = 768ULL << 20;
    /// Main memory for points, the reading included.
    unsigned __int64 memoryBytes = 512ULL << 20;
    /// The temporary file for what main memory does not hold, at 24 bytes a point. Where it ends the reading ends.
    unsigned __int64 fileBytes = 64ULL << 30;
    /// Where that file is made if it is needed; empty: the user's temporary folder.
    CString folder;
    /// A cloud of so many points or fewer is drawn in the order in which they are read.
    unsigned int pointsInOrder = 1'000'000;
    /// What is drawn and kept together; 64 and more.
    unsigned int chunkPoints = 65'536;
};

/// How far a layer has come.
struct PointCloudState {
    unsigned __int64 pointCount = 0; ///< that the reader promised; 0 where it did not
    unsigned __int64 pointsRead = 0;
    unsigned __int64 pointsLeftOut = 0; ///< without a finite position
    PointXYZ low;                       ///< box of the points read so far; 0 while there are none
    PointXYZ high;
    bool reading = false; ///< more points may come
    /// S_OK; what the reader said, E_UNEXPECTED where it threw, E_OUTOFMEMORY, or why the temporary file failed. What
    /// was read before is there to be drawn.
    long result = 0;
    unsigned __int64 memoryBytes = 0; ///< of points in main memory
    unsigned __int64 cardBytes = 0;   ///< of points in buffers
    unsigned __int64 fileBytes = 0;   ///< of the temporary file
};

/// How a layer is drawn.
struct PointCloudDrawing {
    /// What the view's matrices are relative to, beside its coordinate offsets.
    PointXYZ origin;
    /// Points that one call draws; 0 sets no limit.
    unsigned __int64 mostPoints = 1'000'000;
    /// Time that one call may take, the card's included; 0 sets no limit. It measures as it goes, so it waits for the
    /// card.
    double mostMilliseconds = 0.0;
    double pointSizePixels = 1.0;
    /// To which points grow while they are so few that gaps would show; not above pointSizePixels: they never do.
    double mostPointSizePixels = 6.0;
    GLShaderTypes shader = GLShaderPoint; ///< or GLShaderPointSmooth
};

/// What one call has drawn.
struct PointCloudFrame {
    unsigned __int64 drawn = 0;  ///< points, by this call
    unsigned __int64 shown = 0;  ///< points, since Draw
    unsigned __int64 inView = 0; ///< points of the chunks that the view sees, of those read so far
    /// From point to point, where there are more to come; 0 where all are there.
    double spacingPixels = 0.0;
    bool enlarged = false; ///< points are larger than asked for: Refine cannot go on with this frame
    bool complete = false; ///< all that the view sees is there, and all has been read
    bool outdated = false; ///< nothing was drawn: the frame has to be cleared and begun again with Draw
    long result = 0;       ///< S_OK, E_FAIL without a current context, E_OUTOFMEMORY; E_UNEXPECTED: the colouring threw
};

/// Colours points: writes `count` colours. `origin` is what the records are relative to. Called on the thread that
/// draws, for each part of the cloud as it comes into view. A point of alpha 0 is left out: it has neither a colour nor
/// a depth in the frame, but is still counted as drawn there, since it has had its turn.
using PointCloudColoring = std::function<void(const PointCloudRecord* records, std::size_t count,
                                              const PointXYZ& origin, GLRGBAColor* colors)>;

/// A point cloud of any size.
///
///     CPointCloudLayer cloud(std::make_unique<SurveyReader>(path)); // begins to read
///
///     // a frame
///     view.SetBackgroundColor(background, true);
///     PointCloudFrame frame = cloud.Draw(view, drawing);            // no more than the budget, evenly all over
///     view.SwapBuffers();
///
///     // while nothing else happens, until frame.complete: what was drawn stays, with its depths
///     frame = cloud.Refine(view);
///
/// The points are read in the background, cut into chunks that lie together, and kept on the card, in main memory and
/// in a temporary file, each as far as its limit goes. A frame draws the chunks that the view sees: from each so many
/// points that all are equally dense, up to the budget. Refine adds further ones to the frame of the same view, which
/// must still be in the draw buffer and in the depth buffer, as it does while the host has neither swapped nor cleared;
/// a host that swaps, or draws something over the cloud, saves the frame before (SaveBackingStore) and restores it. At
/// the end the frame is the one that all points at once give, points at one place and depth apart: of those the layer
/// shows the first in its own order, and in the reader's only where the cloud is small (pointsInOrder).
///
/// Where the budget is too small for a dense frame, points are drawn larger while the camera moves. The frame of a
/// camera that stands still has to be begun anew then: Refine says `outdated`, and the next Draw keeps to the true
/// size.
///
/// A layer draws in any number of views, fixed-function or with programs, on one thread. It reads on threads of its
/// own, which its destructor stops; no view need live for that.
class ORRIN_DISPLAY_API CPointCloudLayer {
public:
    /// Begins to read. Without memory or threads nothing is read, and the state says why.
    explicit CPointCloudLayer(std::unique_ptr<PointCloudReader> reader, const PointCloudLimits& limits = {});
    /// Stops reading: it waits until the reader has returned from Read, then destroys it.
    ~CPointCloudLayer();
    CPointCloudLayer(const CPointCloudLayer&) = delete;
    CPointCloudLayer& operator=(const CPointCloudLayer&) = delete;

    /// On any thread.
    PointCloudState GetState() const;
    /// From now on points have these colours; frames begin anew. Without one, the upper bytes of the recorded ones.
    void SetColoring(PointCloudColoring coloring);
    /// Begins a frame: draws up to the budget. The view's matrices, viewport and depth test are the host's to set, and
    /// the frame the host's to clear. State is as before afterwards; an open batch is discarded, and a program of the
    /// library's is in use no longer.
    PointCloudFrame Draw(COpenGLView& view, const PointCloudDrawing& drawing);
    /// Goes on with the frame that Draw began in this view, up to the same budget. Draws nothing (`outdated`) if the
    /// view's matrices, viewport or offsets or the colouring have changed since.
    PointCloudFrame Refine(COpenGLView& view);
    /// Before a view goes, so that nothing is fetched for it any more.
    void Forget(const COpenGLView& view);
    /// Frees what is on the card. Frames drawn later put there again what they need.
    void FreeCard();

private:
    std::unique_ptr<PointCloudParts> m_parts;
};

} // namespace KTR
