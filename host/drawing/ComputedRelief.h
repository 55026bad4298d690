#pragma once

namespace OrrinViewer {

/// Elevations of hills of all sizes that lie between these.
inline constexpr double kComputedLow = -1000.0;
inline constexpr double kComputedHigh = 1000.0;

/// Computes a rectangle of an endless relief: each value is the mean elevation of a square of 2 to the `level` pixels
/// each way; `column` and `row` count such squares. What is computed where it is looked at may be larger than any disk.
void ComputeRelief(int level, int column, int row, int width, int height, float* elevations);

} // namespace OrrinViewer
