#include "MapScale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace OrrinViewer {

namespace {

constexpr double kMetresPerInch = 0.0254;

bool IsUnit(double metres, double unit) {
    return std::fabs(metres - unit) < 1e-7 * unit;
}

std::string WithUnit(double value, int decimals, const char* suffix) {
    return FormatCoordinate(value, decimals) + suffix;
}

} // namespace

double FindScaleDenominator(MapUnits units, double unitsPerPixel, double y, double dotsPerInch) {
    const double denominator = unitsPerPixel * MetresPerUnit(units, y) * dotsPerInch / kMetresPerInch;
    return std::isfinite(denominator) && denominator > 0.0 ? denominator : 0.0;
}

std::string FormatScale(double denominator) {
    constexpr double kLargest = 1e15; // beyond it there is no map
    if (!(denominator > 0.0) || denominator > kLargest) {
        return {};
    }
    const int digit = static_cast<int>(std::floor(std::log10(denominator))) - 3;
    if (digit < 0) {
        std::string text = FormatCoordinate(denominator, std::min(-digit, 12));
        text.erase(text.find_last_not_of('0') + 1);
        text.erase(text.find_last_not_of('.') + 1);
        return "1 : " + text;
    }
    const double step = std::pow(10.0, digit);
    return "1 : " + FormatCount(static_cast<std::uint64_t>(std::llround(std::round(denominator / step) * step)));
}

const char* SuffixOf(MapUnits units) {
    switch (units) {
    case MapUnits::Metres:
        return " m";
    case MapUnits::Feet:
    case MapUnits::UsSurveyFeet:
        return " ft";
    case MapUnits::Degrees:
        break;
    }
    return "\xC2\xB0";
}

const char* SuffixOfHeights(MapUnits units, std::optional<double> heightMetres) {
    if (!heightMetres) {
        return units == MapUnits::Degrees ? " m" : SuffixOf(units);
    }
    if (IsUnit(*heightMetres, 1.0)) {
        return " m";
    }
    return IsUnit(*heightMetres, kMetresPerFoot) || IsUnit(*heightMetres, kMetresPerUsSurveyFoot) ? " ft" : "";
}

std::string DescribePosition(const Position& position, double unitsPerPixel, MapUnits units,
                             std::optional<double> heightMetres) {
    const int decimals = unitsPerPixel > 0.0 ? CountDecimals(std::pow(10.0, std::floor(std::log10(unitsPerPixel)))) : 3;
    std::string text =
        WithUnit(position.x, decimals, SuffixOf(units)) + ", " + WithUnit(position.y, decimals, SuffixOf(units));
    if (!std::isnan(position.z)) {
        text += ", height " + WithUnit(position.z, std::clamp(decimals, 1, 3), SuffixOfHeights(units, heightMetres));
    }
    return text;
}

} // namespace OrrinViewer
