#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
#include "StockPrograms.h"
#include "UniformWriter.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_inverse.hpp>

namespace KTR {

namespace {

/// Texture unit that the stock programs read images and glyphs from.
constexpr unsigned int kImageUnit = 0;

constexpr float kByteToFloat = 1.0F / 255.0F;

glm::vec4 FloatColor(const GLRGBAColor& color, float alpha) {
    return {static_cast<float>(color.r) * kByteToFloat, static_cast<float>(color.g) * kByteToFloat,
            static_cast<float>(color.b) * kByteToFloat, alpha};
}

/// Makes the programs read `texture` through `sampler`; without a sampler the texture's own settings hold.
void BindImage(const GLCalls& gl, unsigned int texture, unsigned int sampler) {
    gl.glActiveTexture(GL_TEXTURE0 + kImageUnit);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glBindSampler(kImageUnit, sampler);
}

} // namespace

long COpenGLView::BindMatricesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type) {
    if (!IsStockProgram(type)) {
        return E_INVALIDARG;
    }
    const GLCalls gl = CallGL();
    BindMatrices(context, type, gl, UniformWriter(gl, m_gShaderSet.programs[type], false));
    return S_OK;
}

long COpenGLView::BindShaderLightParameters(ShaderData& data, const GLLightParameters& light) {
    UniformWriter(CallGL(), data, false).WriteLight(light);
    return S_OK;
}

long COpenGLView::BindFontAtlasTexture() {
    const GLCalls gl = CallGL();
    gl.Label(L"BindFontAtlasTexture: BEGIN");
    const ContextObjects& objects = CurrentObjects();
    if (objects.fontAtlasTexture != 0) {
        BindImage(gl, objects.fontAtlasTexture, objects.fontAtlasSampler);
    }
    return S_OK;
}

long COpenGLView::BindUniform1i(ShaderData& data, const char* name, int value) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.Write(writer.LocationOf(name), value);
    return S_OK;
}

long COpenGLView::BindUniform1ui(ShaderData& data, const char* name, unsigned int value) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.Write(writer.LocationOf(name), value);
    return S_OK;
}

long COpenGLView::BindUniform1f(ShaderData& data, const char* name, float value) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.Write(writer.LocationOf(name), value);
    return S_OK;
}

long COpenGLView::BindUniform3fv(ShaderData& data, const char* name, const float* values) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.WriteVector3(writer.LocationOf(name), values);
    return S_OK;
}

long COpenGLView::BindUniform4f(ShaderData& data, const char* name, float x, float y, float z, float w) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.WriteVector4(writer.LocationOf(name), x, y, z, w);
    return S_OK;
}

long COpenGLView::BindUniform4fv(ShaderData& data, const char* name, const float* values) {
    const GLCalls gl = CallGL();
    const UniformWriter writer(gl, data, false);
    writer.WriteVector4(writer.LocationOf(name), values);
    return S_OK;
}

void COpenGLView::SetPolygonFillMode(GLShaderTypes type) {
    const bool forced = IsStockProgram(type) && StockProgramOf(type).alwaysFilled;
    ContextObjects& objects = CurrentObjects();
    if (forced == objects.fillForced) {
        return;
    }
    objects.fillForced = forced;
    const GLAttributes& attributes = CurrentRecord().attributes;
    if (attributes.polygonMode != GL_FILL && attributes.polygonModeFace != 0) {
        CallGL().glPolygonMode(attributes.polygonModeFace, forced ? GL_FILL : attributes.polygonMode);
    }
}

void COpenGLView::DrawSetupSetShaderTexture(unsigned int texture, unsigned int sampler) {
    m_textureRequest.shaderTexture = texture;
    m_textureRequest.shaderSampler = sampler;
}

void COpenGLView::DrawSetupTextureTransparency(unsigned char transparency) {
    CurrentRecord().attributes.textureTransparency = static_cast<float>(transparency) * kByteToFloat;
}

/// Gives the program the matrices of a context; the current program must be the writer's.
void COpenGLView::BindMatrices(GLRenderingContextTypes context, GLShaderTypes type, const GLCalls& gl,
                               const UniformWriter& writer) {
    gl.Label(L"BindMatricesToShaderProgram: BEGIN");
    ProgramUniforms& uniforms = CurrentObjects().boundUniforms;
    const MatrixSet& matrices = MathOf(context).Matrices();
    // The product is formed in double precision: large translations in the two matrices cancel before they are rounded.
    uniforms.projectionTimesModelview = glm::mat4(matrices.projection * matrices.modelview);
    if (StockProgramOf(type).lit) {
        uniforms.modelview = glm::mat4(matrices.modelview);
        uniforms.normal = glm::mat3(glm::inverseTranspose(glm::dmat3(matrices.modelview)));
    }
    writer.WriteMatrix(uniforms);
    gl.Label(L"BindMatricesToShaderProgram: END");
}

/// Takes from a context's state what programs want, beside the matrices.
void COpenGLView::GatherUniforms(GLRenderingContextTypes context, ProgramUniforms& uniforms) const {
    const GLAttributes& attributes = m_contexts[context].attributes;
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

/// State of the context, not of the program, that the program `type` draws wrong without.
void COpenGLView::PrepareContextFor(GLShaderTypes type) {
    const StockProgram& stock = StockProgramOf(type);
    if (stock.points) {
        if (!IsOpenGLStateEnabled(GL_PROGRAM_POINT_SIZE)) {
            Enable(GL_PROGRAM_POINT_SIZE);
        }
        SetPointSprites(stock.pointSprites);
    }
    if (stock.texture == ProgramTexture::Image) {
        BindImage(CallGL(), m_textureRequest.shaderTexture, m_textureRequest.shaderSampler);
    } else if (stock.texture == ProgramTexture::Font) {
        BindFontAtlasTexture();
    }
}

/// NOTE: a compatibility context gives fragments their place in the point only while this is on. Square points keep it
/// off: it also changes which pixels a point covers, and they cover those of the fixed-function pipeline.
void COpenGLView::SetPointSprites(bool on) {
    bool& current = CurrentObjects().pointSprites;
    if (current == on) {
        return;
    }
    current = on;
    const GLCalls gl = CallGL();
    if (on) {
        gl.glEnable(GL_POINT_SPRITE);
    } else {
        gl.glDisable(GL_POINT_SPRITE);
    }
}

} // namespace KTR
