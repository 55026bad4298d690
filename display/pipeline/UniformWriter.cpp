#include "UniformWriter.h"

#include "../platform/GLCalls.h"
#include "StockPrograms.h"

#include <glm/gtc/type_ptr.hpp>

#include <algorithm>
#include <cstring>

namespace KTR {

namespace {

/// In the order of StockUniform.
constexpr const char* kUniformNames[kStockUniformCount] = {
    "ProjectionTimesModelviewMatrix",
    "ModelviewMatrix",
    "NormalMatrix",
    "PointSize",
    "PointSmoothingEnabled",
    "LineStipplePattern",
    "NumberOfBitsInPattern",
    "LineStippleFactor",
    "Viewport",
    "v4LightDirection",
    "v4LightColor",
    "fLightIntensity",
    "fAmbientCoefficient",
    "fTextureTransparency",
    "Texture",
    "FusionMode",
    "fFusionAmount",
    "Depth",
    "BinaryBitmapTexture",
    "CurrentColor",
    "TextColor",
    "HaloColor",
    "FontAtlasTexture",
};

/// OpenGL's stipple patterns have 16 bits.
constexpr unsigned int kStippleBits = 16;

// HACK: Mesa drops a glUniform whose value is what the program has already, also where another context gave it that
// value and this one still draws with the one before: of two views with the same matrix the second shows its old one.
// OpenGL called by hand does the same. A value that differs, written first, makes the update count. Programs of two
// views in turn pay for it with a second call for each uniform, nobody else does.
// LinkedViews_ShowTheSameFrameAfterPanning fails without it.

float OtherThan(float value) {
    return value == 0.0F ? 1.0F : 0.0F;
}

template <typename Matrix> Matrix MatrixOtherThan(const Matrix& matrix) {
    return matrix == Matrix(0.0F) ? Matrix(1.0F) : Matrix(0.0F);
}

glm::vec4 VectorOtherThan(const float* values) {
    return glm::vec4(OtherThan(values[0]));
}

bool AgreeIn(StockUniform uniform, const ProgramUniforms& one, const ProgramUniforms& other) {
    switch (uniform) {
    case UniformPointSize:
        return one.pointSize == other.pointSize;
    case UniformPointSmoothing:
        return one.pointSmoothing == other.pointSmoothing;
    case UniformStipplePattern:
        return one.stipplePattern == other.stipplePattern;
    case UniformStippleFactor:
        return one.stippleFactor == other.stippleFactor;
    case UniformViewport:
        return one.viewport == other.viewport;
    case UniformTextureTransparency:
        return one.textureTransparency == other.textureTransparency;
    case UniformCurrentColor:
        return one.currentColor == other.currentColor;
    case UniformTextColor:
        return one.textColor == other.textColor;
    case UniformHaloColor:
        return one.haloColor == other.haloColor;
    default: // the same always, or matrices and light
        return true;
    }
}

} // namespace

bool AgreeFor(GLShaderTypes slot, const ProgramUniforms& one, const ProgramUniforms& other) {
    const StockProgram& stock = StockProgramOf(slot);
    const bool alike =
        one.projectionTimesModelview == other.projectionTimesModelview &&
        (!stock.lit || (one.modelview == other.modelview && one.normal == other.normal && one.light == other.light));
    return alike && std::all_of(stock.uniforms.begin(), stock.uniforms.end(),
                                [&](StockUniform uniform) { return AgreeIn(uniform, one, other); });
}

void UniformWriter::WriteMatrix(const ProgramUniforms& uniforms) const {
    WriteMatrix(LocationOf(UniformProjectionTimesModelview), uniforms.projectionTimesModelview);
}

void UniformWriter::WriteStockUniforms(GLShaderTypes slot, const ProgramUniforms& uniforms) const {
    const StockProgram& stock = StockProgramOf(slot);
    if (stock.lit) {
        WriteMatrix(LocationOf(UniformModelview), uniforms.modelview);
        WriteMatrix(LocationOf(UniformNormalMatrix), uniforms.normal);
        WriteLight(uniforms.light);
    }
    for (const StockUniform uniform : stock.uniforms) {
        WriteStockUniform(uniform, uniforms);
    }
}

void UniformWriter::WriteStockUniform(StockUniform uniform, const ProgramUniforms& uniforms) const {
    const int location = LocationOf(uniform);
    switch (uniform) {
    case UniformPointSize:
        return Write(location, uniforms.pointSize);
    case UniformPointSmoothing:
        return Write(location, uniforms.pointSmoothing);
    case UniformStipplePattern:
        return Write(location, uniforms.stipplePattern);
    case UniformStippleBits:
        return Write(location, kStippleBits);
    case UniformStippleFactor:
        return Write(location, uniforms.stippleFactor);
    case UniformViewport:
        return WriteVector4(location, glm::value_ptr(uniforms.viewport));
    case UniformTextureTransparency:
        return Write(location, uniforms.textureTransparency);
    case UniformTexture:
    case UniformBitmapTexture:
    case UniformFontAtlasTexture:
        return Write(location, static_cast<int>(kImageUnit));
    case UniformDepth:
        return Write(location, static_cast<int>(kDepthUnit));
    case UniformCurrentColor: {
        const glm::vec4& color = uniforms.currentColor;
        return WriteVector4(location, color.x, color.y, color.z, color.w);
    }
    case UniformTextColor: {
        const glm::vec4& color = uniforms.textColor;
        return WriteVector4(location, color.x, color.y, color.z, color.w);
    }
    case UniformHaloColor: {
        const glm::vec4& color = uniforms.haloColor;
        return WriteVector4(location, color.x, color.y, color.z, color.w);
    }
    default: // matrices and light, which are written before, and what one operation sets for itself
        return;
    }
}

void UniformWriter::WriteLight(const GLLightParameters& light) const {
    WriteVector4(LocationOf(UniformLightDirection), light.direction.data());
    WriteVector4(LocationOf(UniformLightColor), light.color.data());
    Write(LocationOf(UniformLightIntensity), light.intensity);
    Write(LocationOf(UniformAmbientCoefficient), light.ambientCoefficient);
    m_gl.Label(L"BindShaderLightParameters: END");
}

int UniformWriter::LocationOf(StockUniform uniform) const {
    if (m_data.program == 0) {
        return kUniformMissing; // the program could not be built
    }
    int& location = m_data.uniformLocations[static_cast<std::size_t>(uniform)];
    if (location == kUniformNotAsked) {
        location = m_gl.glGetUniformLocation(m_data.program, kUniformNames[uniform]);
    }
    return location;
}

int UniformWriter::LocationOf(const char* name) const {
    for (int uniform = 0; uniform < kStockUniformCount; ++uniform) {
        if (std::strcmp(kUniformNames[uniform], name) == 0) {
            return LocationOf(static_cast<StockUniform>(uniform));
        }
    }
    return m_data.program == 0 ? kUniformMissing : m_gl.glGetUniformLocation(m_data.program, name);
}

/// Samplers have the same unit in every context, so that there is nothing to lose.
void UniformWriter::Write(int location, int value) const {
    if (location >= 0) {
        m_gl.As(L"BindUniform1i: END").glUniform1i(location, value);
    }
}

void UniformWriter::Write(int location, unsigned int value) const {
    if (location < 0) {
        return;
    }
    const GLCalls gl = m_gl.As(L"BindUniform1ui: END");
    if (m_takenOver) {
        gl.glUniform1ui(location, ~value);
    }
    gl.glUniform1ui(location, value);
}

void UniformWriter::Write(int location, float value) const {
    if (location < 0) {
        return;
    }
    const GLCalls gl = m_gl.As(L"BindUniform1f: END");
    if (m_takenOver) {
        gl.glUniform1f(location, OtherThan(value));
    }
    gl.glUniform1f(location, value);
}

void UniformWriter::WriteVector3(int location, const float* values) const {
    if (location < 0) {
        return;
    }
    const GLCalls gl = m_gl.As(L"BindUniform3fv: END");
    if (m_takenOver) {
        gl.glUniform3fv(location, 1, glm::value_ptr(VectorOtherThan(values)));
    }
    gl.glUniform3fv(location, 1, values);
}

void UniformWriter::WriteVector4(int location, const float* values) const {
    if (location < 0) {
        return;
    }
    const GLCalls gl = m_gl.As(L"BindUniform4fv: END");
    if (m_takenOver) {
        gl.glUniform4fv(location, 1, glm::value_ptr(VectorOtherThan(values)));
    }
    gl.glUniform4fv(location, 1, values);
}

void UniformWriter::WriteVector4(int location, float x, float y, float z, float w) const {
    if (location < 0) {
        return;
    }
    const GLCalls gl = m_gl.As(L"BindUniform4f: END");
    if (m_takenOver) {
        const float other = OtherThan(x);
        gl.glUniform4f(location, other, other, other, other);
    }
    gl.glUniform4f(location, x, y, z, w);
}

void UniformWriter::WriteMatrix(int location, const glm::mat4& matrix) const {
    if (location < 0) {
        return;
    }
    if (m_takenOver) {
        m_gl.glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(MatrixOtherThan(matrix)));
    }
    m_gl.glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(matrix));
}

void UniformWriter::WriteMatrix(int location, const glm::mat3& matrix) const {
    if (location < 0) {
        return;
    }
    if (m_takenOver) {
        m_gl.glUniformMatrix3fv(location, 1, GL_FALSE, glm::value_ptr(MatrixOtherThan(matrix)));
    }
    m_gl.glUniformMatrix3fv(location, 1, GL_FALSE, glm::value_ptr(matrix));
}

} // namespace KTR
