#pragma once

#include "OverlayScope.h"
#include "TileMask.h"

#include <string>
#include <vector>

namespace KTR {

/// Drawing in client pixels, from the upper left of the client area, y downwards, for as long as it lives. State is as
/// before afterwards, as OverlayScope says.
class ClientDrawing {
public:
    explicit ClientDrawing(COpenGLView& view);

    int Width() const { return m_width; }
    int Height() const { return m_height; }

    /// A line through the points, and what it covers.
    void DrawLine(const std::vector<PointXY>& points, bool closed, const GLLineStyle& style,
                  TileMask* covered = nullptr);
    void FillPolygon(const std::vector<PointXY>& points, const GLRGBAColor& color, TileMask* covered = nullptr);
    /// A string whose baseline begins at a place: in the current font, or with fixed functions by the lists made last.
    /// Without either nothing is drawn.
    void DrawString(const std::wstring& text, double x, double y, const GLRGBAColor& color,
                    TileMask* covered = nullptr);
    /// Pixels that a string takes, about where the pipeline cannot measure.
    double WidthOf(const std::wstring& text) const;

private:
    COpenGLView& m_view;
    OverlayScope m_scope;
    int m_width = 0;
    int m_height = 0;
};

} // namespace KTR
