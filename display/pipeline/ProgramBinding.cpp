#include "ProgramBinding.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/Border.h"
#include "../values/LightDirection.h"
#include "../view/ViewAccess.h"
#include "ClientState.h"
#include "ForcedState.h"
#include "ProgramThread.h"
#include "StockPrograms.h"
#include "TextureUnit.h"
#include "UniformWriter.h"

#include <GL/glext.h>

#include <glm/gtc/matrix_inverse.hpp>

#include <atomic>

namespace KTR {

namespace {

struct VertexAttribute {
    GLuint location;
    GLint components;
    GLenum type;
    GLboolean normalized;
    GLuint offset;
};

constexpr VertexAttribute kVertexAttributes[] = {
    {VertexAttribPosition, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, x)},
    {VertexAttribNormal, 3, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, nx)},
    {VertexAttribTexture, 2, GL_FLOAT, GL_FALSE, offsetof(GLDrawGeometry, s)},
    {VertexAttribColor, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(GLDrawGeometry, r)},
};

constexpr float kByteToFloat = 1.0F / 255.0F;

glm::vec4 FloatColor(const GLRGBAColor& color, float alpha) {
    return {static_cast<float>(color.r) * kByteToFloat, static_cast<float>(color.g) * kByteToFloat,
            static_cast<float>(color.b) * kByteToFloat, alpha};
}

unsigned long long NextContextNumber() {
    static std::atomic<unsigned long long> s_last{0};
    return ++s_last;
}

bool IsStockProgram(const ShaderSet& set, const ShaderData& data) {
    return &data >= set.programs && &data < set.programs + kShaderCount;
}

/// The place of a context's vertex array for a program. Programs are shared between contexts, vertex arrays are not.
/// Null when there is no memory to remember it.
unsigned int* VertexArrayOf(ContextObjects& objects, const ShaderSet& set, const ShaderData& data) {
    for (std::size_t slot = 0; slot < kShaderCount; ++slot) {
        if (&set.programs[slot] == &data) {
            return &objects.vertexArrays[slot];
        }
    }
    for (ContextObjects::HostVertexArray& host : objects.hostVertexArrays) {
        if (host.program == data.program) {
            return &host.vertexArray;
        }
    }
    try {
        return &objects.hostVertexArrays.emplace_back(ContextObjects::HostVertexArray{data.program, 0}).vertexArray;
    } catch (...) {
        DropCaught();
        return nullptr;
    }
}

/// Takes from a context's state what programs want, beside the matrices.
void GatherUniforms(COpenGLView& view, GLRenderingContextTypes context, ProgramUniforms& uniforms) {
    const GLAttributes& attributes = ViewAccess::Record(view, context).attributes;
    uniforms.pointSize = attributes.pointSize;
    uniforms.pointSmoothing = view.IsOpenGLStateEnabled(GL_POINT_SMOOTH) ? 1.0F : 0.0F;
    uniforms.stipplePattern = attributes.lineStipplePattern;
    uniforms.stippleFactor = static_cast<float>(attributes.lineStippleFactor);
    uniforms.viewport = {attributes.viewport[0], attributes.viewport[1], attributes.viewport[2],
                         attributes.viewport[3]};
    uniforms.light = LightInEyeCoordinates(attributes, ViewAccess::Matrices(view, context).modelview);
    uniforms.textureTransparency = attributes.textureTransparency;
    const float alpha = static_cast<float>(attributes.currentColor.a) * kByteToFloat;
    uniforms.currentColor = FloatColor(attributes.currentColor, alpha);
    uniforms.textColor =
        FloatColor(attributes.currentColor, alpha * static_cast<float>(attributes.textTransparency) * kByteToFloat);
    const TextLook& look = ViewAccess::Text(view).look;
    const float haloAlpha = look.HasHalo() ? static_cast<float>(look.haloColor.a) * kByteToFloat : 0.0F;
    uniforms.haloColor =
        FloatColor(look.haloColor, haloAlpha * static_cast<float>(attributes.textTransparency) * kByteToFloat);
}

/// State of the context, not of the program, that the program `type` draws wrong without.
void PrepareContextFor(COpenGLView& view, GLShaderTypes type) {
    ForceStateFor(view, type);
    const StockProgram& stock = StockProgramOf(type);
    if (stock.texture == ProgramTexture::Image) {
        const TextureRequest& request = ViewAccess::Textures(view);
        BindTextureUnit(ViewAccess::CallGL(view), kImageUnit, request.shaderTexture, request.shaderSampler);
    } else if (stock.texture == ProgramTexture::Font) {
        view.BindFontAtlasTexture();
    }
}

/// Makes the program current and writes down that its uniforms are about to be this context's. True when another
/// context's have been in it meanwhile.
bool TakeProgram(const GLCalls& gl, ContextObjects& objects, ShaderData& data) {
    CheckProgramThread();
    if (objects.number == 0) {
        objects.number = NextContextNumber();
    }
    gl.glUseProgram(data.program);
    objects.boundProgram = data.program;
    objects.boundIsStock = IsStockProgram(ViewAccess::StockPrograms(), data);
    const bool takenOver = data.uniformsOfContext != 0 && data.uniformsOfContext != objects.number;
    data.uniformsOfContext = objects.number;
    return takenOver;
}

ClientStateRequest RequestFor(COpenGLView& view, GLShaderTypes type) {
    ClientStateRequest request;
    request.form = ClientStateRequest::Form::Program;
    request.program = type;
    if (StockProgramOf(type).texture == ProgramTexture::Image) {
        request.texture = ViewAccess::Textures(view).shaderTexture;
        request.sampler = ViewAccess::Textures(view).shaderSampler;
    }
    return request;
}

/// Whether the context draws with the stock program, as it is now, and has what that wants forced.
bool IsStockProgramInUse(COpenGLView& view, GLShaderTypes type) {
    const ContextObjects& objects = ViewAccess::CurrentObjects(view);
    const unsigned int program = ViewAccess::StockPrograms().programs[type].program;
    return program != 0 && objects.boundProgram == program && objects.boundIsStock && objects.currentShader == type &&
           IsStateForcedFor(view, type);
}

/// Gives the stock program, which is in use with all else that it wants, the uniforms that have changed since.
void FollowUniforms(COpenGLView& view, GLShaderTypes type) {
    ProgramUniforms wanted;
    TakeMatrices(ViewAccess::CurrentMatrices(view), type, wanted);
    GatherUniforms(view, view.GetCurrentContextType(), wanted);
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (AgreeFor(type, wanted, objects.boundUniforms)) {
        return;
    }
    ViewAccess::DrawWaitingBatches(view);
    objects.boundUniforms = wanted;
    const GLCalls gl = ViewAccess::CurrentGL(view);
    ShaderData& data = ViewAccess::StockPrograms().programs[type];
    const UniformWriter writer(gl, data, TakeProgram(gl, objects, data));
    writer.WriteMatrix(wanted);
    writer.WriteStockUniforms(type, wanted);
}

} // namespace

void TakeMatrices(const MatrixSet& matrices, GLShaderTypes type, ProgramUniforms& uniforms) {
    // The product is formed in double precision: large translations in the two matrices cancel before they are rounded.
    uniforms.projectionTimesModelview = glm::mat4(matrices.projection * matrices.modelview);
    if (StockProgramOf(type).lit) {
        uniforms.modelview = glm::mat4(matrices.modelview);
        uniforms.normal = glm::mat3(glm::inverseTranspose(glm::dmat3(matrices.modelview)));
    }
}

/// False when there is no memory to remember the vertex array.
bool BindVertexStorage(const GLCalls& gl, ContextObjects& objects, ShaderData& data, GLVBO& vbo) {
    gl.Label(L"BindVAOAndVBOBufferData: Begin");
    unsigned int* const vertexArray = VertexArrayOf(objects, ViewAccess::StockPrograms(), data);
    if (!vertexArray) {
        return false;
    }
    const bool isNewArray = *vertexArray == 0;
    if (isNewArray) {
        gl.glGenVertexArrays(1, vertexArray);
    }
    objects.programStateBound = true;
    gl.glBindVertexArray(*vertexArray);
    if (isNewArray) {
        NameObject(gl, GL_VERTEX_ARRAY, *vertexArray, "vertex array");
    }
    const bool isNewBuffer = vbo.vertexBuffer == 0;
    if (isNewBuffer) {
        gl.glGenBuffers(1, &vbo.vertexBuffer);
    }
    gl.glBindBuffer(GL_ARRAY_BUFFER, vbo.vertexBuffer);
    if (isNewBuffer) {
        NameObject(gl, GL_BUFFER, vbo.vertexBuffer, "vertices");
    }
    for (const VertexAttribute& attribute : kVertexAttributes) {
        gl.glEnableVertexAttribArray(attribute.location);
        gl.glVertexAttribFormat(attribute.location, attribute.components, attribute.type, attribute.normalized,
                                attribute.offset);
        gl.glVertexAttribBinding(attribute.location, 0);
    }
    gl.glBindVertexBuffer(0, vbo.vertexBuffer, 0, sizeof(GLDrawGeometry));
    return true;
}

/// Gives the program the matrices of a context; the current program must be the writer's.
void BindMatrices(COpenGLView& view, GLRenderingContextTypes context, GLShaderTypes type, const GLCalls& gl,
                  const UniformWriter& writer) {
    gl.Label(L"BindMatricesToShaderProgram: BEGIN");
    ProgramUniforms& uniforms = ViewAccess::CurrentObjects(view).boundUniforms;
    TakeMatrices(ViewAccess::Matrices(view, context), type, uniforms);
    writer.WriteMatrix(uniforms);
    gl.Label(L"BindMatricesToShaderProgram: END");
}

void UseProgram(COpenGLView& view, GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data) {
    const GLCalls gl = ViewAccess::CallGL(view);
    gl.Label(L"BindVariablesToShaderProgram: BEGIN");
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    objects.currentShader = type;
    const UniformWriter writer(gl, data, TakeProgram(gl, objects, data));
    BindMatrices(view, context, type, gl, writer);
    view.SetPolygonFillMode(type);
    PrepareContextFor(view, type);
    GatherUniforms(view, context, objects.boundUniforms);
    writer.WriteStockUniforms(type, objects.boundUniforms);
}

long BindStockProgram(COpenGLView& view, GLShaderTypes type) {
    if (!IsStockProgram(type)) {
        return E_INVALIDARG;
    }
    const ClientStateRequest request = RequestFor(view, type);
    if (IsStockProgramInUse(view, type) && IsClientStateBound(view, request)) {
        FollowUniforms(view, type);
        return S_OK;
    }
    const long result = view.BindVariablesToShaderProgram(view.GetCurrentContextType(), type,
                                                          ViewAccess::StockPrograms().programs[type]);
    // Strings move the matrix of their program about; it is bound for each run of them.
    if (result == S_OK && type != GLShaderText) {
        RememberClientState(view, request);
    }
    return result;
}

/// True when BeginArrays has to bind the stock program: another type is bound, nothing is, or it was built anew. A
/// host's own program of the type stays bound.
bool NeedsBinding(COpenGLView& view, GLShaderTypes type) {
    const ContextObjects& objects = ViewAccess::CurrentObjects(view);
    return objects.currentShader != type || objects.boundProgram == 0 ||
           (objects.boundIsStock && objects.boundProgram != ViewAccess::StockPrograms().programs[type].program);
}

/// Called before each draw: when another context has drawn with the program since it was bound here, its uniforms hold
/// that context's values. They are given again what they were given when it was bound, not what the state says now, so
/// that the frame does not depend on what other views did in between. What a host's own program was given the host
/// alone knows.
void RestoreUniforms(COpenGLView& view, const GLCalls& gl) {
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (!objects.boundIsStock || objects.boundProgram == 0) {
        return;
    }
    ShaderData& data = ViewAccess::StockPrograms().programs[objects.currentShader];
    if (data.program != objects.boundProgram || data.uniformsOfContext == objects.number) {
        return;
    }
    const UniformWriter writer(gl, data, TakeProgram(gl, objects, data));
    writer.WriteMatrix(objects.boundUniforms);
    writer.WriteStockUniforms(objects.currentShader, objects.boundUniforms);
}

/// For a context that drew with programs and now draws with fixed functions, since the process has changed pipelines:
/// what programs left bound goes, and OpenGL's own matrices and state follow the view's.
void LeaveProgramState(COpenGLView& view) {
    ContextObjects& objects = ViewAccess::CurrentObjects(view);
    if (!objects.programStateBound || view.DrawsWithPrograms() || !ViewAccess::HasCurrentContext(view)) {
        return;
    }
    objects.programStateBound = false;
    objects.boundProgram = 0;
    objects.currentShader = GLShaderUnknown;
    const GLCalls gl = ViewAccess::CurrentGL(view);
    gl.glUseProgram(0);
    gl.glBindVertexArray(0);
    gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
    for (const unsigned int unit : {0U, 1U}) {
        gl.glBindSampler(unit, 0);
    }
    ForceStateFor(view, GLShaderUnknown);
    const unsigned int mode = ViewAccess::CurrentRecord(view).attributes.matrixMode;
    view.LoadCurrentMatrices();
    view.MatrixMode(mode);
    view.LoadCurrentGLState();
}

} // namespace KTR
