#include "PointSearch.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace OrrinViewer {

bool SeenPoint::MayBeIn(const SearchedCloud& cloud) const {
    const double reach = std::max(m_probe.reachPixels, cloud.sizePixels * 0.5 + 1.0);
    return cloud.extent.IsEmpty() || m_probe.camera.MayReach(cloud.extent.WithHeights(), m_probe.x, m_probe.y, reach);
}

void SeenPoint::Add(std::span<const CloudPoint> points, const SearchedCloud& cloud) {
    const double half = std::max(cloud.sizePixels, 1.0) * 0.5;
    for (const CloudPoint& point : points) {
        const SeenPlace seen = m_probe.camera.See(point.position);
        if (!(seen.w > 0.0) || !(seen.depth <= m_probe.farthest)) {
            continue;
        }
        const double x = std::fabs(seen.x / seen.w - m_probe.x);
        const double y = std::fabs(seen.y / seen.w - m_probe.y);
        const bool covers = std::max(x, y) <= half;
        const double rank = covers ? seen.depth : std::hypot(x, y);
        const bool isSeen = covers || rank <= m_probe.reachPixels;
        const bool isBetter = !m_best || (covers == m_covers ? rank < m_rank : covers);
        if (isSeen && isBetter) {
            m_best = BandPoint{point, cloud.number};
            m_covers = covers;
            m_rank = rank;
        }
    }
}

void PointSearch::Start(const PointProbe& probe, std::vector<SearchedCloud> clouds) {
    Stop();
    m_state = {};
    m_state.reading = true;
    m_stopped = false;
    m_thread = std::thread([this, probe, clouds = std::move(clouds)] { Read(probe, clouds); });
}

void PointSearch::Stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

PointSearch::State PointSearch::GetState() const {
    const std::lock_guard lock(m_mutex);
    return m_state;
}

bool PointSearch::IsStopped() const {
    const std::lock_guard lock(m_mutex);
    return m_stopped;
}

void PointSearch::Read(const PointProbe& probe, const std::vector<SearchedCloud>& clouds) {
    constexpr std::size_t kPointsAtOnce = 16'384;
    SeenPoint seen(probe);
    std::string problem;
    std::vector<CloudPoint> points(kPointsAtOnce);
    for (const SearchedCloud& cloud : clouds) {
        if (IsStopped() || !seen.MayBeIn(cloud)) {
            continue;
        }
        try {
            const std::unique_ptr<CloudReader> reader = cloud.open();
            for (std::size_t count = points.size(); count == points.size() && !IsStopped();) {
                count = reader->Read(points);
                seen.Add(std::span(points).first(count), cloud);
                const std::lock_guard lock(m_mutex);
                m_state.found = seen.Best();
            }
        } catch (const std::exception& error) {
            problem = error.what(); // the other clouds have points all the same
        }
    }
    const std::lock_guard lock(m_mutex);
    m_state.problem = problem;
    m_state.reading = false;
}

} // namespace OrrinViewer
