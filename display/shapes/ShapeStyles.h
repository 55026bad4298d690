#pragma once

#include "../values/BasicTypes.h"

#include <optional>
#include <vector>

namespace KTR {

/// What the sizes of a style count.
enum GLSizeUnit : int {
    GLSizePixels = 0,    ///< pixels of the window, whatever the zoom
    GLSizeModelUnits = 1 ///< units of the coordinates
};

/// How the corners of a line string look on the outside of a bend.
enum GLLineJoin : int {
    GLLineJoinMiter = 0, ///< the edges go on until they meet; beyond the miter limit a bevel
    GLLineJoinRound = 1,
    GLLineJoinBevel = 2 ///< cut off straight
};

/// How the ends of a line string, and of each of its dashes, look.
enum GLLineCap : int {
    GLLineCapButt = 0,  ///< cut off at the last point
    GLLineCapRound = 1, ///< half a circle around the last point
    GLLineCapSquare = 2 ///< half the width beyond the last point
};

/// How a line string is drawn. What is out of range is taken as the nearest value that is not; a value that is not a
/// number as the one that stands here.
struct GLLineStyle {
    std::optional<GLRGBAColor> color; ///< without one, the view's current colour
    double opacity = 1.0;             ///< 0 to 1, of line and casing; where a line covers itself it is no darker
    GLSizeUnit unit = GLSizePixels;   ///< of width, casing, dashes and offset
    double width = 1.0;               ///< 0.5 to 256 pixels, fractions too
    GLLineJoin join = GLLineJoinMiter;
    double miterLimit = 4.0; ///< 1 to 100: most that a corner reaches out, in half widths
    GLLineCap cap = GLLineCapButt;
    /// Lengths along the line that are drawn and left out in turn; an odd number of them counts twice. Negative ones
    /// are 0. Without any, or where all together are shorter than half a pixel, the line is solid. The pattern runs on
    /// around corners.
    std::vector<double> dashes;
    double dashPhase = 0.0;   ///< where in the pattern the line begins
    double casingWidth = 0.0; ///< of the casing as a whole, up to 512 pixels; it is solid and shows where wider
    GLRGBAColor casingColor{0, 0, 0, 255};
};

/// Parallel lines that fill a polygon. They meet from one polygon to the next.
struct GLHatchStyle {
    std::optional<GLRGBAColor> color; ///< without one, the view's current colour
    GLSizeUnit unit = GLSizePixels;
    double angleDegrees = 45.0; ///< of the lines, against the clock from the x axis
    double spacing = 8.0;       ///< from line to line, 2 to 4096 pixels
    double width = 1.0;         ///< 0.5 to 256 pixels
};

/// How a polygon is drawn: filled, hatched over that, outlined over both.
struct GLPolygonStyle {
    bool fill = true;
    std::optional<GLRGBAColor> fillColor; ///< without one, the view's current colour
    double opacity = 1.0;                 ///< 0 to 1, of fill and hatch; the outline has its own
    std::optional<GLHatchStyle> hatch;
    std::optional<GLLineStyle> outline;
};

enum GLSymbolKind : int {
    GLSymbolCircle = 0,
    GLSymbolSquare = 1,
    GLSymbolTriangle = 2, ///< points upwards
    GLSymbolDiamond = 3,
    GLSymbolCross = 4, ///< an X
    GLSymbolPlus = 5,
    GLSymbolStar = 6, ///< of five points
    GLSymbolArrow = 7 ///< points upwards
};

/// How a symbol is drawn. Its size is in pixels whatever the zoom, and it stands upright in the window however the map
/// is rotated.
struct GLSymbolStyle {
    std::optional<GLRGBAColor> color; ///< without one, the view's current colour
    double opacity = 1.0;             ///< 0 to 1
    double size = 9.0;                ///< height of the square around it, 1 to 1024 pixels
    double angleDegrees = 0.0;        ///< against the clock
    double outlineWidth = 0.0;        ///< pixels, inwards from the symbol's edge; 0 to half the size
    GLRGBAColor outlineColor{0, 0, 0, 255};
    bool operator==(const GLSymbolStyle&) const = default;
};

} // namespace KTR
