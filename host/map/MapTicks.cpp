#include "MapTicks.h"

#include "Geodesic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace OrrinViewer {

namespace {

constexpr std::array<double, 3> kNiceDigits = {1.0, 2.0, 5.0};
/// Steps that a division made a hair larger or smaller than they are still count as what they are.
constexpr double kSlack = 1e-9;
/// Doubles hold whole numbers up to this.
constexpr double kLargestCount = 9007199254740992.0;
/// No coordinate has more digits after the point that mean something.
constexpr double kMostDecimals = 12.0;

/// A number with so many digits after the point; without the zeros at its end.
std::string FormatShortly(double value, int decimals) {
    std::string text = FormatCoordinate(value, decimals);
    if (decimals > 0) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return text;
}

} // namespace

double FindNiceStep(double smallest) {
    if (!(smallest > 0.0) || !std::isfinite(smallest)) {
        return 1.0;
    }
    const double power = std::pow(10.0, std::floor(std::log10(smallest)));
    for (const double digit : kNiceDigits) {
        if (digit * power >= smallest * (1.0 - kSlack)) {
            return digit * power;
        }
    }
    return 10.0 * power;
}

std::vector<double> FindTicks(double low, double high, double step, int most) {
    const double first = std::ceil(low / step - kSlack);
    const double count = std::floor(high / step + kSlack) - first + 1.0;
    // Where numbers are so large that the next one is farther than a step, there is no counting. Not for NaN.
    const bool isCountable = std::abs(first) <= kLargestCount && count <= static_cast<double>(most);
    std::vector<double> ticks;
    for (int index = 0; isCountable && index < count; ++index) {
        ticks.push_back((first + index) * step);
    }
    return ticks;
}

int CountDecimals(double step) {
    return static_cast<int>(std::clamp(std::ceil(-std::log10(step) - kSlack), 0.0, kMostDecimals));
}

std::string FormatCoordinate(double value, int decimals) {
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    std::string formatted(text.data(), static_cast<std::size_t>(std::clamp<int>(length, 0, text.size() - 1)));
    const bool isZero = formatted.find_first_not_of("-0.") == std::string::npos;
    return isZero && formatted.starts_with('-') ? formatted.substr(1) : formatted;
}

std::string FormatCount(std::uint64_t count) {
    std::string text = std::to_string(count);
    for (std::size_t place = text.size(); place > 3; place -= 3) {
        text.insert(place - 3, 1, ',');
    }
    return text;
}

double MetresPerUnit(MapUnits units, double y) {
    switch (units) {
    case MapUnits::Metres:
        return 1.0;
    case MapUnits::Feet:
        return kMetresPerFoot;
    case MapUnits::UsSurveyFeet:
        return kMetresPerUsSurveyFoot;
    case MapUnits::Degrees:
        break;
    }
    return MetresPerDegreeOfLongitude(std::clamp(y, -89.9, 89.9));
}

double DistanceInMetres(MapUnits units, double fromX, double fromY, double toX, double toY) {
    if (units != MapUnits::Degrees) {
        return std::hypot(toX - fromX, toY - fromY) * MetresPerUnit(units, 0.0);
    }
    return GeodesicMetres({fromX, std::clamp(fromY, -90.0, 90.0)}, {toX, std::clamp(toY, -90.0, 90.0)});
}

double FindHeightScale(MapUnits units, std::optional<double> heightMetres, double y) {
    if (units == MapUnits::Degrees) {
        // Half-way between its size to the east and to the north.
        const double latitude = std::clamp(y, -89.9, 89.9);
        const double degree = std::sqrt(MetresPerDegreeOfLongitude(latitude) * MetresPerDegreeOfLatitude(latitude));
        return heightMetres.value_or(1.0) / degree;
    }
    const double unit = MetresPerUnit(units, y);
    return heightMetres.value_or(unit) / unit;
}

std::string FormatLength(double metres) {
    const bool isLong = metres >= 1000.0;
    const double value = isLong ? metres / 1000.0 : metres;
    const int decimals =
        value >= 100.0 || value <= 0.0 ? 0 : CountDecimals(std::pow(10.0, std::floor(std::log10(value)) - 2.0));
    return FormatShortly(value, decimals) + (isLong ? " km" : " m");
}

ScaleBar FindScaleBar(double metresPerPixel, double longestPixels) {
    const double longest = metresPerPixel * longestPixels;
    const double power = std::pow(10.0, std::floor(std::log10(longest)));
    double metres = power;
    for (const double digit : kNiceDigits) {
        metres = digit * power <= longest * (1.0 + kSlack) ? digit * power : metres;
    }
    return {metres / metresPerPixel, FormatLength(metres)};
}

} // namespace OrrinViewer
