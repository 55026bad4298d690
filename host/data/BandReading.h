#pragma once

#include "CloudReader.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace OrrinViewer {

/// Opens a file of points to be read from its first point on. Throws FileError.
using CloudOpener = std::function<std::unique_ptr<CloudReader>()>;

/// A strip of land: a line on the map, and how far to either side of it the strip reaches.
struct Band {
    std::vector<Position> corners;
    double halfWidth = 0.0;

    Extent Box() const;
    double Length() const;
    /// The line moved by so much to the right of its first leg's direction, and along that.
    Band Shifted(double right, double along) const;
};

/// Whether the line passes within the half width. Round at the line's ends, so it says yes a little too often there.
bool IsNear(const Band& band, double x, double y);

/// A point of a cloud, and which of the clouds it is of.
struct BandPoint {
    CloudPoint point;
    std::uint32_t cloud = 0;
};

/// Finds the points of clouds that lie in a band, by reading their files once more on a thread of its own. Whatever the
/// files' size, memory holds no more than a number of points: where there would be more every second one is left out,
/// again and again.
class BandReading {
public:
    explicit BandReading(std::size_t mostPoints = 2'000'000) : m_mostPoints(mostPoints) {}
    ~BandReading() { Stop(); }
    BandReading(const BandReading&) = delete;
    BandReading& operator=(const BandReading&) = delete;

    /// Forgets what was found and reads for another band.
    void Start(Band band, std::vector<CloudOpener> clouds);
    /// Stops reading; what was found stays.
    void Stop();

    struct State {
        bool reading = false;
        std::size_t points = 0;    ///< that are kept
        std::uint64_t found = 0;   ///< in the band
        std::uint32_t thinned = 0; ///< how often every second one was left out; those kept before are others then
        std::string problem;       ///< why a cloud could not be read to its end; empty if nothing went wrong
    };
    State GetState() const;
    /// Calls `visit` with the points kept from the `first` on, and with how often they were thinned. The reading waits
    /// meanwhile.
    void Visit(std::size_t first, const std::function<void(const std::vector<BandPoint>&, std::size_t)>& visit) const;

private:
    void Read(const Band& band, const std::vector<CloudOpener>& clouds);
    void Keep(const std::vector<BandPoint>& found);
    bool IsStopped() const;

    std::size_t m_mostPoints;
    std::thread m_thread;
    mutable std::mutex m_mutex; ///< of all that follows
    std::vector<BandPoint> m_points;
    std::uint64_t m_step = 1; ///< one of so many is kept
    State m_state;
    bool m_stopped = false;
};

} // namespace OrrinViewer
