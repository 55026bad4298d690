#pragma once

#include "data/Extent.h"

namespace OrrinViewer {

/// The part of the map that the window shows, north up. All in double precision, in the file's own coordinates; pixels
/// are counted from the window's upper left, as Windows does.
class MapNavigator {
public:
    /// Window size in pixels; at least one in each direction.
    void Resize(int widthPixels, int heightPixels);

    /// Shows the whole extent with a margin around it.
    void Fit(const Extent& extent);

    /// Shows the area as large as it fits, without a margin. An area without width and height is left alone.
    void Show(const Extent& area);

    /// Moves the map along with the mouse, by so many pixels to the right and down.
    void Pan(double rightPixels, double downPixels);

    /// Magnifies by `factor` (above 1: closer) and keeps the position under the pixel where it is.
    void Zoom(double factor, double xPixels, double yPixels);

    /// The position under a pixel; its z is 0.
    Position PositionAt(double xPixels, double yPixels) const;

    /// The pixel at which a position is, within the window or outside.
    Position PixelAt(const Position& position) const;

    /// What the window shows; the z range is empty.
    Extent VisibleArea() const;

    double UnitsPerPixel() const { return m_unitsPerPixel; }
    int Width() const { return m_width; }
    int Height() const { return m_height; }

private:
    void ShowWithMargin(const Extent& extent, double marginFactor);

    int m_width = 1;
    int m_height = 1;
    double m_centerX = 0.0;
    double m_centerY = 0.0;
    double m_unitsPerPixel = 1.0;
};

} // namespace OrrinViewer
