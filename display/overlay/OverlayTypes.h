#pragma once

#include "../values/BasicTypes.h"

namespace KTR {

class COpenGLView;

/// What of the client area an overlay covers, in client pixels: from the upper left, y downwards.
struct GLCoveredArea {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

/// Draws one overlay, with the matrices that are current when the overlays are drawn; depth test and depth writes are
/// off at the start. `covered` comes as the whole client area: narrow it to what was drawn, the width of lines and
/// points included, so that the next time no more than that is put back. State need not be put back; an exception is
/// stopped, and the overlay counts as drawn.
using GLOverlayFunction = void (*)(COpenGLView& view, GLCoveredArea& covered, void* context);

/// The shapes that follow the mouse.
enum GLRubberBandTypes : int {
    GLRubberBandLine = 0,
    GLRubberBandLineString = 1,
    GLRubberBandRectangle = 2, ///< two opposite corners
    GLRubberBandCircle = 3,    ///< the centre and a point of the rim
    GLRubberBandPolygon = 4,
    GLRubberBandCustom = 5, ///< drawn by the style's function
};

/// Draws a band of type GLRubberBandCustom: `points` are in client pixels, the last is the one that follows the mouse.
/// Everything else is as for overlays.
using GLRubberBandFunction = void (*)(COpenGLView& view, const PointXY* points, int count, GLCoveredArea& covered,
                                      void* context);

/// Writes the text beside a band into `text` (`capacity` characters with the closing zero): a length, an area, an
/// azimuth. `points` as above. Without a text it leaves the empty string that it finds.
using GLRubberBandTextFunction = void (*)(const PointXY* points, int count, wchar_t* text, int capacity, void* context);

/// How a band looks.
struct GLRubberBandStyle {
    GLRGBAColor color{255, 255, 255, 255};
    GLRGBAColor casingColor{0, 0, 0, 160}; ///< beneath line and text, which then show on any ground; alpha 0 for none
    double widthPixels = 1.0;              ///< 0.5 to 64
    double casingPixels = 1.0;             ///< on either side of the line, 0 to 64
    GLRGBAColor fillColor{0, 0, 0, 0};     ///< of rectangles, circles and polygons; alpha 0 for none
    double dashPixels = 0.0;               ///< lengths of dashes and gaps; 0 for an unbroken line
    double gapPixels = 0.0;
    GLRubberBandFunction draw = nullptr;     ///< of a custom band
    GLRubberBandTextFunction text = nullptr; ///< null for none
    void* context = nullptr;                 ///< given to both
};

} // namespace KTR
