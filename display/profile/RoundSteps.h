#pragma once

namespace KTR {

/// Marks at whole multiples of a round step.
struct RoundSteps {
    double step = 0.0;  ///< 1, 2 or 5 times a power of ten; 0 where there is nothing to mark
    double first = 0.0; ///< a multiple of it
    int count = 0;
    int decimals = 0; ///< that tell neighbours apart

    double At(int index) const { return first + step * index; }
};

/// The marks from `low` to `high` that are at least `smallest` apart; at most 1000. None for what is not finite, empty
/// or so narrow that doubles cannot tell the marks apart.
RoundSteps FindRoundSteps(double low, double high, double smallest);

} // namespace KTR
