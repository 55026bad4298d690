#pragma once

#include "RasterTypes.h"
#include "TexturedQuadrilateral.h"

#include <span>

namespace KTR {

class COpenGLView;

/// A piece of a raster layer under a piece of a second one.
struct FusedQuadrilateral : TexturedQuadrilateral {
    unsigned int fusionTexture = 0;
    unsigned int fusionSampler = 0;   ///< as `sampler`
    GLTexCoords fusionCoordinates[4]; ///< of the corners, in the second texture
};

/// Draws several, all of which have both textures and `corners` that are near `origin`: one set-up for all. The view's
/// context has to be current. `amount` is 0 to 1.
void DrawFusedQuadrilaterals(COpenGLView& view, std::span<const FusedQuadrilateral> quadrilaterals, GLFusionMode mode,
                             double amount);

} // namespace KTR
