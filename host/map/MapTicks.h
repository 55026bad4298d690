#pragma once

#include "data/CoordinateSystem.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// The smallest of 1, 2 and 5 times a power of ten that is at least `smallest`; 1 where that is no length.
double FindNiceStep(double smallest);

/// The multiples of `step` from `low` to `high`, both included. Each is computed on its own, so that it does not depend
/// on where the map begins. None where there are more than `most`, or where coordinates are too large for the step.
std::vector<double> FindTicks(double low, double high, double step, int most);

/// Digits after the point that tell multiples of `step` apart.
int CountDecimals(double step);

/// A coordinate with so many digits after the point, and never "-0".
std::string FormatCoordinate(double value, int decimals);

/// A number of things, with commas between thousands: "110,000".
std::string FormatCount(std::uint64_t count);

/// Length on the ground of one unit from west to east at the height `y` on the map.
double MetresPerUnit(MapUnits units, double y);

/// Metres between two positions: on the plane, or the shortest way over the Earth.
double DistanceInMetres(MapUnits units, double fromX, double fromY, double toX, double toY);

/// What heights have to be multiplied by to be as large as the map's units are. Without a unit of their own they are in
/// the map's, or in metres where that one is degrees. `y` is where on the map.
double FindHeightScale(MapUnits units, std::optional<double> heightMetres, double y);

/// A length in words, such as "250 m" or "12.4 km"; three digits at least are right.
std::string FormatLength(double metres);

struct ScaleBar {
    double lengthPixels = 0.0;
    std::string text; ///< what the whole bar stands for
};

/// The longest bar of a round length that is not longer than `longestPixels`.
ScaleBar FindScaleBar(double metresPerPixel, double longestPixels);

} // namespace OrrinViewer
