#pragma once

#include "GLAttributes.h"
#include "GLTypes.h"

#include <array>
#include <optional>

namespace KTR {

/// The lighting of a fixed-function context while the library has it: what OpenGL had before, to be put back, and the
/// light that it was given.
struct FixedLighting {
    static constexpr int kCapabilities = 5;
    static constexpr int kLights = 2;
    static constexpr int kLightValues = 5;
    static constexpr int kMaterialValues = 4;
    using Values = std::array<float, 4>;

    bool on = false;
    std::optional<GLLightParameters> sent; ///< in eye coordinates; none where OpenGL has to be told in any case
    std::array<bool, kCapabilities> capabilities{};
    std::array<std::array<Values, kLightValues>, kLights> lights{};
    std::array<std::array<Values, kMaterialValues>, 2> materials{}; ///< front and back
    Values modelAmbient{};
    int shadeModel = 0;
    int colorMaterialFace = 0;
    int colorMaterialParameter = 0;
};

/// A buffer that is filled behind what is drawn from already, and given new storage when it is full.
struct StreamBuffer {
    unsigned int name = 0;
    GLsizeiptr capacity = 0; ///< bytes
    GLsizeiptr used = 0;     ///< bytes
};

/// What a context has for scenes.
struct SceneObjects {
    FixedLighting lighting;
    StreamBuffer vertices;
    StreamBuffer indices;

    /// Whether there is something that would stay behind if it were only forgotten.
    bool HoldsNames() const { return vertices.name != 0 || indices.name != 0; }
};

} // namespace KTR
