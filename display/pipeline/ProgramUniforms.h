#pragma once

#include "../values/GLAttributes.h"

#include <glm/mat3x3.hpp>
#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>

namespace KTR {

/// What a context gives a stock program, kept so that it can be given again after another context has used the program.
struct ProgramUniforms {
    glm::mat4 projectionTimesModelview{1.0F};
    glm::mat4 modelview{1.0F};
    glm::mat3 normal{1.0F};      ///< normals from model to eye coordinates
    float pointSize = 1.0F;      ///< pixels
    float pointSmoothing = 0.0F; ///< 0 or 1
    unsigned int stipplePattern = 0xFFFF;
    float stippleFactor = 1.0F; ///< pixels of one bit
    glm::vec4 viewport{0.0F};   ///< x, y, width, height in pixels
    GLLightParameters light{};
    float textureTransparency = 1.0F;
    glm::vec4 currentColor{0.0F};
    glm::vec4 textColor{0.0F};
    glm::vec4 haloColor{0.0F}; ///< alpha 0 while strings have no halo
};

} // namespace KTR
