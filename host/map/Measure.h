#pragma once

#include "MapTicks.h"
#include "data/Extent.h"

#include <span>
#include <string>

namespace OrrinViewer {

/// Metres on the ground from position to position.
double PathLengthInMetres(MapUnits units, std::span<const Position> path);

/// Square metres of the ring that the positions make; on the Earth's ellipsoid in degrees. A ring that crosses itself
/// counts what it goes around with the clock against the rest.
double AreaInSquareMetres(MapUnits units, std::span<const Position> ring);

/// An area in words, such as "250 m²", "1.25 ha" or "12.4 km²" (UTF-8).
std::string FormatArea(double squareMetres);

/// What a measured path comes to in words: its length and, where both ends have heights, how much higher the last one
/// is. A height that is NaN is none.
std::string DescribePath(MapUnits units, std::span<const Position> path);
/// What a measured ring comes to: its area and the length around it.
std::string DescribeArea(MapUnits units, std::span<const Position> ring);

} // namespace OrrinViewer
