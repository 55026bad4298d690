#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"
#include "ProgramBinding.h"
#include "StockPrograms.h"
#include "TextureUnit.h"
#include "UniformWriter.h"

namespace KTR {

namespace {

constexpr float kByteToFloat = 1.0F / 255.0F;

} // namespace

long COpenGLView::BindMatricesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type) {
    if (!IsStockProgram(type)) {
        return E_INVALIDARG;
    }
    const GLCalls gl = CallGL();
    BindMatrices(*this, context, type, gl, UniformWriter(gl, m_gShaderSet.programs[type], false));
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
        BindTextureUnit(gl, kImageUnit, objects.fontAtlasTexture, objects.fontAtlasSampler);
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

} // namespace KTR
