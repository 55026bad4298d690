#pragma once

#include "BasicTypes.h"
#include "MatrixStack.h"

#include <array>

namespace KTR {

/// The light of a context, as the shaders and the fixed-function pipeline take it.
struct GLLightParameters {
    /// Towards the light, of any length; the fourth is not used. Whoever passes it on says in which coordinates.
    std::array<float, 4> direction{0.0F, 0.0F, 1.0F, 0.0F};
    std::array<float, 4> color{1.0F, 1.0F, 1.0F, 1.0F};
    float intensity = 4.0F;          ///< 4.0 is what hosts show as 50 %
    float ambientCoefficient = 0.2F; ///< share of the colour that needs no light, 0 to 1
    bool operator==(const GLLightParameters&) const = default;
};

/// How the colours of images are changed while they are loaded.
struct GLImageAdjustment {
    float contrast = 1.0F;   ///< 0, all grey, and up; 1 as they are
    float brightness = 0.0F; ///< -1, all black, to 1, all white
    float gamma = 1.0F;      ///< above 1 lightens the middle; 0.01 to 100
    bool operator==(const GLImageAdjustment&) const = default;
};

/// Number of capability flags in GLAttributes; only some positions carry a capability.
inline constexpr int kCapabilityFlags = 30;

/// The CPU copy of one context's GL state. A plain value: it can be copied, compared and pushed on a ring.
struct GLAttributes {
    std::array<bool, kCapabilityFlags> capabilities{}; ///< see CapabilityFlagPosition
    unsigned int blendSource = 0;                      ///< GL enum
    unsigned int blendDestination = 0;                 ///< GL enum
    GLLightParameters light{};
    bool lightInModel = false;     ///< the light's direction is one in model coordinates, not in eye coordinates
    bool headlight = false;        ///< the light shines from the eye, whatever its direction says
    bool currentColorFlag = false; ///< last argument of SetCurrentColor
    GLRGBAColor currentColor{};
    unsigned int readBuffer = 0;
    unsigned int matrixMode = 0;
    unsigned int polygonModeFace = 0;
    unsigned int polygonMode = 0;
    unsigned int logicOp = 0;
    float lineWidth = 0.0F;
    float pointSize = 0.0F;
    float textureTransparency = 0.0F; ///< 0 (invisible) to 1
    unsigned char textTransparency = 0;
    int noDataIsTransparent = 0; ///< boolean
    int applyNoDataColor = 0;    ///< boolean
    bool noDataMarked = false;   ///< images have pixels without data, of the colour `noDataMarker`
    GLRGBAColor noDataMarker{};
    int noDataTolerance = 0;   ///< levels that a channel may be off the marker
    GLRGBAColor noDataPaint{}; ///< what they show where they are not transparent
    GLImageAdjustment imageAdjustment{};
    std::array<int, 4> viewport{}; ///< x, y, width, height in window pixels
    /// Numbers without a settled meaning, 1 in a new record: saved and restored with the rest, and nothing reads them.
    std::array<float, 3> reserved{};
    int lineStippleFactor = 0;             ///< 1 to 256
    unsigned short lineStipplePattern = 0; ///< low bit first
    std::array<double, 3> rasterPosition{};
    bool operator==(const GLAttributes&) const = default;
};

/// A bounded stack of attribute sets with the rules of CircularMatrixStack.
struct CircularAttributeStack {
    int count = 0;
    int top = -1;
    GLAttributes entries[kStackDepth];
};

/// Position of `capability` among GLAttributes::capabilities, or -1 when it is not tracked.
ORRIN_DISPLAY_API int CapabilityFlagPosition(unsigned int capability);

/// The attributes that a context record starts with.
ORRIN_DISPLAY_API GLAttributes DefaultGLAttributes();

} // namespace KTR
