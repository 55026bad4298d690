#include "BandReading.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace OrrinViewer {

Extent Band::Box() const {
    Extent box;
    for (const Position& corner : corners) {
        box.Include(Position{corner.x - halfWidth, corner.y - halfWidth, corner.z});
        box.Include(Position{corner.x + halfWidth, corner.y + halfWidth, corner.z});
    }
    return box;
}

double Band::Length() const {
    double length = 0.0;
    for (std::size_t index = 1; index < corners.size(); ++index) {
        length += std::hypot(corners[index].x - corners[index - 1].x, corners[index].y - corners[index - 1].y);
    }
    return length;
}

Band Band::Shifted(double right, double along) const {
    Band shifted = *this;
    if (corners.size() < 2) {
        return shifted;
    }
    const double x = corners[1].x - corners[0].x;
    const double y = corners[1].y - corners[0].y;
    const double length = std::hypot(x, y);
    if (length > 0.0) {
        for (Position& corner : shifted.corners) {
            corner.x += (y * right + x * along) / length;
            corner.y += (-x * right + y * along) / length;
        }
    }
    return shifted;
}

bool IsNear(const Band& band, double x, double y) {
    for (std::size_t index = 1; index < band.corners.size(); ++index) {
        const Position& from = band.corners[index - 1];
        const double legX = band.corners[index].x - from.x;
        const double legY = band.corners[index].y - from.y;
        const double squared = legX * legX + legY * legY;
        const double share =
            squared > 0.0 ? std::clamp(((x - from.x) * legX + (y - from.y) * legY) / squared, 0.0, 1.0) : 0.0;
        if (std::hypot(x - from.x - share * legX, y - from.y - share * legY) <= band.halfWidth) {
            return true;
        }
    }
    return false;
}

void BandReading::Start(Band band, std::vector<CloudOpener> clouds) {
    Stop();
    m_points.clear();
    m_step = 1;
    m_state = {};
    m_state.reading = true;
    m_stopped = false;
    m_thread = std::thread([this, band = std::move(band), clouds = std::move(clouds)] { Read(band, clouds); });
}

void BandReading::Stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

BandReading::State BandReading::GetState() const {
    const std::lock_guard lock(m_mutex);
    State state = m_state;
    state.points = m_points.size();
    return state;
}

void BandReading::Visit(std::size_t first,
                        const std::function<void(const std::vector<BandPoint>&, std::size_t)>& visit) const {
    const std::lock_guard lock(m_mutex);
    visit(m_points, first);
}

bool BandReading::IsStopped() const {
    const std::lock_guard lock(m_mutex);
    return m_stopped;
}

void BandReading::Read(const Band& band, const std::vector<CloudOpener>& clouds) {
    constexpr std::size_t kPointsAtOnce = 16'384;
    std::string problem;
    try {
        const Extent box = band.Box();
        std::vector<CloudPoint> points(kPointsAtOnce);
        std::vector<BandPoint> found;
        for (std::uint32_t cloud = 0; cloud < clouds.size(); ++cloud) {
            const std::unique_ptr<CloudReader> reader = clouds[cloud]();
            for (std::size_t count = points.size(); count == points.size() && !IsStopped();) {
                count = reader->Read(points);
                found.clear();
                for (std::size_t index = 0; index < count; ++index) {
                    const Position& place = points[index].position;
                    const bool isInBox =
                        place.x >= box.low.x && place.x <= box.high.x && place.y >= box.low.y && place.y <= box.high.y;
                    if (isInBox && IsNear(band, place.x, place.y)) {
                        found.push_back({points[index], cloud});
                    }
                }
                Keep(found);
            }
        }
    } catch (const std::exception& error) {
        problem = error.what();
    }
    const std::lock_guard lock(m_mutex);
    m_state.problem = problem;
    m_state.reading = false;
}

void BandReading::Keep(const std::vector<BandPoint>& found) {
    const std::lock_guard lock(m_mutex);
    for (const BandPoint& point : found) {
        if (m_state.found++ % m_step != 0) {
            continue;
        }
        m_points.push_back(point);
        if (m_points.size() >= m_mostPoints) {
            for (std::size_t index = 0; 2 * index < m_points.size(); ++index) {
                m_points[index] = m_points[2 * index];
            }
            m_points.resize((m_points.size() + 1) / 2);
            m_step *= 2;
            ++m_state.thinned;
        }
    }
}

} // namespace OrrinViewer
