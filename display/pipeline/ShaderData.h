#pragma once

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
    unsigned int vertexArray = 0;
};

/// The stock programs of the process, indexed by GLShaderTypes.
struct ShaderSet {
    ShaderData programs[kShaderCount];
};

} // namespace KTR
