#include "OpenGLView.h"

#include "../pipeline/TextureUnit.h"
#include "../platform/Border.h"
#include "../platform/GLCalls.h"
#include "../platform/Notice.h"
#include "../values/Capabilities.h"
#include "ViewAccess.h"

#include <glm/gtc/type_ptr.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace KTR {

namespace {

/// Which contexts have a piece of state, told by a function that came with it.
enum class Since { Always, Version12, Version13, Version14, Version30, Version31, Version32, Version43, Version45 };

bool Has(const GLCalls& gl, Since since) {
    switch (since) {
    case Since::Always:
        return true;
    case Since::Version12:
        return gl.Has(&GLEntryPoints::glTexImage3D);
    case Since::Version13:
        return gl.Has(&GLEntryPoints::glActiveTexture);
    case Since::Version14:
        return gl.Has(&GLEntryPoints::glBlendFuncSeparate);
    case Since::Version30:
        return gl.Has(&GLEntryPoints::glBindVertexArray);
    case Since::Version31:
        return gl.Has(&GLEntryPoints::glPrimitiveRestartIndex);
    case Since::Version32:
        return gl.Has(&GLEntryPoints::glProvokingVertex);
    case Since::Version43:
        return gl.Has(&GLEntryPoints::glBindVertexBuffer);
    case Since::Version45:
        return gl.Has(&GLEntryPoints::glClipControl);
    }
    return false;
}

/// A context without fixed functions: a host's own, since the library's all have them.
bool IsCore(const GLCalls& gl) {
    GLint profile = 0;
    if (Has(gl, Since::Version32)) {
        gl.glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
    }
    return (profile & GL_CONTEXT_CORE_PROFILE_BIT) != 0;
}

struct NamedState {
    GLenum name;
    const wchar_t* text;
    Since since;
    bool fixedFunctions; ///< core contexts do not have it
};

#define ORRIN_STATE(name, since, fixedFunctions)                                                                       \
    NamedState {                                                                                                       \
        name, L"" #name, Since::since, fixedFunctions                                                                  \
    }

/// Capabilities that the library never turns on, and draws through.
constexpr NamedState kOffCapabilities[] = {
    ORRIN_STATE(GL_CULL_FACE, Always, false),
    ORRIN_STATE(GL_STENCIL_TEST, Always, false),
    ORRIN_STATE(GL_POLYGON_OFFSET_FILL, Always, false),
    ORRIN_STATE(GL_POLYGON_OFFSET_LINE, Always, false),
    ORRIN_STATE(GL_POLYGON_OFFSET_POINT, Always, false),
    ORRIN_STATE(GL_POLYGON_SMOOTH, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE0, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE1, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE2, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE3, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE4, Always, false),
    ORRIN_STATE(GL_CLIP_PLANE5, Always, false),
    ORRIN_STATE(GL_ALPHA_TEST, Always, true),
    ORRIN_STATE(GL_FOG, Always, true),
    ORRIN_STATE(GL_POLYGON_STIPPLE, Always, true),
    ORRIN_STATE(GL_INDEX_LOGIC_OP, Always, true),
    ORRIN_STATE(GL_AUTO_NORMAL, Always, true),
    ORRIN_STATE(GL_SAMPLE_ALPHA_TO_COVERAGE, Version13, false),
    ORRIN_STATE(GL_SAMPLE_COVERAGE, Version13, false),
    ORRIN_STATE(GL_COLOR_SUM, Version14, true),
    ORRIN_STATE(GL_FRAMEBUFFER_SRGB, Version30, false),
    ORRIN_STATE(GL_RASTERIZER_DISCARD, Version30, false),
    ORRIN_STATE(GL_PRIMITIVE_RESTART, Version31, false),
    ORRIN_STATE(GL_DEPTH_CLAMP, Version32, false),
    ORRIN_STATE(GL_PRIMITIVE_RESTART_FIXED_INDEX, Version43, false),
};

/// The same of each texture unit of fixed functions. The first one's textures of one and two dimensions are the view's
/// own state.
constexpr NamedState kOffInUnits[] = {
    ORRIN_STATE(GL_TEXTURE_1D, Always, true),    ORRIN_STATE(GL_TEXTURE_2D, Always, true),
    ORRIN_STATE(GL_TEXTURE_GEN_S, Always, true), ORRIN_STATE(GL_TEXTURE_GEN_T, Always, true),
    ORRIN_STATE(GL_TEXTURE_GEN_R, Always, true), ORRIN_STATE(GL_TEXTURE_GEN_Q, Always, true),
    ORRIN_STATE(GL_TEXTURE_3D, Version12, true), ORRIN_STATE(GL_TEXTURE_CUBE_MAP, Version13, true),
};
constexpr std::size_t kViewsOwnInFirstUnit = 2;

struct NumberedState {
    NamedState state;
    std::array<GLint, 4> expected; ///< of a new context, as many as OpenGL answers
};

/// Other state of a new context that the library draws through.
constexpr NumberedState kNumbers[] = {
    {ORRIN_STATE(GL_COLOR_WRITEMASK, Always, false), {1, 1, 1, 1}},
    {ORRIN_STATE(GL_DEPTH_WRITEMASK, Always, false), {1}},
    {ORRIN_STATE(GL_DEPTH_FUNC, Always, false), {GL_LESS}},
    {ORRIN_STATE(GL_FRONT_FACE, Always, false), {GL_CCW}},
    {ORRIN_STATE(GL_BLEND_EQUATION, Version14, false), {GL_FUNC_ADD}},
    {ORRIN_STATE(GL_ACTIVE_TEXTURE, Version13, false), {GL_TEXTURE0}},
    {ORRIN_STATE(GL_DRAW_FRAMEBUFFER_BINDING, Version30, false), {0}},
    {ORRIN_STATE(GL_READ_FRAMEBUFFER_BINDING, Version30, false), {0}},
    {ORRIN_STATE(GL_PROVOKING_VERTEX, Version32, false), {GL_LAST_VERTEX_CONVENTION}},
    {ORRIN_STATE(GL_CLIP_ORIGIN, Version45, false), {GL_LOWER_LEFT}},
    {ORRIN_STATE(GL_CLIP_DEPTH_MODE, Version45, false), {GL_NEGATIVE_ONE_TO_ONE}},
};

/// Settings of pixel storage of a new context; images and text put them aside, ReadPixels takes them.
constexpr std::pair<GLenum, GLint> kPixelStorage[] = {
    {GL_PACK_SWAP_BYTES, 0},   {GL_PACK_LSB_FIRST, 0},   {GL_PACK_ROW_LENGTH, 0},    {GL_PACK_SKIP_ROWS, 0},
    {GL_PACK_SKIP_PIXELS, 0},  {GL_PACK_ALIGNMENT, 4},   {GL_UNPACK_SWAP_BYTES, 0},  {GL_UNPACK_LSB_FIRST, 0},
    {GL_UNPACK_ROW_LENGTH, 0}, {GL_UNPACK_SKIP_ROWS, 0}, {GL_UNPACK_SKIP_PIXELS, 0}, {GL_UNPACK_ALIGNMENT, 4}};

constexpr std::pair<GLenum, GLfloat> kPixelTransfer[] = {
    {GL_MAP_COLOR, 0.0F},   {GL_MAP_STENCIL, 0.0F}, {GL_RED_SCALE, 1.0F},   {GL_RED_BIAS, 0.0F},
    {GL_GREEN_SCALE, 1.0F}, {GL_GREEN_BIAS, 0.0F},  {GL_BLUE_SCALE, 1.0F},  {GL_BLUE_BIAS, 0.0F},
    {GL_ALPHA_SCALE, 1.0F}, {GL_ALPHA_BIAS, 0.0F},  {GL_DEPTH_SCALE, 1.0F}, {GL_DEPTH_BIAS, 0.0F}};

/// A capability of the view's own state with the name that a line of the report gives it.
struct NamedCapability {
    GLenum name;
    const wchar_t* text;
};

#define ORRIN_CAPABILITY(name)                                                                                         \
    NamedCapability {                                                                                                  \
        name, L"" #name                                                                                                \
    }

constexpr NamedCapability kOwnCapabilities[] = {
    ORRIN_CAPABILITY(GL_BLEND),
    ORRIN_CAPABILITY(GL_COLOR_LOGIC_OP),
    ORRIN_CAPABILITY(GL_COLOR_MATERIAL),
    ORRIN_CAPABILITY(GL_DEPTH_TEST),
    ORRIN_CAPABILITY(GL_LIGHT0),
    ORRIN_CAPABILITY(GL_LIGHT1),
    ORRIN_CAPABILITY(GL_LIGHTING),
    ORRIN_CAPABILITY(GL_LINE_SMOOTH),
    ORRIN_CAPABILITY(GL_LINE_STIPPLE),
    ORRIN_CAPABILITY(GL_POINT_SMOOTH),
    ORRIN_CAPABILITY(GL_PROGRAM_POINT_SIZE),
    ORRIN_CAPABILITY(GL_SCISSOR_TEST),
    ORRIN_CAPABILITY(GL_TEXTURE_1D),
    ORRIN_CAPABILITY(GL_TEXTURE_2D),
};

#undef ORRIN_CAPABILITY
#undef ORRIN_STATE

GLint IntegerOf(const GLCalls& gl, GLenum name) {
    GLint values[16] = {};
    gl.glGetIntegerv(name, values);
    return values[0];
}

/// Units that state has to be looked after in: those of fixed functions, or the two that programs read.
int UnitsOf(const GLCalls& gl, bool core) {
    if (!Has(gl, Since::Version13)) {
        return 1;
    }
    return core ? 2 : std::max(IntegerOf(gl, GL_MAX_TEXTURE_UNITS), 1);
}

void ResetTextureUnits(const GLCalls& gl, bool core) {
    const bool hasUnits = Has(gl, Since::Version13);
    for (int unit = UnitsOf(gl, core) - 1; unit >= 0; --unit) {
        const auto number = static_cast<GLuint>(unit);
        if (hasUnits) {
            gl.glActiveTexture(GL_TEXTURE0 + number);
        }
        gl.glBindTexture(GL_TEXTURE_2D, 0);
        if (gl.Has(&GLEntryPoints::glBindSampler)) {
            gl.glBindSampler(number, 0);
        }
        if (core) {
            continue;
        }
        for (std::size_t index = unit == 0 ? kViewsOwnInFirstUnit : 0; index < std::size(kOffInUnits); ++index) {
            if (Has(gl, kOffInUnits[index].since)) {
                gl.glDisable(kOffInUnits[index].name);
            }
        }
        gl.glMatrixMode(GL_TEXTURE);
        gl.glLoadIdentity();
        if (gl.Has(&GLEntryPoints::glClientActiveTexture)) {
            gl.glClientActiveTexture(GL_TEXTURE0 + number);
        }
        gl.glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
}

void ResetBindings(const GLCalls& gl, bool core) {
    if (gl.Has(&GLEntryPoints::glUseProgram)) {
        gl.glUseProgram(0);
    }
    if (gl.Has(&GLEntryPoints::glBindProgramPipeline)) {
        gl.glBindProgramPipeline(0);
    }
    if (Has(gl, Since::Version30)) {
        gl.glBindVertexArray(0);
        gl.glBindFramebuffer(GL_FRAMEBUFFER, 0);
    }
    if (gl.Has(&GLEntryPoints::glBindBuffer)) {
        gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        if (gl.Has(&GLEntryPoints::glUniformMatrix2x3fv)) { // 2.1, as pixel buffers
            gl.glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
            gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        }
    }
    if (!core) {
        for (const GLenum array :
             {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_INDEX_ARRAY, GL_EDGE_FLAG_ARRAY}) {
            gl.glDisableClientState(array);
        }
        if (Has(gl, Since::Version14)) {
            gl.glDisableClientState(GL_FOG_COORD_ARRAY);
            gl.glDisableClientState(GL_SECONDARY_COLOR_ARRAY);
        }
    }
}

void ResetPixels(const GLCalls& gl, bool core) {
    for (const auto& [name, value] : kPixelStorage) {
        gl.glPixelStorei(name, value);
    }
    if (Has(gl, Since::Version12)) {
        for (const GLenum name :
             {GL_PACK_SKIP_IMAGES, GL_PACK_IMAGE_HEIGHT, GL_UNPACK_SKIP_IMAGES, GL_UNPACK_IMAGE_HEIGHT}) {
            gl.glPixelStorei(name, 0);
        }
    }
    if (!core) {
        for (const auto& [name, value] : kPixelTransfer) {
            gl.glPixelTransferf(name, value);
        }
        gl.glPixelZoom(1.0F, 1.0F);
    }
}

/// What lies between a primitive and its pixels.
void ResetFragments(const GLCalls& gl, bool core) {
    for (const NamedState& capability : kOffCapabilities) {
        if (Has(gl, capability.since) && !(core && capability.fixedFunctions)) {
            gl.glDisable(capability.name);
        }
    }
    gl.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    gl.glDepthMask(GL_TRUE);
    gl.glDepthFunc(GL_LESS);
    gl.glDepthRange(0.0, 1.0);
    gl.glFrontFace(GL_CCW);
    gl.glStencilMask(~GLuint{0});
    gl.glClearDepth(1.0);
    if (Has(gl, Since::Version14)) {
        gl.glBlendEquation(GL_FUNC_ADD);
    }
    if (Has(gl, Since::Version32)) {
        gl.glProvokingVertex(GL_LAST_VERTEX_CONVENTION);
    }
    if (Has(gl, Since::Version45)) {
        gl.glClipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
    }
}

/// Collects lines about what differs.
class Differences {
public:
    explicit Differences(CString* report) : m_report(report) {
        if (m_report) {
            m_report->Empty();
        }
    }
    template <typename Value> void Compare(const wchar_t* what, Value openGL, Value view) {
        if (std::abs(static_cast<double>(openGL) - static_cast<double>(view)) > kTolerance) {
            Add(what, static_cast<double>(openGL), static_cast<double>(view));
        }
    }
    int Count() const { return m_count; }

private:
    static constexpr double kTolerance = 1e-4;

    void Add(const wchar_t* what, double openGL, double view) {
        ++m_count;
        try {
            CString line;
            line.Format(L"%s: OpenGL has %.9g, the view expects %.9g\n", what, openGL, view);
            SendToDebugger(line.GetString());
            if (m_report) {
                *m_report += line;
            }
        } catch (...) {
            DropCaught();
            return; // counted all the same
        }
    }

    CString* m_report;
    int m_count = 0;
};

void CompareForeignState(const GLCalls& gl, bool core, Differences& differences) {
    const auto applies = [&](const NamedState& state) {
        return Has(gl, state.since) && !(core && state.fixedFunctions);
    };
    for (const NamedState& capability : kOffCapabilities) {
        if (applies(capability)) {
            differences.Compare(capability.text, int{gl.glIsEnabled(capability.name)}, 0);
        }
    }
    for (const NumberedState& row : kNumbers) {
        if (!applies(row.state)) {
            continue;
        }
        std::array<GLint, 4> values{};
        gl.glGetIntegerv(row.state.name, values.data());
        for (std::size_t index = 0; index < values.size(); ++index) {
            differences.Compare(row.state.text, values[index], row.expected[index]);
        }
    }
}

/// What the view keeps a copy of and has told OpenGL. What a program in use has otherwise is as the program has it.
void CompareOwnState(const COpenGLView& view, const GLCalls& gl, const ContextObjects& objects, bool core,
                     Differences& differences) {
    const GLAttributes& attributes = view.GetContextRecord(view.GetCurrentContextType()).attributes;
    for (const NamedCapability& capability : kOwnCapabilities) {
        const bool isFixed = capability.name != GL_BLEND && capability.name != GL_COLOR_LOGIC_OP &&
                             capability.name != GL_DEPTH_TEST && capability.name != GL_LINE_SMOOTH &&
                             capability.name != GL_SCISSOR_TEST && capability.name != GL_PROGRAM_POINT_SIZE;
        if ((core && isFixed) || (capability.name == GL_PROGRAM_POINT_SIZE && !gl.Has(&GLEntryPoints::glUseProgram))) {
            continue;
        }
        int expected = view.IsOpenGLStateEnabled(capability.name);
        expected = capability.name == GL_PROGRAM_POINT_SIZE && objects.pointSizeForced ? 1 : expected;
        expected = capability.name == GL_LINE_STIPPLE && objects.lineStippleForced ? 0 : expected;
        differences.Compare(capability.text, int{gl.glIsEnabled(capability.name)}, expected);
    }
    const auto integer = [&](const wchar_t* text, GLenum name, unsigned int expected) {
        differences.Compare(text, static_cast<unsigned int>(IntegerOf(gl, name)), expected);
    };
    const bool separate = Has(gl, Since::Version14);
    integer(L"GL_BLEND_SRC", separate ? GL_BLEND_SRC_RGB : GL_BLEND_SRC, attributes.blendSource);
    integer(L"GL_BLEND_DST", separate ? GL_BLEND_DST_RGB : GL_BLEND_DST, attributes.blendDestination);
    integer(L"GL_LOGIC_OP_MODE", GL_LOGIC_OP_MODE, attributes.logicOp);
    integer(L"GL_READ_BUFFER", GL_READ_BUFFER, attributes.readBuffer);
    float width = 0.0F;
    gl.glGetFloatv(GL_LINE_WIDTH, &width);
    differences.Compare(L"GL_LINE_WIDTH", width, attributes.lineWidth);
    float size = 0.0F;
    gl.glGetFloatv(GL_POINT_SIZE, &size);
    differences.Compare(L"GL_POINT_SIZE", size, attributes.pointSize);
    GLint modes[2] = {};
    gl.glGetIntegerv(GL_POLYGON_MODE, modes);
    const auto mode = static_cast<GLint>(objects.fillForced ? GL_FILL : attributes.polygonMode);
    if (attributes.polygonModeFace != GL_BACK || objects.fillForced) {
        differences.Compare(L"GL_POLYGON_MODE", modes[0], mode);
    }
    if (!core && (attributes.polygonModeFace != GL_FRONT || objects.fillForced)) {
        differences.Compare(L"GL_POLYGON_MODE (back)", modes[1], mode);
    }
    GLint viewport[4] = {};
    gl.glGetIntegerv(GL_VIEWPORT, viewport);
    for (std::size_t index = 0; index < std::size(viewport); ++index) {
        differences.Compare(L"GL_VIEWPORT", viewport[index], attributes.viewport[index]);
    }
    if (gl.Has(&GLEntryPoints::glUseProgram)) {
        integer(L"GL_CURRENT_PROGRAM", GL_CURRENT_PROGRAM, objects.boundProgram);
    }
}

/// Fixed functions have their own copy of colour, matrices and arrays.
void CompareFixedFunctions(COpenGLView& view, const GLCalls& gl, Differences& differences) {
    const GLRenderingContextRecord& record = view.GetContextRecord(view.GetCurrentContextType());
    float color[4] = {};
    gl.glGetFloatv(GL_CURRENT_COLOR, color);
    // A view that was given no colour has none, and OpenGL starts with white.
    const GLRGBAColor none{};
    const GLRGBAColor& expected = record.attributes.currentColor;
    const bool isSet = !(expected == none);
    const unsigned char channels[] = {expected.r, expected.g, expected.b, expected.a};
    for (std::size_t index = 0; isSet && index < std::size(channels); ++index) {
        differences.Compare(L"GL_CURRENT_COLOR", static_cast<int>(std::lround(color[index] * 255.0F)),
                            int{channels[index]});
    }
    differences.Compare(L"GL_MATRIX_MODE", static_cast<unsigned int>(IntegerOf(gl, GL_MATRIX_MODE)),
                        record.attributes.matrixMode);
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    const auto matrix = [&](const wchar_t* text, GLenum name, const glm::dmat4& ours) {
        GLdouble theirs[16] = {};
        gl.glGetDoublev(name, theirs);
        for (int index = 0; index < 16; ++index) {
            const double value = glm::value_ptr(ours)[index];
            const double scale = std::max(std::abs(value), 1.0); // drivers keep floats
            if (!(std::abs(theirs[index] - value) <= 1e-5 * scale)) {
                differences.Compare(text, theirs[index], value);
                return;
            }
        }
    };
    matrix(L"GL_PROJECTION_MATRIX", GL_PROJECTION_MATRIX, matrices.projection);
    matrix(L"GL_MODELVIEW_MATRIX", GL_MODELVIEW_MATRIX, matrices.modelview);
    const auto array = [&](const wchar_t* text, GLenum name, bool enabled) {
        differences.Compare(text, int{gl.glIsEnabled(name)}, enabled ? 1 : 0);
    };
    array(L"GL_VERTEX_ARRAY", GL_VERTEX_ARRAY, record.clientVertexArray);
    array(L"GL_NORMAL_ARRAY", GL_NORMAL_ARRAY, record.clientNormalArray);
    array(L"GL_COLOR_ARRAY", GL_COLOR_ARRAY, record.clientColorArray);
    array(L"GL_TEXTURE_COORD_ARRAY", GL_TEXTURE_COORD_ARRAY, record.clientTextureArray);
    if (gl.Has(&GLEntryPoints::glBindBuffer)) {
        differences.Compare(L"GL_ARRAY_BUFFER_BINDING", IntegerOf(gl, GL_ARRAY_BUFFER_BINDING), 0);
        differences.Compare(L"GL_ELEMENT_ARRAY_BUFFER_BINDING", IntegerOf(gl, GL_ELEMENT_ARRAY_BUFFER_BINDING), 0);
    }
}

} // namespace

void COpenGLView::ResetGLState() {
    if (!HasCurrentContext()) {
        return;
    }
    if (GLAttributes& attributes = CurrentRecord().attributes; attributes.polygonModeFace == 0) {
        GetInitialGLAttributes(attributes); // of a context that the host has made
    }
    DisableClientState();
    const GLCalls gl = CallGL();
    const bool core = IsCore(gl);
    const unsigned int matrixMode = CurrentRecord().attributes.matrixMode;
    ResetBindings(gl, core);
    ResetTextureUnits(gl, core);
    ResetPixels(gl, core);
    ResetFragments(gl, core);

    // The library's own notes of what it has put into use.
    ContextObjects& objects = CurrentObjects();
    objects.boundProgram = 0;
    objects.currentShader = GLShaderUnknown;
    objects.programStateBound = false;
    objects.fillForced = false;
    objects.pointSizeForced = false;
    objects.pointSpritesForced = false;
    objects.lineStippleForced = false;
    objects.scene.lighting.sent.reset();
    if (!core) {
        gl.glDisable(GL_POINT_SPRITE);
        gl.glMatrixMode(GL_MODELVIEW); // where the view's own mode was never set
    }
    LoadCurrentMatrices();
    if (!core && !DrawsWithPrograms()) {
        MatrixMode(matrixMode);
    }
    LoadCurrentGLState();
    if (!core) {
        const GLAttributes& attributes = CurrentRecord().attributes;
        LineStipple(attributes.lineStippleFactor, attributes.lineStipplePattern);
        for (const Capability& capability : FixedFunctionCapabilities()) {
            LoadGLState(capability.name, IsOpenGLStateEnabled(capability.name));
        }
    }
    GLboolean doubleBuffered = GL_FALSE;
    gl.glGetBooleanv(GL_DOUBLEBUFFER, &doubleBuffered);
    DrawBuffer(m_currentContext != GLContextLegacy && doubleBuffered ? GL_BACK : GL_FRONT);
    ReadBuffer(CurrentRecord().attributes.readBuffer);
    SetBackgroundColor(CurrentRecord().backgroundColor, false);
}

int COpenGLView::ValidateState(CString* report) {
    Differences differences(report);
    if (!HasCurrentContext()) {
        return 0;
    }
    const GLCalls gl = CallGL();
    const bool core = IsCore(gl);
    CompareOwnState(*this, gl, CurrentObjects(), core, differences);
    if (!core && !DrawsWithPrograms()) {
        CompareFixedFunctions(*this, gl, differences);
    }
    CompareForeignState(gl, core, differences);
    return differences.Count();
}

} // namespace KTR
