#pragma once

#include "MapTicks.h"
#include "data/Extent.h"

#include <optional>
#include <string>

namespace OrrinViewer {

/// How many times larger the ground is than what the screen shows of it. `y` is where on the map; `dotsPerInch` are
/// the screen's, as the system tells them. 0 where there is no scale.
double FindScaleDenominator(MapUnits units, double unitsPerPixel, double y, double dotsPerInch);

/// A scale such as "1 : 25,000", with four digits at least; empty for none.
std::string FormatScale(double denominator);

/// How a unit of x and y, or one of heights by its metres, is written behind a number; empty where it has no short
/// name.
const char* SuffixOf(MapUnits units);
const char* SuffixOfHeights(MapUnits units, std::optional<double> heightMetres);

/// A position for a person: "500123.46 m, 4500000.00 m, height 20.5 m". The digits are those that a pixel is worth. A
/// height that is NaN is left out.
std::string DescribePosition(const Position& position, double unitsPerPixel, MapUnits units,
                             std::optional<double> heightMetres);

} // namespace OrrinViewer
