#pragma once

#include "../values/BasicTypes.h"
#include "../values/MatrixStack.h"

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include <array>
#include <optional>

namespace KTR {

/// How strings are drawn from now on.
struct TextLook {
    GLRGBAColor haloColor{};
    double haloWidth = 0.0; ///< pixels; 0 for none
    bool shaping = false;

    bool HasHalo() const { return haloWidth > 0.0 && haloColor.a != 0; }
};

/// Everything that decides how strings look while the text program is bound. Strings that agree in it share a draw.
struct TextBinding {
    unsigned int texture = 0;
    unsigned int sampler = 0;            ///< 0 where glyphs are scaled or rotated: the texture's own filter holds
    unsigned long long fontTextures = 0; ///< FontTextureChanges: names are used again
    glm::dmat4 modelview{1.0};
    glm::dmat4 projection{1.0};
    std::array<int, 4> viewport{};
    bool mapsToPixels = true; ///< what the matrices and the viewport come to
    GLRGBAColor color{};
    GLRGBAColor haloColor{}; ///< alpha 0 without a halo
    unsigned char transparency = 0;
    bool operator==(const TextBinding&) const = default;
};

/// What a setup of text changes, for its teardown.
struct TextSetup {
    int textureWasOn = 0;
    int blendWasOn = 0;
    unsigned int savedBlendDestination = 0;
    unsigned int savedBlendSource = 0;
    std::optional<glm::dmat4> replacedProjection; ///< by the pixel projection
    std::optional<glm::dmat4> replacedModelview;  ///< by the frame of DrawSetupText, where it is not on the stack
};

/// The setups that no teardown has ended yet, the innermost on top. A bounded stack.
struct TextSetupStack {
    int count = 0;
    int top = -1;
    TextSetup entries[kStackDepth];
};

/// What a view keeps of text.
struct TextState {
    TextSetupStack setups;
    // What the last setup was given; the two numbers and the value are the host's.
    unsigned char pixelProjection = 0;
    unsigned char clientState = 0;
    unsigned int value = 0;
    double a = 0.0;
    double b = 0.0;
    TextLook look;
    int currentFont = 0; ///< the manager's index when this view last chose a font
    TextBinding bound;
    glm::dvec3 origin{0.0};   ///< in the batch positions are relative to this place of the model
    bool originShows = false; ///< it lies in the view or near it

    /// Whether strings may wait for others.
    bool IsRunOpen() const { return setups.count > 0; }
    /// Between DrawSetupText and its teardown on a fixed-function context.
    bool IsInFrame() const { return IsRunOpen() && setups.entries[setups.top].replacedModelview.has_value(); }
};

} // namespace KTR
