#include "RoundSteps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KTR {

RoundSteps FindRoundSteps(double low, double high, double smallest) {
    constexpr double kMostMarks = 1000.0;
    const double width = high - low;
    if (!(width > 0.0) || !std::isfinite(width) || !(smallest > 0.0) || !std::isfinite(smallest)) {
        return {};
    }
    const double finest = std::max(smallest, width / (kMostMarks - 1.0));
    const double largest = std::max(std::abs(low), std::abs(high));
    if (finest < 4.0 * std::numeric_limits<double>::epsilon() * largest) {
        return {};
    }
    const double power = std::floor(std::log10(finest));
    const double unit = std::pow(10.0, power);
    RoundSteps steps;
    steps.step = 10.0 * unit;
    for (const double factor : {1.0, 2.0, 5.0}) {
        // A little less, so that 0.1 × 10 is not below 1.
        if (factor * unit >= finest * (1.0 - 1e-9)) {
            steps.step = factor * unit;
            break;
        }
    }
    const double firstMultiple = std::ceil(low / steps.step - 1e-9);
    const double lastMultiple = std::floor(high / steps.step + 1e-9);
    steps.first = firstMultiple * steps.step;
    steps.count = static_cast<int>(std::max(lastMultiple - firstMultiple + 1.0, 0.0));
    steps.decimals = static_cast<int>(std::clamp(-std::floor(std::log10(steps.step) + 1e-9), 0.0, 12.0));
    return steps;
}

} // namespace KTR
