#pragma once

#include "PickCamera.h"
#include "data/BandReading.h"

#include <limits>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace OrrinViewer {

/// Where a point is searched: what is seen at a place of the window.
struct PointProbe {
    PickCamera camera;
    double x = 0.0; ///< in the window, in pixels from its upper left
    double y = 0.0;
    double reachPixels = 6.0;
    /// What is farther is hidden by what is drawn there.
    double farthest = std::numeric_limits<double>::infinity();
};

/// A cloud in which a point is searched.
struct SearchedCloud {
    CloudOpener open;
    Extent extent;            ///< of its points as far as it is known; empty: not at all
    double sizePixels = 1.0;  ///< of its points as they are drawn
    std::uint32_t number = 0; ///< for the caller to know it again
};

/// Of all points that pass the one that is seen at the place: of those whose squares cover it the nearest to the eye,
/// of those beside it the nearest to it in the window.
class SeenPoint {
public:
    explicit SeenPoint(const PointProbe& probe) : m_probe(probe) {}

    /// Whether a point of the cloud may be there.
    bool MayBeIn(const SearchedCloud& cloud) const;
    void Add(std::span<const CloudPoint> points, const SearchedCloud& cloud);
    const std::optional<BandPoint>& Best() const { return m_best; }

private:
    PointProbe m_probe;
    std::optional<BandPoint> m_best;
    bool m_covers = false;
    double m_rank = 0.0; ///< depth, or pixels from the place
};

/// Searches clouds for a point by reading their files once more, on a thread of its own.
class PointSearch {
public:
    PointSearch() = default;
    ~PointSearch() { Stop(); }
    PointSearch(const PointSearch&) = delete;
    PointSearch& operator=(const PointSearch&) = delete;

    /// Gives the search before up.
    void Start(const PointProbe& probe, std::vector<SearchedCloud> clouds);
    void Stop();

    struct State {
        bool reading = false;
        std::optional<BandPoint> found; ///< the best so far; of the cloud with this number
        std::string problem;            ///< why a cloud could not be read to its end; empty if nothing went wrong
    };
    State GetState() const;

private:
    void Read(const PointProbe& probe, const std::vector<SearchedCloud>& clouds);
    bool IsStopped() const;

    std::thread m_thread;
    mutable std::mutex m_mutex; ///< of all that follows
    State m_state;
    bool m_stopped = false;
};

} // namespace OrrinViewer
