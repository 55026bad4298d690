#pragma once

#include "data/Extent.h"

namespace OrrinViewer {

/// A camera that circles the middle of the scene and always looks at it. Positions are relative to that middle, pixels
/// are counted as Windows does.
class OrbitNavigator {
public:
    /// Field of view from the window's lower to its upper edge.
    static constexpr double kFieldOfViewDegrees = 40.0;

    /// Window size in pixels; at least one in each direction.
    void Resize(int widthPixels, int heightPixels);

    /// Goes back to the first view, from the south-south-west, so far away that the extent fits with its heights
    /// multiplied by `exaggeration`.
    void Fit(const Extent& extent, double exaggeration);

    /// Rotates the scene along with the mouse, by so many pixels to the right and down. It never tips over: the camera
    /// stays above the horizon and short of straight down, where north would have no direction.
    void Orbit(double rightPixels, double downPixels);

    /// Comes closer by `factor` (above 1), within limits.
    void Zoom(double factor);

    /// Where the eye is: z up, y north.
    Position Eye() const;
    /// Distances along the line of sight between which everything lies.
    double NearDistance() const;
    double FarDistance() const;

    double AzimuthDegrees() const { return m_azimuthDegrees; } ///< from which the camera looks: 0 north, 90 east
    double ElevationDegrees() const { return m_elevationDegrees; }
    double Distance() const { return m_distance; }
    double AspectRatio() const { return static_cast<double>(m_width) / m_height; }

private:
    double FindFittingDistance(const Position& size) const;

    int m_width = 1;
    int m_height = 1;
    double m_radius = 1.0; ///< of the sphere around the scene
    double m_azimuthDegrees = 0.0;
    double m_elevationDegrees = 0.0;
    double m_distance = 1.0;
};

} // namespace OrrinViewer
