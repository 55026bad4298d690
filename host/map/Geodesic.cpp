#include "Geodesic.h"

#include "Angles.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace OrrinViewer {

namespace {

constexpr double kEquatorRadius = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kPoleRadius = kEquatorRadius * (1.0 - kFlattening);
constexpr double kSquaredEccentricity = kFlattening * (2.0 - kFlattening);

/// Vincenty's iteration. It does not end for places that are all but opposite each other.
std::optional<double> Iterate(const GlobePlace& from, const GlobePlace& to) {
    const double longitude = std::remainder(Radians(to.longitude - from.longitude), 2.0 * std::numbers::pi);
    const double fromReduced = std::atan((1.0 - kFlattening) * std::tan(Radians(from.latitude)));
    const double toReduced = std::atan((1.0 - kFlattening) * std::tan(Radians(to.latitude)));
    const double sinFrom = std::sin(fromReduced);
    const double cosFrom = std::cos(fromReduced);
    const double sinTo = std::sin(toReduced);
    const double cosTo = std::cos(toReduced);
    double lambda = longitude; // on the auxiliary sphere
    for (int round = 0; round < 100; ++round) {
        const double sinSigma =
            std::hypot(cosTo * std::sin(lambda), cosFrom * sinTo - sinFrom * cosTo * std::cos(lambda));
        const double cosSigma = sinFrom * sinTo + cosFrom * cosTo * std::cos(lambda);
        if (sinSigma == 0.0) {
            return cosSigma > 0.0 ? std::optional(0.0) : std::nullopt;
        }
        const double sigma = std::atan2(sinSigma, cosSigma);
        const double sinAlpha = cosFrom * cosTo * std::sin(lambda) / sinSigma;
        const double squaredCosAlpha = 1.0 - sinAlpha * sinAlpha;
        // Along the equator the middle does not matter.
        const double cosMiddle = squaredCosAlpha > 0.0 ? cosSigma - 2.0 * sinFrom * sinTo / squaredCosAlpha : 0.0;
        const double squaredMiddle = cosMiddle * cosMiddle;
        const double c = kFlattening / 16.0 * squaredCosAlpha * (4.0 + kFlattening * (4.0 - 3.0 * squaredCosAlpha));
        const double before = lambda;
        lambda = longitude + (1.0 - c) * kFlattening * sinAlpha *
                                 (sigma + c * sinSigma * (cosMiddle + c * cosSigma * (2.0 * squaredMiddle - 1.0)));
        if (std::abs(lambda) > std::numbers::pi) {
            return std::nullopt;
        }
        if (std::abs(lambda - before) > 1e-12) {
            continue;
        }
        const double u = squaredCosAlpha * (kEquatorRadius * kEquatorRadius / (kPoleRadius * kPoleRadius) - 1.0);
        const double a = 1.0 + u / 16384.0 * (4096.0 + u * (-768.0 + u * (320.0 - 175.0 * u)));
        const double b = u / 1024.0 * (256.0 + u * (-128.0 + u * (74.0 - 47.0 * u)));
        const double squaredSinSigma = sinSigma * sinSigma;
        const double correction =
            b * sinSigma *
            (cosMiddle + b / 4.0 *
                             (cosSigma * (2.0 * squaredMiddle - 1.0) -
                              b / 6.0 * cosMiddle * (4.0 * squaredSinSigma - 3.0) * (4.0 * squaredMiddle - 3.0)));
        return kPoleRadius * a * (sigma - correction);
    }
    return std::nullopt;
}

} // namespace

double GeodesicMetres(const GlobePlace& from, const GlobePlace& to) {
    if (const std::optional<double> metres = Iterate(from, to)) {
        return *metres;
    }
    // From one side of the Earth to the other the shortest way passes near a pole, for it is flat there.
    const auto over = [&](double latitude) {
        const GlobePlace pole{from.longitude, latitude};
        return Iterate(from, pole).value_or(0.0) + Iterate(pole, to).value_or(0.0);
    };
    return std::min(over(90.0), over(-90.0));
}

double MetresPerDegreeOfLongitude(double latitude) {
    const double sine = std::sin(Radians(latitude));
    return Radians(1.0) * kEquatorRadius * std::cos(Radians(latitude)) /
           std::sqrt(1.0 - kSquaredEccentricity * sine * sine);
}

double MetresPerDegreeOfLatitude(double latitude) {
    const double sine = std::sin(Radians(latitude));
    return Radians(1.0) * kEquatorRadius * (1.0 - kSquaredEccentricity) /
           std::pow(1.0 - kSquaredEccentricity * sine * sine, 1.5);
}

} // namespace OrrinViewer
