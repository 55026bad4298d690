#pragma once

#include <clouds/PointCloudReader.h>

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

/// Numbers that look random and are the same in every run.
class CloudNumbers {
public:
    double Between(double low, double high) {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return low + (high - low) * static_cast<double>(m_state >> 33) / 2147483648.0;
    }
    int Below(int limit) { return static_cast<int>(Between(0.0, limit)); }

private:
    unsigned long long m_state = 7;
};

/// Gives points from memory, `most` at a time.
class ListReader : public KTR::PointCloudReader {
public:
    explicit ListReader(std::vector<KTR::PointCloudPoint> points, bool tellsCount = true, std::size_t most = 1'000)
        : m_points(std::move(points)), m_tellsCount(tellsCount), m_most(most) {}
    unsigned long long GetPointCount() const override { return m_tellsCount ? m_points.size() : 0; }
    long Read(KTR::PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
        for (count = 0; count < capacity && count < m_most && m_next < m_points.size(); ++count) {
            points[count] = m_points[m_next++];
        }
        return 0;
    }

private:
    std::vector<KTR::PointCloudPoint> m_points;
    bool m_tellsCount;
    std::size_t m_most;
    std::size_t m_next = 0;
};

/// Looks again and again until it is so; false when that takes far too long.
inline bool Await(const std::function<bool()>& condition) {
    const auto start = std::chrono::steady_clock::now();
    while (!condition()) {
        if (std::chrono::steady_clock::now() - start > std::chrono::seconds(20)) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
