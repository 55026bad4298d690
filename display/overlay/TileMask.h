#pragma once

#include <vector>

namespace KTR {

/// A rectangle of whole client pixels: from the upper left corner, which belongs to it, to the lower right, which does
/// not.
struct PixelRectangle {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool operator==(const PixelRectangle&) const = default;
};

/// A part of the client area, in tiles, so that what lies along a long oblique line is not the whole area around it.
class TileMask {
public:
    static constexpr int kTilePixels = 32;

    /// Sizes in pixels; empties it. Below 1 counts as 0.
    void Resize(int width, int height);
    void Clear();
    void AddAll();
    /// All pixels that the rectangle touches. What lies outside the area is left out; NaN adds nothing.
    void AddRectangle(double left, double top, double right, double bottom);
    /// All pixels within `reach` of the segment.
    void AddSegment(double x0, double y0, double x1, double y1, double reach);
    void Add(const TileMask& other); ///< of the same size

    bool IsEmpty() const;
    /// Rectangles that cover its tiles once each, within the area.
    std::vector<PixelRectangle> Rectangles() const;

private:
    int m_width = 0;
    int m_height = 0;
    int m_columns = 0;
    int m_rows = 0;
    std::vector<unsigned char> m_tiles; ///< row by row, the uppermost first
};

} // namespace KTR
