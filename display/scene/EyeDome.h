#pragma once

#include "../values/SceneObjects.h"

#include <glm/mat4x4.hpp>

namespace KTR {

class GLCalls;

/// How far a frame's pixels lie, for the shading by depths.
///
/// A neighbour of a pixel is nearer by (z - neighbour's z) × steps / (atFarEnd + slope × (1 - z)) times the size that a
/// pixel has at the neighbour's distance, where z is the pixel's depth, 0 to 1. So it is in parallel projections, and
/// in perspectives, where the inverse of the distance is a line over the depth.
struct DepthScale {
    float atFarEnd = 0.0F;
    float slope = 0.0F;
    float steps = 0.0F;
};

/// `heightPixels` is the viewport's.
DepthScale DepthScaleOf(const glm::dmat4& projection, int heightPixels);

/// Builds the program where there is none and it did not fail before. False when the driver refuses it.
bool BuildEyeDomeProgram(const GLCalls& gl, EyeDomeObjects& objects);
/// Copies the depths of a rectangle of the frame into the texture, which is bound to the first unit afterwards.
void CopyDepths(const GLCalls& gl, EyeDomeObjects& objects, const std::array<int, 4>& viewport);
/// Covers the viewport with the program; what it covers has to be multiplied with its colour.
void DrawEyeDome(const GLCalls& gl, const EyeDomeObjects& objects, const EyeDomeSettings& settings,
                 const DepthScale& scale, const std::array<int, 4>& viewport);
void DeleteEyeDome(const GLCalls& gl, EyeDomeObjects& objects);

} // namespace KTR
