#include "../view/OpenGLView.h"

#include "../diagnostics/DebugNames.h"
#include "../pipeline/PixelStoreScope.h"
#include "../pipeline/TextureUnit.h"
#include "../view/ViewAccess.h"

#include "BackingStore.h"
#include "DrawingStateScope.h"
#include "ImageUpload.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>
#include <utility>

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

/// A rectangle of the frame and the window pixel of its lower left corner.
struct FramePart {
    int sourceX = 0;
    int sourceY = 0;
    int width = 0;
    int height = 0;
    int targetX = 0;
    int targetY = 0;
};

/// Frees what the view owns and forgets what it shares with the source of a copy. Textures stay for the next frame.
void FreeBackingStore(COpenGLView& view) {
    auto& owned = ViewAccess::Owned(view);
    std::free(owned.backingStore);
    std::free(owned.backingStoreSecond);
    owned.backingStore = nullptr;
    owned.backingStoreSecond = nullptr;
    ViewAccess::Store(view) = BackingStore{};
    ViewAccess::StoredFrame(view).context = nullptr;
}

/// Reads the frame from the selected buffer, and has the programs' context keep it as textures too.
long SaveFrame(COpenGLView& view, int x, int y, int width, int height) {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    const bool programs = view.DrawsWithPrograms();
    const GLCalls gl = ViewAccess::CurrentGL(view);
    const DebugGroup group(gl, "SaveBackingStore");
    BackingStore& store = ViewAccess::Store(view);
    BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    frame.context = nullptr;
    frame.depth = false;
    store.saved = 0;
    {
        const PixelStoreScope rows(ViewAccess::CallGL(view), PixelDirection::Pack, {1, width, 0, 0});
        view.ReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, store.rgba);
        if (programs && record.pixelFormat.cDepthBits != 0) {
            view.ReadPixels(x, y, width, height, GL_DEPTH_COMPONENT, GL_FLOAT, store.second);
            frame.depth = true;
        }
    }
    if (programs) {
        // Not as a host's image, which its settings for images would change.
        long loaded = UploadImage(view, {GL_RGBA, width, height, width, 1, store.rgba}, GL_TEXTURE0, GL_NEAREST,
                                  frame.colorTexture, frame.colorSampler);
        if (loaded == S_OK && frame.depth) {
            loaded = UploadImage(view, {GL_DEPTH_COMPONENT, width, height, width, 1, store.second}, GL_TEXTURE1,
                                 GL_NEAREST, frame.depthTexture, frame.depthSampler);
        }
        if (loaded != S_OK) {
            return loaded;
        }
    }
    frame.width = width;
    frame.height = height;
    view.GetWindowDimensions(frame.windowWidth, frame.windowHeight);
    frame.context = record.renderingContext;
    store.saved = 1;
    return S_OK;
}

/// True when the stored frame is the current context's, this window's, and of the size that the host means.
bool FrameFits(COpenGLView& view, unsigned long sizeInBytes) {
    const BackingStore& store = ViewAccess::Store(view);
    const BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    const bool own = store.saved != 0 && store.rgba && store.rgba == ViewAccess::Owned(view).backingStore;
    if (!own || !frame.context || frame.context != ViewAccess::CurrentRecord(view).renderingContext) {
        return false;
    }
    int windowWidth = 0;
    int windowHeight = 0;
    view.GetWindowDimensions(windowWidth, windowHeight);
    const unsigned long long bytes =
        static_cast<unsigned long long>(frame.width) * static_cast<unsigned long long>(frame.height) * kBytesPerPixel;
    return windowWidth == frame.windowWidth && windowHeight == frame.windowHeight &&
           (sizeInBytes == 0 || sizeInBytes == bytes);
}

/// A part that is drawn where it came from.
FramePart InPlace(const StoredPart& part) {
    return {part.x, part.y, part.width, part.height, part.x, part.y};
}

/// The area of the window that a unit square of matrices and viewport covers when parts are drawn.
struct DrawingArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

void DrawPartsWithPrograms(COpenGLView& view, const DrawingArea& area, std::span<const FramePart> parts, bool depth) {
    if (ViewAccess::StockPrograms().programs[GLShaderBackingStore].program == 0) {
        return; // it could not be built
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    const BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    // A quad covers its pixels exactly: one unit is one pixel, and each samples the middle of its own texel.
    MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    matrices.projection = COpenGLMath::OrthoMatrix(0.0, area.width, 0.0, area.height, -1.0, 1.0);
    matrices.modelview = glm::dmat4(1.0);
    view.Enable(GL_DEPTH_TEST);
    gl.glDepthFunc(GL_ALWAYS);
    gl.glDepthMask(depth && frame.depth ? GL_TRUE : GL_FALSE);
    BindTextureUnit(gl, 1, frame.depthTexture, frame.depthSampler);
    view.DrawSetupSetShaderTexture(frame.colorTexture, frame.colorSampler);
    view.EnableClientStateInternalBuffers(true, false, false, true, GLShaderBackingStore);
    view.BeginArrays(GL_TRIANGLES, GLShaderBackingStore);
    for (const FramePart& part : parts) {
        const int targetX = part.targetX - area.x;
        const int targetY = part.targetY - area.y;
        for (const auto& [right, up] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
            const double left = part.sourceX + right * part.width;
            const double lower = part.sourceY + up * part.height;
            view.AddIndex2DVertexTexCoords(targetX + right * part.width, targetY + up * part.height, left / frame.width,
                                           lower / frame.height);
        }
    }
    view.EndArrays();
}

/// NOTE: pixels are not textured: a driver of OpenGL 1.1 need not have textures of a window's size.
void DrawPartsWithFixedFunctions(COpenGLView& view, const DrawingArea& area, std::span<const FramePart> parts) {
    const GLCalls gl = ViewAccess::CallGL(view);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, area.width, 0.0, area.height, -1.0, 1.0);
    // The raster position of before may have been set under matrices that are long gone: only the stack gives it back.
    gl.glPushAttrib(GL_CURRENT_BIT | GL_PIXEL_MODE_BIT);
    gl.glPixelZoom(1.0F, 1.0F);
    for (const FramePart& part : parts) {
        // A quarter of a pixel inside, so that rounding takes the position neither out of the viewport, where nothing
        // would be drawn, nor into the next pixel.
        gl.glRasterPos2f(static_cast<float>(part.targetX - area.x) + 0.25F,
                         static_cast<float>(part.targetY - area.y) + 0.25F);
        const PixelStoreScope rows(gl, PixelDirection::Unpack,
                                   {1, ViewAccess::StoredFrame(view).width, part.sourceY, part.sourceX});
        gl.glDrawPixels(part.width, part.height, GL_RGBA, GL_UNSIGNED_BYTE, ViewAccess::Store(view).rgba);
    }
    gl.glPopAttrib();
}

void DrawParts(COpenGLView& view, DrawingStateScope& state, const DrawingArea& area, std::span<const FramePart> parts,
               bool depth) {
    state.PrepareForDrawing();
    view.SetUpViewport(area.x, area.y, area.width, area.height);
    if (view.DrawsWithPrograms()) {
        DrawPartsWithPrograms(view, area, parts, depth);
    } else {
        DrawPartsWithFixedFunctions(view, area, parts);
    }
    state.EndDrawing();
}

/// Turns off what would change the pixels on their way.
void ClearTheWay(COpenGLView& view) {
    for (const GLenum capability : view.DrawsWithPrograms() ? kHindrancesOfPrograms : kHindrancesOfFixedFunctions) {
        view.Disable(capability);
    }
    if (!view.DrawsWithPrograms()) {
        view.Disable(GL_DEPTH_TEST);
    }
}

} // namespace

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
    FreeBackingStore(*this);
    m_owned.backingStore = static_cast<unsigned char*>(std::calloc(bytes, 1));
    m_owned.backingStoreSecond = static_cast<unsigned char*>(std::calloc(bytes, 1));
    if (!m_owned.backingStore || !m_owned.backingStoreSecond) {
        FreeBackingStore(*this);
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
    FreeBackingStore(*this);
    if (m_currentContext == GLContextMain && ViewAccess::HasCurrentContext(*this)) {
        DeleteBackingStoreTextures(*this);
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
    long result = S_OK;
    m_backingStoreFrame.x = x;
    m_backingStoreFrame.y = y;
    m_backingStoreFrame.camera = CurrentRecord().camera;
    m_backingStoreFrame.viewport = GetViewport();
    {
        const DrawingStateScope state(*this, DrawnThing::Frame);
        PushBothMatrices(L"SaveBackingStore");
        ReadBuffer(readBuffer);
        Disable(GL_BLEND);
        Disable(GL_COLOR_LOGIC_OP);
        SetUpViewport(0, 0, width, height);
        MatrixMode(GL_PROJECTION);
        Ortho(0.0, width, 0.0, height, 0.0, 1.0);
        result = SaveFrame(*this, x, y, width, height);
        PopBothMatrices(L"SaveBackingStore");
    }
    if (type == GLContextMain) {
        const BackingStoreFrame& frame = m_backingStoreFrame;
        const bool whole = x == 0 && y == 0 && width == frame.windowWidth && height == frame.windowHeight;
        NoteFrameSaved(*this, result == S_OK && whole && readBuffer == GL_BACK);
    }
    outputGlError(L"SaveBackingStore: END");
    return result;
}

void COpenGLView::RestoreBackingStore(unsigned int format, unsigned long sizeInBytes, float rasterX, float rasterY,
                                      int x, int y, int width, int height, int windowX, int windowY, int windowWidth,
                                      int windowHeight, bool clear, bool depth, bool frontBuffer) {
    outputGlError(L"RestoreBackingStore");
    if (ViewAccess::HasCurrentContext(*this)) {
        const GLCalls gl = CurrentGL();
        const DebugGroup group(gl, "RestoreBackingStore");
        DrawingStateScope state(*this, DrawnThing::Frame);
        const bool programs = DrawsWithPrograms();
        const bool onlyFront = m_currentContext == GLContextLegacy || !GetDoubleBufferSetting(m_currentContext);
        DrawBuffer(frontBuffer || onlyFront ? GL_FRONT : GL_BACK);
        if (clear) {
            Clear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        }
        ClearTheWay(*this);
        if (format == GL_RGBA && FrameFits(*this, sizeInBytes) && !std::isnan(rasterX) && !std::isnan(rasterY)) {
            const Span columns = VisibleSpan(x, width, m_backingStoreFrame.width, rasterX, windowX, windowWidth);
            const Span rows = VisibleSpan(y, height, m_backingStoreFrame.height, rasterY, windowY, windowHeight);
            if (columns.size > 0 && rows.size > 0) {
                const FramePart part{static_cast<int>(columns.source), static_cast<int>(rows.source),
                                     static_cast<int>(columns.size),   static_cast<int>(rows.size),
                                     static_cast<int>(columns.target), static_cast<int>(rows.target)};
                const DrawingArea area{part.targetX, part.targetY, part.width, part.height};
                DrawParts(*this, state, area, std::span(&part, 1), depth);
                const BackingStoreFrame& frame = m_backingStoreFrame;
                if (m_currentContext == GLContextMain && !frontBuffer && part.sourceX == 0 && part.sourceY == 0 &&
                    part.targetX == 0 && part.targetY == 0 && part.width == frame.windowWidth &&
                    part.height == frame.windowHeight) {
                    NoteFrameRestored(*this);
                }
            }
        }
        if (programs) {
            // They draw with the test on, for depths are written only then.
            Disable(GL_DEPTH_TEST);
        }
        Flush();
    }
    outputGlError(L"RestoreBackingStore: END");
}

bool CanRestoreParts(COpenGLView& view) {
    return ViewAccess::HasCurrentContext(view) && FrameFits(view, 0);
}

bool RestoreStoredParts(COpenGLView& view, const std::vector<StoredPart>& parts, unsigned int drawBuffer) {
    if (!CanRestoreParts(view)) {
        return false;
    }
    const GLCalls gl = ViewAccess::CurrentGL(view);
    const DebugGroup group(gl, "RestoreBackingStore");
    const BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    std::vector<FramePart> framed;
    framed.reserve(parts.size());
    for (const StoredPart& part : parts) {
        framed.push_back(InPlace(part));
    }
    DrawingStateScope state(view, DrawnThing::Frame);
    view.DrawBuffer(drawBuffer);
    ClearTheWay(view);
    DrawParts(view, state, {0, 0, frame.width, frame.height}, framed, true);
    return true;
}

void ForgetBackingStoreFrame(COpenGLView& view, GLRenderingContextTypes type) {
    BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    if (frame.context == view.GetContextRecord(type).renderingContext) {
        frame.context = nullptr;
    }
    if (type == GLContextMain) {
        ForgetFrame(view);
    }
}

void DeleteBackingStoreTextures(COpenGLView& view) {
    BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    view.DeleteTextureAndSamplerNames(frame.colorTexture, frame.colorSampler);
    view.DeleteTextureAndSamplerNames(frame.depthTexture, frame.depthSampler);
    ForgetBackingStoreFrame(view, GLContextMain);
}

} // namespace KTR
