#pragma once

#include "../values/BasicTypes.h"

#include <vector>

namespace KTR {

/// How a second image over the same ground changes the first. `amount` and the second image's own opacity say how much
/// of it counts; the opacity of what is drawn stays the first image's.
enum GLFusionMode : int {
    GLFusionBlend = 0,    ///< towards the second image's colours
    GLFusionMultiply = 1, ///< times its colours, which darkens: a hillshade over a satellite image
    GLFusionAdd = 2,      ///< plus its colours, which lightens
};

/// Which entries of the texture cache count as the oldest, and go first.
enum GLTextureCacheOrder : int {
    GLTextureCacheByAddition = 0, ///< those that were added first
    GLTextureCacheByUse = 1,      ///< those that were found longest ago
};

/// Where the pixels of a raster lie in the model: column and row, counted from the outer corner of the upper left
/// pixel, are multiplied by these steps. The six numbers of a world file, whose origin is that pixel's centre.
struct GLRasterPlacement {
    double columnX = 1.0; ///< what x gains from one column to the next
    double columnY = 0.0;
    double rowX = 0.0;
    double rowY = -1.0; ///< rows go south where north is above
    double originX = 0.0;
    double originY = 0.0;
};

/// A rectangle of a level of a raster, row 0 the upper one. Level 0 is the raster itself; each further level has half
/// as many pixels each way, rounded up, and each of its pixels is the mean of the 2 × 2, or what there is of them,
/// below it.
struct GLRasterWindow {
    int level = 0;
    int x = 0; ///< first column
    int y = 0; ///< first row
    int width = 0;
    int height = 0;
    bool operator==(const GLRasterWindow&) const = default;
};

/// A colour at a place of a ramp.
struct GLColorStop {
    double position = 0.0; ///< 0 at the low end of the range to 1 at the high end
    GLRGBAColor color{};
};

/// How the values of a data raster (elevations, temperatures, counts) become colours.
struct GLDataStyle {
    /// The values that the ramp begins and ends at; what is beyond takes the colour of the nearer end. With `high`
    /// below `low` the ramp is reversed; where they are equal, what is above takes the last colour.
    double low = 0.0;
    double high = 1.0;
    /// Above 1 the middle of the range moves towards the end of the ramp, below 1 towards its beginning; 0.01 to 100.
    double gamma = 1.0;
    /// In any order; between two of them the colours go over into each other, and two at one position are a step.
    /// Without any the ramp goes from black to white.
    std::vector<GLColorStop> stops{};
    /// Values that mean nothing, within the tolerance on either side. What is no number always means nothing.
    bool hasNoData = false;
    double noData = 0.0;
    double noDataTolerance = 0.0;
    GLRGBAColor noDataColor{}; ///< what they show; nothing as it stands
};

} // namespace KTR
