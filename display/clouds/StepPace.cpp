#include "StepPace.h"

#include <algorithm>

namespace KTR {

namespace {

/// Until a step has been measured.
constexpr double kGuessedPointsPerMillisecond = 2'000.0;
/// Steps of fewer points tell what a step costs, but not what its points do; and none is shorter.
constexpr unsigned long long kLeastPoints = 1'000;
constexpr double kLeastMilliseconds = 1e-3;

} // namespace

void StepPace::Learn(unsigned long long points, double milliseconds) {
    if (points >= kLeastPoints) {
        m_pointsPerMillisecond[m_next] = static_cast<double>(points) / std::max(milliseconds, kLeastMilliseconds);
        m_next = (m_next + 1) % m_pointsPerMillisecond.size();
    }
}

unsigned long long StepPace::CountFor(double milliseconds) const {
    double slowest = 0.0;
    for (const double pace : m_pointsPerMillisecond) {
        slowest = slowest == 0.0 || (pace != 0.0 && pace < slowest) ? pace : slowest;
    }
    const double pace = slowest != 0.0 ? slowest : kGuessedPointsPerMillisecond;
    return std::max(static_cast<unsigned long long>(pace * std::max(milliseconds, 0.0)), kLeastPoints);
}

} // namespace KTR
