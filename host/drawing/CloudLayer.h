#pragma once

#include "SceneColors.h"
#include "data/CloudReader.h"
#include "data/ReadingProgress.h"

#include <OrrinDisplay.h>
#include <clouds/PointCloudLayer.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// How much of a cloud one frame draws.
struct CloudBudget {
    std::uint64_t points = 0;  ///< 0: no limit
    double milliseconds = 0.0; ///< 0: no limit
};

/// A point cloud and how it is drawn. Its points are read in the background, whatever their number; until all of them
/// are there its traits, and with them its colours, are those of the points so far.
class CloudLayer {
public:
    /// Begins to read. `name` is what people know the file by.
    explicit CloudLayer(std::unique_ptr<CloudReader> reader, std::string name);

    /// Of the points read so far, as of the last Update.
    const CloudTraits& Traits() const { return m_traits; }
    /// The box around nearly all points: those that lie far outside do not count. Until points have been read, the box
    /// that the file promised.
    Extent GetExtent() const { return m_traits.extent.IsEmpty() ? m_promisedExtent : m_traits.core.extent; }
    bool IsReading() const { return m_layer.GetState().reading; }
    /// Ends the reading; what has been read stays.
    void StopReading();
    /// Whether that came before all points were there.
    bool WasStopped() const;
    /// How far the reading has come.
    ReadingState GetProgress() const;
    std::uint64_t CountPoints() const { return m_layer.GetState().pointsRead; }
    /// Why there are no more points than those read; empty while nothing went wrong.
    std::string GetProblem() const;
    /// What else there is to tell, a line each: what the file promised, points that were skipped or lie far outside.
    std::vector<std::string> GetRemarks() const;
    /// Takes the traits of the points that have come, where there are many more than before or no more to come. True
    /// when there is something new, and the layer has to be coloured again.
    bool Update();
    /// `opacity` is from 0 to 1.
    void Color(const PointColoring& coloring, double opacity);

    /// Begins a frame: draws as much as the budget allows.
    KTR::PointCloudFrame Draw(KTR::COpenGLView& view, double pointSizePixels, const CloudBudget& budget);
    /// Adds as much again to a frame that Draw has begun.
    KTR::PointCloudFrame Refine(KTR::COpenGLView& view);
    /// Before a view goes.
    void Forget(const KTR::COpenGLView& view) { m_layer.Forget(view); }
    void ReleaseGeometry() { m_layer.FreeCard(); }

private:
    class Feed;
    struct Progress;

    std::shared_ptr<Progress> m_progress; ///< shared with the feed
    std::string m_name;
    std::string m_warning; ///< of the file's reader
    Extent m_promisedExtent;
    KTR::CPointCloudLayer m_layer;
    CloudTraits m_traits;
    bool m_isSettled = false; ///< the traits are those of all points
    bool m_isTransparent = false;
};

} // namespace OrrinViewer
