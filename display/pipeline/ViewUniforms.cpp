#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
#include "ForcedState.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_inverse.hpp>
#include <glm/gtc/type_ptr.hpp>

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
    "Depth",
    "BinaryBitmapTexture",
    "CurrentColor",
    "TextColor",
    "FontAtlasTexture",
};

/// OpenGL's stipple patterns have 16 bits.
constexpr unsigned int kStippleBits = 16;

/// Texture units that the stock programs read.
constexpr int kImageUnit = 0;
constexpr int kDepthUnit = 1;

constexpr float kByteToFloat = 1.0F / 255.0F;

glm::vec4 FloatColor(const GLRGBAColor& color, float alpha) {
    return {static_cast<float>(color.r) * kByteToFloat, static_cast<float>(color.g) * kByteToFloat,
            static_cast<float>(color.b) * kByteToFloat, alpha};
}

bool UsesLight(GLShaderTypes type) {
    return type == GLShaderShadedColor3Stage || type == GLShaderShadedTexture;
}

} // namespace

long COpenGLView::BindMatricesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type) {
    BindMatrices(context, type, m_gShaderSet.programs[type]);
    return S_OK;
}

long COpenGLView::BindShaderLightParameters(ShaderData& data, const GLLightParameters& light) {
    Uniform4fv(LocationOf(data, UniformLightDirection), light.direction.data());
    Uniform4fv(LocationOf(data, UniformLightColor), light.color.data());
    Uniform1f(LocationOf(data, UniformLightIntensity), light.intensity);
    Uniform1f(LocationOf(data, UniformAmbientCoefficient), light.ambientCoefficient);
    outputGlError(L"BindShaderLightParameters: END");
    return S_OK;
}

long COpenGLView::BindFontAtlasTexture() {
    outputGlError(L"BindFontAtlasTexture: BEGIN");
    const GLRenderingContextRecord& record = CurrentRecord();
    if (record.objects.fontAtlasTexture != 0) {
        BindImage(record.objects.fontAtlasTexture, record.objects.fontAtlasSampler);
    }
    return S_OK;
}

long COpenGLView::BindUniform1i(ShaderData& data, const char* name, int value) {
    Uniform1i(LocationOf(data, name), value);
    return S_OK;
}

long COpenGLView::BindUniform1ui(ShaderData& data, const char* name, unsigned int value) {
    Uniform1ui(LocationOf(data, name), value);
    return S_OK;
}

long COpenGLView::BindUniform1f(ShaderData& data, const char* name, float value) {
    Uniform1f(LocationOf(data, name), value);
    return S_OK;
}

long COpenGLView::BindUniform3fv(ShaderData& data, const char* name, const float* values) {
    const int location = LocationOf(data, name);
    if (location >= 0) {
        CallGL().As(L"BindUniform3fv: END").glUniform3fv(location, 1, values);
    }
    return S_OK;
}

long COpenGLView::BindUniform4f(ShaderData& data, const char* name, float x, float y, float z, float w) {
    Uniform4f(LocationOf(data, name), {x, y, z, w});
    return S_OK;
}

long COpenGLView::BindUniform4fv(ShaderData& data, const char* name, const float* values) {
    Uniform4fv(LocationOf(data, name), values);
    return S_OK;
}

void COpenGLView::SetPolygonFillMode(GLShaderTypes type) {
    // Pictures and glyphs are quads that stand for something else: their outlines are never meant.
    const bool forced = type >= GLShaderTextureDecal;
    GLRenderingContextRecord& record = CurrentRecord();
    if (forced == record.objects.fillForced) {
        return;
    }
    record.objects.fillForced = forced;
    if (record.attributes.polygonMode != GL_FILL && record.attributes.polygonModeFace != 0) {
        CallGL().glPolygonMode(record.attributes.polygonModeFace, forced ? GL_FILL : record.attributes.polygonMode);
    }
}

void COpenGLView::DrawSetupSetShaderTexture(unsigned int texture, unsigned int sampler) {
    m_textureRequest.shaderTexture = texture;
    m_textureRequest.shaderSampler = sampler;
}

void COpenGLView::DrawSetupTextureTransparency(unsigned char transparency) {
    CurrentRecord().attributes.textureTransparency = static_cast<float>(transparency) * kByteToFloat;
}

/// Gives the program the matrices of a context; the current program must be that of `data`.
void COpenGLView::BindMatrices(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    outputGlError(L"BindMatricesToShaderProgram: BEGIN");
    ProgramUniforms& uniforms = m_contexts[context].objects.boundUniforms;
    const MatrixSet& matrices = MathOf(context).Matrices();
    // The product is formed in double precision: large translations in the two matrices cancel before they are rounded.
    uniforms.projectionTimesModelview = glm::mat4(matrices.projection * matrices.modelview);
    if (UsesLight(type)) {
        uniforms.modelview = glm::mat4(matrices.modelview);
        uniforms.normal = glm::mat3(glm::inverseTranspose(glm::dmat3(matrices.modelview)));
    }
    SendMatrix(data, uniforms);
    outputGlError(L"BindMatricesToShaderProgram: END");
}

/// Takes from the context's state what the program `type` wants, beside the matrices.
void COpenGLView::GatherUniforms(GLRenderingContextTypes context) {
    GLRenderingContextRecord& record = m_contexts[context];
    const GLAttributes& attributes = record.attributes;
    ProgramUniforms& uniforms = record.objects.boundUniforms;
    uniforms.pointSize = attributes.pointSize;
    uniforms.pointSmoothing = IsOpenGLStateEnabled(GL_POINT_SMOOTH) ? 1.0F : 0.0F;
    uniforms.stipplePattern = attributes.lineStipplePattern;
    uniforms.stippleFactor = static_cast<float>(attributes.lineStippleFactor);
    uniforms.viewport = {attributes.viewport[0], attributes.viewport[1], attributes.viewport[2],
                         attributes.viewport[3]};
    uniforms.light = attributes.light;
    uniforms.textureTransparency = attributes.textureTransparency;
    const float alpha = static_cast<float>(attributes.currentColor.a) * kByteToFloat;
    uniforms.currentColor = FloatColor(attributes.currentColor, alpha);
    uniforms.textColor =
        FloatColor(attributes.currentColor, alpha * static_cast<float>(attributes.textTransparency) * kByteToFloat);
}

void COpenGLView::SendMatrix(ShaderData& data, const ProgramUniforms& uniforms) {
    const int location = LocationOf(data, UniformProjectionTimesModelview);
    if (location >= 0) {
        CallGL().glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(uniforms.projectionTimesModelview));
    }
}

/// Gives the program in use what its type wants, beside the matrix that all of them have.
void COpenGLView::SendUniforms(GLShaderTypes type, ShaderData& data, const ProgramUniforms& uniforms) {
    switch (type) {
    case GLShaderPoint:
        Uniform1f(LocationOf(data, UniformPointSize), uniforms.pointSize);
        break;
    case GLShaderPointSmooth:
        Uniform1f(LocationOf(data, UniformPointSize), uniforms.pointSize);
        Uniform1f(LocationOf(data, UniformPointSmoothing), uniforms.pointSmoothing);
        break;
    case GLShaderLineStipple:
        Uniform1ui(LocationOf(data, UniformStipplePattern), uniforms.stipplePattern);
        Uniform1ui(LocationOf(data, UniformStippleBits), kStippleBits);
        Uniform1f(LocationOf(data, UniformStippleFactor), uniforms.stippleFactor);
        Uniform4fv(LocationOf(data, UniformViewport), glm::value_ptr(uniforms.viewport));
        break;
    case GLShaderShadedColor3Stage:
        SendLitSurface(data, uniforms);
        break;
    case GLShaderShadedTexture:
        SendLitSurface(data, uniforms);
        Uniform1f(LocationOf(data, UniformTextureTransparency), uniforms.textureTransparency);
        Uniform1i(LocationOf(data, UniformTexture), kImageUnit);
        break;
    case GLShaderTextureDecal:
    case GLShaderTextureDecalFusion:
        Uniform1f(LocationOf(data, UniformTextureTransparency), uniforms.textureTransparency);
        Uniform1i(LocationOf(data, UniformTexture), kImageUnit);
        break;
    case GLShaderTextureBitmap:
        Uniform1i(LocationOf(data, UniformBitmapTexture), kImageUnit);
        Uniform4f(LocationOf(data, UniformCurrentColor), uniforms.currentColor);
        break;
    case GLShaderText:
        Uniform4f(LocationOf(data, UniformTextColor), uniforms.textColor);
        Uniform1i(LocationOf(data, UniformFontAtlasTexture), kImageUnit);
        break;
    case GLShaderBackingStore:
        Uniform1i(LocationOf(data, UniformTexture), kImageUnit);
        Uniform1i(LocationOf(data, UniformDepth), kDepthUnit);
        break;
    default:
        break;
    }
}

void COpenGLView::SendLitSurface(ShaderData& data, const ProgramUniforms& uniforms) {
    const GLCalls gl = CallGL();
    if (const int location = LocationOf(data, UniformModelview); location >= 0) {
        gl.glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(uniforms.modelview));
    }
    if (const int location = LocationOf(data, UniformNormalMatrix); location >= 0) {
        gl.glUniformMatrix3fv(location, 1, GL_FALSE, glm::value_ptr(uniforms.normal));
    }
    BindShaderLightParameters(data, uniforms.light);
}

/// State of the context, not of the program, that the program `type` draws wrong without.
void COpenGLView::PrepareContextFor(GLShaderTypes type) {
    ForceStateFor(*this, type);
    switch (type) {
    case GLShaderShadedTexture:
    case GLShaderTextureDecal:
    case GLShaderTextureDecalFusion:
    case GLShaderTextureBitmap:
    case GLShaderBackingStore:
        BindImage(m_textureRequest.shaderTexture, m_textureRequest.shaderSampler);
        break;
    case GLShaderText:
        BindFontAtlasTexture();
        break;
    default:
        break;
    }
}

/// Makes the programs read `texture` through `sampler`; without a sampler the texture's own settings hold.
void COpenGLView::BindImage(unsigned int texture, unsigned int sampler) {
    const GLCalls gl = CallGL();
    gl.glActiveTexture(GL_TEXTURE0 + kImageUnit);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glBindSampler(kImageUnit, sampler);
}

int COpenGLView::LocationOf(ShaderData& data, StockUniform uniform) {
    int& location = data.uniformLocations[static_cast<std::size_t>(uniform)];
    if (location == kUniformNotAsked) {
        location = CallGL().glGetUniformLocation(data.program, kUniformNames[uniform]);
    }
    return location;
}

int COpenGLView::LocationOf(ShaderData& data, const char* name) {
    for (int uniform = 0; uniform < kStockUniformCount; ++uniform) {
        if (std::strcmp(kUniformNames[uniform], name) == 0) {
            return LocationOf(data, static_cast<StockUniform>(uniform));
        }
    }
    return CallGL().glGetUniformLocation(data.program, name);
}

void COpenGLView::Uniform1i(int location, int value) {
    if (location >= 0) {
        CallGL().As(L"BindUniform1i: END").glUniform1i(location, value);
    }
}

void COpenGLView::Uniform1ui(int location, unsigned int value) {
    if (location >= 0) {
        CallGL().As(L"BindUniform1ui: END").glUniform1ui(location, value);
    }
}

void COpenGLView::Uniform1f(int location, float value) {
    if (location >= 0) {
        CallGL().As(L"BindUniform1f: END").glUniform1f(location, value);
    }
}

void COpenGLView::Uniform4f(int location, const glm::vec4& value) {
    if (location >= 0) {
        CallGL().As(L"BindUniform4f: END").glUniform4f(location, value.x, value.y, value.z, value.w);
    }
}

void COpenGLView::Uniform4fv(int location, const float* values) {
    if (location >= 0) {
        CallGL().As(L"BindUniform4fv: END").glUniform4fv(location, 1, values);
    }
}

} // namespace KTR
