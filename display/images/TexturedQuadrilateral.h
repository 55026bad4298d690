#pragma once

#include "../values/BasicTypes.h"

namespace KTR {

/// A piece of a raster layer: a texture over a quadrilateral.
struct TexturedQuadrilateral {
    unsigned int texture = 0;
    unsigned int sampler = 0; ///< on a 4.x context; 0 leaves the texture's own settings in force
    PointXYZ corners[4];      ///< in order around it, in model coordinates
    GLTexCoords coordinates[4] = {{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}; ///< of the corners
};

} // namespace KTR
