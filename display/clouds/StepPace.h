#pragma once

#include <array>
#include <cstddef>

namespace KTR {

/// How fast points are drawn, as the last steps tell. The slowest of them counts: what was drawn fast a moment ago may
/// come from main memory now, and a frame that takes longer than it may is felt more than one with fewer points.
class StepPace {
public:
    /// A step of so many points took so long.
    void Learn(unsigned long long points, double milliseconds);
    /// How many points a step may have that shall take no longer than this.
    unsigned long long CountFor(double milliseconds) const;

private:
    std::array<double, 8> m_pointsPerMillisecond{}; ///< 0: no step yet
    std::size_t m_next = 0;
};

} // namespace KTR
