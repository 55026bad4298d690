#pragma once

namespace KTR {

/// How a second image over the same ground changes the first. `amount` and the second image's own opacity say how much
/// of it counts; the opacity of what is drawn stays the first image's.
enum GLFusionMode : int {
    GLFusionBlend = 0,    ///< towards the second image's colours
    GLFusionMultiply = 1, ///< times its colours, which darkens: a hillshade over a satellite image
    GLFusionAdd = 2,      ///< plus its colours, which lightens
};

} // namespace KTR
