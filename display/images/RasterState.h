#pragma once

#include "DataColors.h"

namespace KTR {

/// What a view keeps for rasters: the colours of the style that it used last, which take longer to make than a small
/// raster to convert.
struct RasterState {
    explicit RasterState(const GLDataStyle& used) : style(used), colors(used) {}

    GLDataStyle style;
    DataColors colors;
};

} // namespace KTR
