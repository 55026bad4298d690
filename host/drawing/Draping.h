#pragma once

#include "ReliefCovers.h"
#include "data/ReadingProgress.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace OrrinViewer {

/// Images that are to lie on reliefs.
struct DrapingOrder {
    struct Image {
        int layer = 0;
        double opacity = 1.0;
        std::function<std::shared_ptr<const Raster>()> make; ///< null where there is none
    };
    struct Relief {
        int layer = 0;
        std::shared_ptr<const ReliefShape> shape;
        ElevationRange range; ///< of the colours that show through the images
    };
    std::vector<Image> images; ///< the uppermost first
    std::vector<Relief> reliefs;
    std::wstring mark; ///< tells its images from those of other orders
};

/// How they lie there.
struct DrapingResult {
    struct Relief {
        int layer = 0;
        ReliefCovers covers;
    };
    std::vector<Relief> reliefs;
    std::vector<int> coveredImages; ///< layers that lie on a relief as a whole
};

/// Lays images over reliefs, on the thread of the caller. An image that cannot be read lies nowhere.
DrapingResult Drape(const DrapingOrder& order);

/// Does it on a thread of its own, the last order only. All functions are for the thread that draws.
class Draping {
public:
    Draping() = default;
    /// Gives up what is being done.
    ~Draping();
    Draping(const Draping&) = delete;
    Draping& operator=(const Draping&) = delete;

    /// What is being done for an earlier order is given up.
    void Begin(DrapingOrder order);
    /// Whether a result is to come, or there to be taken.
    bool IsAwaited() const { return m_isAwaited; }
    /// The result, once it is there.
    std::optional<DrapingResult> Take();
    /// Waits for it; nothing where none is awaited.
    std::optional<DrapingResult> Wait();
    ReadingState GetState() const;

private:
    void Run();

    bool m_isAwaited = false;
    mutable std::mutex m_mutex; ///< of what follows
    std::condition_variable m_changed;
    std::optional<DrapingOrder> m_order; ///< that nobody has begun with
    std::optional<DrapingResult> m_result;
    std::shared_ptr<ReadingProgress> m_progress; ///< of the last order
    bool m_ends = false;
    std::thread m_thread;
};

} // namespace OrrinViewer
