#pragma once

#include "data/ReadingProgress.h"
#include "map/LabelLayer.h"

#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// Places labels, on a thread where there are so many that a person would wait.
class LabelPlacing {
public:
    LabelPlacing() = default;
    ~LabelPlacing() { Stop(); }
    LabelPlacing(const LabelPlacing&) = delete;
    LabelPlacing& operator=(const LabelPlacing&) = delete;

    /// Gives up what is being placed, and places these.
    void Begin(std::vector<FeatureLabel> labels, const TextSizes& sizes);
    bool IsPlacing() const { return m_placed.valid(); }
    /// Those that have been placed since; nothing while there are none.
    std::optional<LabelLayer> Take();
    /// The same, however long it takes.
    std::optional<LabelLayer> WaitAndTake();

private:
    void Stop();

    std::shared_ptr<ReadingProgress> m_progress; ///< of the thread
    std::future<LabelLayer> m_placed;
};

} // namespace OrrinViewer
