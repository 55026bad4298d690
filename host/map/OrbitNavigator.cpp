#include "OrbitNavigator.h"

#include "Angles.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr double kFirstAzimuthDegrees = 200.0;
constexpr double kFirstElevationDegrees = 35.0;
constexpr double kLowestDegrees = 2.0;
constexpr double kHighestDegrees = 89.0;
constexpr double kDegreesPerPixel = 0.4;
constexpr double kMarginFactor = 1.05;
constexpr double kClosestRadii = 0.02;
constexpr double kFarthestRadii = 40.0;
/// The depth buffer tells little apart when the nearest distance is too small a part of the farthest.
constexpr double kSmallestNearShare = 1.0 / 2000.0;

} // namespace

void OrbitNavigator::Resize(int widthPixels, int heightPixels) {
    m_width = std::max(widthPixels, 1);
    m_height = std::max(heightPixels, 1);
}

void OrbitNavigator::Fit(const Extent& extent, double exaggeration) {
    if (extent.IsEmpty()) {
        return;
    }
    const double height = (extent.high.z - extent.low.z) * exaggeration;
    const double diameter = std::hypot(extent.high.x - extent.low.x, extent.high.y - extent.low.y, height);
    // A single position has no size; any distance shows it.
    m_radius = diameter > 0.0 ? diameter * 0.5 : 1.0;
    m_azimuthDegrees = kFirstAzimuthDegrees;
    m_elevationDegrees = kFirstElevationDegrees;
    m_distance = FindFittingDistance({extent.high.x - extent.low.x, extent.high.y - extent.low.y, height});
}

/// The distance from which each corner of a box around the middle is in the frame. A corner is as far from the line
/// of sight as it is from every distance; the nearer it lies to the eye, the farther away the eye must be.
double OrbitNavigator::FindFittingDistance(const Position& size) const {
    const double azimuth = Radians(m_azimuthDegrees);
    const double elevation = Radians(m_elevationDegrees);
    const double halfTangent = std::tan(Radians(kFieldOfViewDegrees) * 0.5);
    double distance = m_radius * kClosestRadii;
    for (const double x : {-size.x * 0.5, size.x * 0.5}) {
        for (const double y : {-size.y * 0.5, size.y * 0.5}) {
            for (const double z : {-size.z * 0.5, size.z * 0.5}) {
                const double level = x * std::sin(azimuth) + y * std::cos(azimuth);
                const double towardsEye = level * std::cos(elevation) + z * std::sin(elevation);
                const double up = z * std::cos(elevation) - level * std::sin(elevation);
                const double right = y * std::sin(azimuth) - x * std::cos(azimuth);
                const double needed = std::max(std::abs(up), std::abs(right) / AspectRatio()) / halfTangent;
                distance = std::max(distance, towardsEye + needed * kMarginFactor);
            }
        }
    }
    return distance;
}

void OrbitNavigator::Orbit(double rightPixels, double downPixels) {
    const double azimuth = std::fmod(m_azimuthDegrees + rightPixels * kDegreesPerPixel, 360.0);
    m_azimuthDegrees = azimuth < 0.0 ? azimuth + 360.0 : azimuth;
    m_elevationDegrees =
        std::clamp(m_elevationDegrees + downPixels * kDegreesPerPixel, kLowestDegrees, kHighestDegrees);
}

void OrbitNavigator::Zoom(double factor) {
    m_distance = std::clamp(m_distance / factor, m_radius * kClosestRadii, m_radius * kFarthestRadii);
}

Position OrbitNavigator::Eye() const {
    const double level = m_distance * std::cos(Radians(m_elevationDegrees));
    return {level * std::sin(Radians(m_azimuthDegrees)), level * std::cos(Radians(m_azimuthDegrees)),
            m_distance * std::sin(Radians(m_elevationDegrees))};
}

double OrbitNavigator::NearDistance() const {
    return std::max(m_distance - m_radius, FarDistance() * kSmallestNearShare);
}

double OrbitNavigator::FarDistance() const {
    // A little beyond the sphere, so that what touches it is not cut off.
    return (m_distance + m_radius) * 1.01;
}

} // namespace OrrinViewer
