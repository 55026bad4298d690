#pragma once

#include "GLAttributes.h"

namespace KTR {

/// Turns a direction of model coordinates to eye coordinates. A model-view matrix that scales the axes differently, as
/// one does that exaggerates heights, turns it as if it scaled them alike: the sun keeps its altitude over what is
/// drawn.
glm::dvec3 DirectionToEye(const glm::dvec3& direction, const glm::dmat4& modelview);
/// The inverse. A direction stays as it is where the matrix has none.
glm::dvec3 DirectionToModel(const glm::dvec3& direction, const glm::dmat4& modelview);

/// The light with its direction in eye coordinates, as the pipelines want it.
GLLightParameters LightInEyeCoordinates(const GLAttributes& attributes, const glm::dmat4& modelview);

} // namespace KTR
