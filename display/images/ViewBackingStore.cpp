#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace KTR {

namespace {

constexpr int kSmallestWidth = 1024;
constexpr int kSmallestHeight = 768;
constexpr unsigned long long kBytesPerPixel = 4; // of the colours, and of the depths too

/// A store's bytes. Its rows are rounded up to a multiple of 4 pixels; the product of the largest sizes still fits.
unsigned long long StoreBytes(int width, int height) {
    const unsigned long long rowPixels = (static_cast<unsigned long long>(width) + 3) / 4 * 4;
    return rowPixels * static_cast<unsigned long long>(height) * kBytesPerPixel;
}

/// What would change the pixels on their way to the draw buffer, beside the depth test. A fixed-function texture would
/// colour them, which no program sees; there the sides and the stencil count, which pixels do not have.
constexpr int kHindrances = 5;
constexpr GLenum kHindrancesOfPrograms[kHindrances] = {GL_BLEND, GL_COLOR_LOGIC_OP, GL_SCISSOR_TEST, GL_CULL_FACE,
                                                       GL_STENCIL_TEST};
constexpr GLenum kHindrancesOfFixedFunctions[kHindrances] = {GL_BLEND, GL_COLOR_LOGIC_OP, GL_SCISSOR_TEST,
                                                             GL_TEXTURE_1D, GL_TEXTURE_2D};

/// One dimension of a rectangle of the frame and the place where it goes.
struct Span {
    long long source = 0; ///< first pixel in the frame
    long long target = 0; ///< first pixel in the window
    long long size = 0;   ///< not above 0 when nothing is left

    /// Leaves out what lies before `low` or behind `high`, as seen from `position`.
    void Clip(long long position, long long low, long long high) {
        const long long before = std::max(low - position, 0LL);
        source += before;
        target += before;
        size = std::min(size - before, high - position - before);
    }
};

/// The pixels of the frame's rows or columns that are put back.
Span VisibleSpan(int first, int size, int frameSize, float raster, int windowFirst, int windowSize) {
    constexpr float kFarAway = 1e9F;
    Span span{first, std::llround(std::clamp(raster, -kFarAway, kFarAway)), size};
    span.Clip(span.source, 0, frameSize);
    span.Clip(span.target, windowFirst, static_cast<long long>(windowFirst) + windowSize);
    return span;
}

/// How rows lie in memory while pixels are read; the former values come back when it goes.
class PackState {
public:
    PackState(COpenGLView& view, const GLCalls& gl, int rowPixels) : m_view(view) {
        const GLint wanted[kSettings] = {1, rowPixels, 0, 0};
        for (int index = 0; index < kSettings; ++index) {
            gl.glGetIntegerv(kNames[index], &m_before[index]);
            m_view.PixelStore(kNames[index], wanted[index]);
        }
    }
    ~PackState() {
        for (int index = 0; index < kSettings; ++index) {
            m_view.PixelStore(kNames[index], m_before[index]);
        }
    }
    PackState(const PackState&) = delete;
    PackState& operator=(const PackState&) = delete;

private:
    static constexpr int kSettings = 4;
    static constexpr GLenum kNames[kSettings] = {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS,
                                                 GL_PACK_SKIP_PIXELS};
    COpenGLView& m_view;
    GLint m_before[kSettings] = {};
};

} // namespace

/// What a save or a restore changes of a 4.x context; the fixed functions have a stack for theirs.
struct COpenGLView::DrawingState {
    GLAttributes attributes;
    MatrixSet matrices;
    bool capabilities[kHindrances] = {}; ///< in the order of the programs' list
    bool depthTest = false;
    GLint drawBuffer = 0;
    GLint depthFunction = GL_LESS;
    GLboolean depthMask = GL_TRUE;
    GLint activeTexture = GL_TEXTURE0;
    struct Unit {
        GLint texture = 0;
        GLint sampler = 0;
    } units[2]; ///< of the colours and the depths
};

/// A negative size counts as a small one.
long COpenGLView::AllocateBackingStore(int width, int height) {
    const int allocatedWidth = std::max(width, kSmallestWidth);
    const int allocatedHeight = std::max(height, kSmallestHeight);
    const unsigned long long bytes = StoreBytes(allocatedWidth, allocatedHeight);
    // A store that came with a copy is its source's: it is neither filled nor freed here.
    const bool own = m_backingStore.rgba == m_owned.backingStore;
    if (own && bytes <= m_backingStore.rgbaBytes && bytes <= m_backingStore.secondBytes) {
        m_backingStore.requestedWidth = width;
        m_backingStore.requestedHeight = height;
        return S_OK;
    }
    FreeBackingStore();
    m_owned.backingStore = static_cast<unsigned char*>(std::calloc(bytes, 1));
    m_owned.backingStoreSecond = static_cast<unsigned char*>(std::calloc(bytes, 1));
    if (!m_owned.backingStore || !m_owned.backingStoreSecond) {
        FreeBackingStore();
        return E_OUTOFMEMORY;
    }
    m_backingStore.rgba = m_owned.backingStore;
    m_backingStore.second = m_owned.backingStoreSecond;
    m_backingStore.rgbaBytes = bytes;
    m_backingStore.secondBytes = bytes;
    m_backingStore.allocatedWidth = allocatedWidth;
    m_backingStore.allocatedHeight = allocatedHeight;
    m_backingStore.requestedWidth = width;
    m_backingStore.requestedHeight = height;
    return S_OK;
}

unsigned char* COpenGLView::GetRGBABackingStore() const {
    return m_backingStore.rgba;
}

unsigned __int64 COpenGLView::GetRGBABackingStoreSizeInBytes() const {
    return m_backingStore.rgbaBytes;
}

void COpenGLView::DeleteBackingStore() {
    FreeBackingStore();
    const HGLRC context = m_contexts[GLContextMain].renderingContext;
    if (m_currentContext == GLContextMain && context && wglGetCurrentContext() == context) {
        DeleteKeptFrameTextures();
    }
}

long COpenGLView::SaveBackingStore(HDC deviceContext, GLRenderingContextTypes type, unsigned int readBuffer, int x,
                                   int y, int width, int height) {
    if (width == 0 || height == 0) {
        return S_OK;
    }
    if (width < 0 || height < 0) {
        return E_INVALIDARG;
    }
    const HGLRC context = m_contexts[type].renderingContext;
    if (!context || !MakeCurrent(deviceContext, context, type)) {
        return E_FAIL;
    }
    Finish();
    const long allocated = AllocateBackingStore(width, height);
    if (allocated != S_OK) {
        return allocated;
    }
    const DrawingState before = KeepDrawingState();
    PushBothMatrices(L"SaveBackingStore");
    ReadBuffer(readBuffer);
    Disable(GL_BLEND);
    Disable(GL_COLOR_LOGIC_OP);
    SetUpViewport(0, 0, width, height);
    MatrixMode(GL_PROJECTION);
    Ortho(0.0, width, 0.0, height, 0.0, 1.0);

    const long result = KeepFrame(x, y, width, height);

    PopBothMatrices(L"SaveBackingStore");
    ReturnDrawingState(before);
    outputGlError(L"SaveBackingStore: END");
    return result;
}

void COpenGLView::RestoreBackingStore(unsigned int format, unsigned long sizeInBytes, float rasterX, float rasterY,
                                      int x, int y, int width, int height, int windowX, int windowY, int windowWidth,
                                      int windowHeight, bool clear, bool depth, bool frontBuffer) {
    outputGlError(L"RestoreBackingStore");
    const bool programs = DrawsWithPrograms();
    const DrawingState before = KeepDrawingState();
    const bool onlyFront = m_currentContext == GLContextLegacy || !GetDoubleBufferSetting(m_currentContext);
    DrawBuffer(frontBuffer || onlyFront ? GL_FRONT : GL_BACK);
    if (clear) {
        Clear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    for (const GLenum capability : programs ? kHindrancesOfPrograms : kHindrancesOfFixedFunctions) {
        Disable(capability);
    }
    if (!programs) {
        Disable(GL_DEPTH_TEST);
    }
    if (format == GL_RGBA && FrameFits(sizeInBytes) && !std::isnan(rasterX) && !std::isnan(rasterY)) {
        const Span columns = VisibleSpan(x, width, m_keptFrame.width, rasterX, windowX, windowWidth);
        const Span rows = VisibleSpan(y, height, m_keptFrame.height, rasterY, windowY, windowHeight);
        if (columns.size > 0 && rows.size > 0) {
            const FramePart part{static_cast<int>(columns.source), static_cast<int>(rows.source),
                                 static_cast<int>(columns.size),   static_cast<int>(rows.size),
                                 static_cast<int>(columns.target), static_cast<int>(rows.target)};
            if (programs) {
                DrawFrameWithPrograms(part, depth);
            } else {
                DrawFrameWithFixedFunctions(part);
            }
        }
    }
    if (programs) {
        // They draw with the test on, for depths are written only then.
        Disable(GL_DEPTH_TEST);
    }
    Flush();
    ReturnDrawingState(before);
    outputGlError(L"RestoreBackingStore: END");
}

/// Frees what this view owns and forgets what it shares with the source of a copy. Textures stay for the next frame.
void COpenGLView::FreeBackingStore() {
    std::free(m_owned.backingStore);
    std::free(m_owned.backingStoreSecond);
    m_owned.backingStore = nullptr;
    m_owned.backingStoreSecond = nullptr;
    m_backingStore = BackingStore{};
    m_keptFrame.context = nullptr;
}

/// After its context is gone: the next one may get the same handle, but not the frame.
void COpenGLView::ForgetKeptFrameOf(GLRenderingContextTypes type) {
    if (m_keptFrame.context == m_contexts[type].renderingContext) {
        m_keptFrame.context = nullptr;
    }
}

/// The context that they were made in, or one of its share group, has to be current.
void COpenGLView::DeleteKeptFrameTextures() {
    DeleteTextureAndSamplerNames(m_keptFrame.colorTexture, m_keptFrame.colorSampler);
    DeleteTextureAndSamplerNames(m_keptFrame.depthTexture, m_keptFrame.depthSampler);
    ForgetKeptFrameOf(GLContextMain);
}

/// Reads the frame from the selected buffer, and has the programs' context keep it as textures too.
long COpenGLView::KeepFrame(int x, int y, int width, int height) {
    const GLRenderingContextRecord& record = CurrentRecord();
    KeptFrame& frame = m_keptFrame;
    frame.context = nullptr;
    frame.depth = false;
    m_backingStore.saved = 0;
    {
        const PackState rows(*this, CallGL(), width);
        ReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, m_backingStore.rgba);
        if (DrawsWithPrograms() && record.pixelFormat.cDepthBits != 0) {
            ReadPixels(x, y, width, height, GL_DEPTH_COMPONENT, GL_FLOAT, m_backingStore.second);
            frame.depth = true;
        }
    }
    if (DrawsWithPrograms()) {
        long loaded = LoadGLImage(GL_TEXTURE0, GL_RGBA, width, height, 1, GL_NEAREST, m_backingStore.rgba,
                                  frame.colorTexture, frame.colorSampler);
        if (loaded == S_OK && frame.depth) {
            loaded = LoadGLImage(GL_TEXTURE1, GL_DEPTH_COMPONENT, width, height, 1, GL_NEAREST, m_backingStore.second,
                                 frame.depthTexture, frame.depthSampler);
        }
        if (loaded != S_OK) {
            return loaded;
        }
    }
    frame.width = width;
    frame.height = height;
    GetWindowDimensions(frame.windowWidth, frame.windowHeight);
    frame.context = record.renderingContext;
    m_backingStore.saved = 1;
    return S_OK;
}

/// True when the kept frame is this window's and of the size that the host means.
bool COpenGLView::FrameFits(unsigned long sizeInBytes) const {
    const KeptFrame& frame = m_keptFrame;
    const bool kept = m_backingStore.saved != 0 && m_backingStore.rgba && m_backingStore.rgba == m_owned.backingStore;
    if (!kept || !frame.context || frame.context != CurrentRecord().renderingContext ||
        frame.context != wglGetCurrentContext()) {
        return false;
    }
    int windowWidth = 0;
    int windowHeight = 0;
    GetWindowDimensions(windowWidth, windowHeight);
    const unsigned long long bytes =
        static_cast<unsigned long long>(frame.width) * static_cast<unsigned long long>(frame.height) * kBytesPerPixel;
    return windowWidth == frame.windowWidth && windowHeight == frame.windowHeight &&
           (sizeInBytes == 0 || sizeInBytes == bytes);
}

void COpenGLView::DrawFrameWithPrograms(const FramePart& part, bool depth) {
    ShaderData& data = m_gShaderSet.programs[GLShaderBackingStore];
    if (data.program == 0) {
        return; // it could not be built
    }
    const GLCalls gl = CallGL();
    GLRenderingContextRecord& record = CurrentRecord();
    // The quad covers its pixels exactly: one unit is one pixel, and each samples the middle of its own texel.
    SetUpViewport(part.targetX, part.targetY, part.width, part.height);
    CurrentMath().Matrices().projection = COpenGLMath::OrthoMatrix(0.0, part.width, 0.0, part.height, -1.0, 1.0);
    CurrentMath().Matrices().modelview = glm::dmat4(1.0);
    Enable(GL_DEPTH_TEST);
    gl.glDepthFunc(GL_ALWAYS);
    gl.glDepthMask(depth && m_keptFrame.depth ? GL_TRUE : GL_FALSE);
    BindTextureUnit(GL_TEXTURE1, m_keptFrame.depthTexture, m_keptFrame.depthSampler);
    const TextureRequest request = m_textureRequest;
    const bool fillForced = record.objects.fillForced;
    DrawSetupSetShaderTexture(m_keptFrame.colorTexture, m_keptFrame.colorSampler);
    BindVariablesToShaderProgram(m_currentContext, GLShaderBackingStore, data);
    BeginArrays(GL_TRIANGLES, GLShaderBackingStore);
    for (const auto& [right, up] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
        const double left = part.sourceX + right * part.width;
        const double lower = part.sourceY + up * part.height;
        AddIndex2DVertexTexCoords(right * part.width, up * part.height, left / m_keptFrame.width,
                                  lower / m_keptFrame.height);
    }
    // Not DisableClientState, which waits for the GPU: the overlay can be drawn at once.
    EndArrays();
    m_textureRequest = request;
    if (!fillForced) {
        SetPolygonFillMode(GLShaderColorPassThrough);
    }
    gl.glUseProgram(0);
    record.objects.boundProgram = 0;
}

/// NOTE: pixels are not textured: a driver of OpenGL 1.1 need not have textures of a window's size.
void COpenGLView::DrawFrameWithFixedFunctions(const FramePart& part) {
    const GLCalls gl = CallGL();
    SetUpViewport(part.targetX, part.targetY, part.width, part.height);
    MatrixMode(GL_MODELVIEW);
    LoadIdentity();
    MatrixMode(GL_PROJECTION);
    Ortho(0.0, part.width, 0.0, part.height, -1.0, 1.0);
    // A quarter of a pixel inside, so that rounding takes the position neither out of the viewport, where nothing would
    // be drawn, nor into the next pixel.
    gl.glRasterPos2f(0.25F, 0.25F);
    gl.glPixelZoom(1.0F, 1.0F);
    PixelStore(GL_UNPACK_ALIGNMENT, 1);
    PixelStore(GL_UNPACK_ROW_LENGTH, m_keptFrame.width);
    PixelStore(GL_UNPACK_SKIP_ROWS, part.sourceY);
    PixelStore(GL_UNPACK_SKIP_PIXELS, part.sourceX);
    gl.glDrawPixels(part.width, part.height, GL_RGBA, GL_UNSIGNED_BYTE, m_backingStore.rgba);
}

/// What ReturnDrawingState brings back, in the cache and in OpenGL alike.
COpenGLView::DrawingState COpenGLView::KeepDrawingState() {
    const GLCalls gl = CallGL();
    DrawingState state;
    state.attributes = CurrentRecord().attributes;
    state.matrices = CurrentMath().Matrices();
    if (!DrawsWithPrograms()) {
        gl.glPushAttrib(GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT | GL_DEPTH_BUFFER_BIT | GL_ENABLE_BIT | GL_PIXEL_MODE_BIT |
                        GL_TRANSFORM_BIT | GL_VIEWPORT_BIT);
        gl.glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        return state;
    }
    for (int index = 0; index < kHindrances; ++index) {
        state.capabilities[index] = gl.glIsEnabled(kHindrancesOfPrograms[index]) != 0;
    }
    state.depthTest = gl.glIsEnabled(GL_DEPTH_TEST) != 0;
    gl.glGetIntegerv(GL_DRAW_BUFFER, &state.drawBuffer);
    gl.glGetIntegerv(GL_DEPTH_FUNC, &state.depthFunction);
    gl.glGetBooleanv(GL_DEPTH_WRITEMASK, &state.depthMask);
    gl.glGetIntegerv(GL_ACTIVE_TEXTURE, &state.activeTexture);
    for (unsigned int unit = 0; unit < 2; ++unit) {
        gl.glActiveTexture(GL_TEXTURE0 + unit);
        gl.glGetIntegerv(GL_TEXTURE_BINDING_2D, &state.units[unit].texture);
        gl.glGetIntegerv(GL_SAMPLER_BINDING, &state.units[unit].sampler);
    }
    gl.glActiveTexture(static_cast<GLenum>(state.activeTexture));
    return state;
}

void COpenGLView::ReturnDrawingState(const DrawingState& state) {
    const GLCalls gl = CallGL();
    GLRenderingContextRecord& record = CurrentRecord();
    CurrentMath().Matrices() = state.matrices;
    const std::array<int, 4>& viewport = state.attributes.viewport;
    if (!DrawsWithPrograms()) {
        gl.glPopClientAttrib();
        gl.glPopAttrib();
        LoadCurrentMatrices();
        CurrentMath().SetViewport({viewport[0], viewport[1], viewport[2], viewport[3]});
        MatrixMode(state.attributes.matrixMode);
        record.attributes = state.attributes;
        return;
    }
    const auto load = [&](GLenum capability, bool on) {
        if ((gl.glIsEnabled(capability) != 0) != on) {
            LoadGLState(capability, on ? 1 : 0);
        }
    };
    for (int index = 0; index < kHindrances; ++index) {
        load(kHindrancesOfPrograms[index], state.capabilities[index]);
    }
    load(GL_DEPTH_TEST, state.depthTest);
    SetUpViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
    if (record.attributes.readBuffer != state.attributes.readBuffer) {
        ReadBuffer(state.attributes.readBuffer);
    }
    GLint drawBuffer = 0;
    gl.glGetIntegerv(GL_DRAW_BUFFER, &drawBuffer);
    if (drawBuffer != state.drawBuffer) {
        DrawBuffer(static_cast<unsigned int>(state.drawBuffer));
    }
    gl.glDepthFunc(static_cast<GLenum>(state.depthFunction));
    gl.glDepthMask(state.depthMask);
    for (unsigned int unit = 0; unit < 2; ++unit) {
        BindTextureUnit(GL_TEXTURE0 + unit, static_cast<unsigned int>(state.units[unit].texture),
                        static_cast<unsigned int>(state.units[unit].sampler));
    }
    gl.glActiveTexture(static_cast<GLenum>(state.activeTexture));
    record.attributes = state.attributes;
}

void COpenGLView::BindTextureUnit(unsigned int unit, unsigned int texture, unsigned int sampler) {
    const GLCalls gl = CallGL();
    gl.glActiveTexture(unit);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glBindSampler(unit - GL_TEXTURE0, sampler);
}

} // namespace KTR
