#include "LightDirection.h"

#include <glm/geometric.hpp>
#include <glm/mat3x3.hpp>
#include <glm/matrix.hpp>

#include <cmath>

namespace KTR {

namespace {

/// Where the axes of the model point in eye coordinates, each of length one.
glm::dmat3 AxesOfModel(const glm::dmat4& modelview) {
    glm::dmat3 axes(modelview);
    for (int axis = 0; axis < 3; ++axis) {
        const double length = glm::length(axes[axis]);
        if (length > 0.0) {
            axes[axis] /= length;
        }
    }
    return axes;
}

} // namespace

glm::dvec3 DirectionToEye(const glm::dvec3& direction, const glm::dmat4& modelview) {
    return AxesOfModel(modelview) * direction;
}

glm::dvec3 DirectionToModel(const glm::dvec3& direction, const glm::dmat4& modelview) {
    const glm::dmat3 axes = AxesOfModel(modelview);
    return std::abs(glm::determinant(axes)) > 0.0 ? glm::inverse(axes) * direction : direction;
}

GLLightParameters LightInEyeCoordinates(const GLAttributes& attributes, const glm::dmat4& modelview) {
    GLLightParameters light = attributes.light;
    if (attributes.headlight) {
        light.direction = {0.0F, 0.0F, 1.0F, 0.0F};
    } else if (attributes.lightInModel) {
        const auto& [x, y, z, w] = light.direction;
        const glm::dvec3 eye = DirectionToEye({x, y, z}, modelview);
        light.direction = {static_cast<float>(eye.x), static_cast<float>(eye.y), static_cast<float>(eye.z), 0.0F};
    }
    return light;
}

} // namespace KTR
