#pragma once

#include <array>

namespace KTR {

/// The stock programs. The value is also the program's place in the ShaderSet.
enum GLShaderTypes : int {
    GLShaderUnknown = -1, ///< no stock program is known to be bound
    GLShaderPoint = 0,
    GLShaderPointSmooth = 1,
    GLShaderLine = 2,
    GLShaderLineContour = 3,
    GLShaderLineStipple = 4,
    GLShaderColorPassThrough = 5,
    GLShaderShadedColor3Stage = 6,
    GLShaderShadedTexture = 7,
    GLShaderTextureDecal = 8,
    GLShaderTextureDecalFusion = 9,
    GLShaderTextureBitmap = 10,
    GLShaderText = 11,
    GLShaderBackingStore = 12,
};

/// Number of stock programs.
inline constexpr int kShaderCount = 13;

/// The four inputs of a vertex; the value is the location that every stock program gives it.
enum VertexAttribBufferType : int {
    VertexAttribPosition = 0,
    VertexAttribNormal = 1,
    VertexAttribTexture = 2,
    VertexAttribColor = 3,
};

/// The uniforms of the stock programs; the value is the place of the location in ShaderData.
enum StockUniform : int {
    UniformProjectionTimesModelview,
    UniformModelview,
    UniformNormalMatrix,
    UniformPointSize,
    UniformPointSmoothing,
    UniformStipplePattern,
    UniformStippleBits,
    UniformStippleFactor,
    UniformViewport,
    UniformLightDirection,
    UniformLightColor,
    UniformLightIntensity,
    UniformAmbientCoefficient,
    UniformTextureTransparency,
    UniformTexture,
    UniformFusionMode,
    UniformFusionAmount,
    UniformDepth,
    UniformBitmapTexture,
    UniformCurrentColor,
    UniformTextColor,
    UniformHaloColor,
    UniformFontAtlasTexture,
};

inline constexpr int kStockUniformCount = UniformFontAtlasTexture + 1;

/// A uniform that the program was not asked for yet, and one that it lacks.
inline constexpr int kUniformNotAsked = -2;
inline constexpr int kUniformMissing = -1;

/// Every location not asked for yet.
constexpr std::array<int, kStockUniformCount> UnaskedUniformLocations() {
    std::array<int, kStockUniformCount> locations{};
    for (int& location : locations) {
        location = kUniformNotAsked;
    }
    return locations;
}

/// One linked program and what is known of it.
struct ShaderData {
    unsigned int program = 0; ///< GL name; 0 when the program does not exist
    unsigned int type = 0;
    unsigned int drawMode = 0;
    int positionLocation = 0;
    int normalLocation = 0;
    int textureLocation = 0;
    int colorLocation = 0;
    unsigned int vertexShader = 0;
    unsigned int fragmentShader = 0;
    unsigned int tessControlShader = 0;
    unsigned int tessEvaluationShader = 0;
    unsigned int geometryShader = 0;
    unsigned int computeShader = 0;
    std::array<int, kStockUniformCount> uniformLocations = UnaskedUniformLocations();
    /// Number of the context whose values the program's uniforms hold, 0 for none: they belong to the program, which
    /// all contexts share, so another context's draw has overwritten them when the number is not one's own.
    unsigned long long uniformsOfContext = 0;
};

/// The stock programs of the process, indexed by GLShaderTypes.
struct ShaderSet {
    ShaderData programs[kShaderCount];
};

} // namespace KTR
