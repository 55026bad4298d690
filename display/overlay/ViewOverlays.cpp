#include "../view/OpenGLView.h"

#include "../images/BackingStore.h"
#include "../platform/Border.h"
#include "../view/ViewAccess.h"
#include "OverlayScope.h"

#include <GL/glext.h>

#include <algorithm>
#include <string_view>

namespace KTR {

namespace {

HDC DeviceContextOf(const COpenGLView& view) {
    return view.GetContextRecord(GLContextMain).deviceContext;
}

/// The frame that the host drew or presented last is still what the buffers hold.
bool HasHostFrame(const COpenGLView& view) {
    const OverlayState& state = ViewAccess::Overlays(view);
    int width = 0;
    int height = 0;
    view.GetWindowDimensions(width, height);
    return state.frame != HostFrame::None && width == state.width && height == state.height && width > 0 && height > 0;
}

void StartFrame(COpenGLView& view, HostFrame frame) {
    OverlayState& state = ViewAccess::Overlays(view);
    state.frame = frame;
    ++state.frameNumber;
    state.isInBack = false;
    if (frame != HostFrame::None) {
        view.GetWindowDimensions(state.width, state.height);
        if (!AtTheBorder([&state] { state.covered.Resize(state.width, state.height); })) {
            state.frame = HostFrame::None; // no overlay can be drawn over it
        }
    }
}

std::vector<StoredPart> PartsOf(const TileMask& mask, int height) {
    std::vector<StoredPart> parts;
    for (const PixelRectangle& rectangle : mask.Rectangles()) {
        parts.push_back({rectangle.left, height - rectangle.bottom, rectangle.Width(), rectangle.Height()});
    }
    return parts;
}

/// Whether a swap leaves the back buffer as it is, so that this is what the screen shows. OpenGL leaves it open; a
/// pixel format may promise it.
///
/// NOTE: Mesa's software drivers copy at a swap without promising it, and their front buffer is one that no swap fills:
/// reading it gives what was last drawn into it.
bool SwapKeepsBackBuffer(const COpenGLView& view) {
    if ((view.GetContextRecord(GLContextMain).pixelFormat.dwFlags & PFD_SWAP_COPY) != 0) {
        return true;
    }
    const GLubyte* const name = ViewAccess::CurrentGL(view).glGetString(GL_RENDERER);
    const std::string_view renderer = name ? reinterpret_cast<const char*>(name) : "";
    return renderer.find("llvmpipe") != renderer.npos || renderer.find("softpipe") != renderer.npos;
}

/// Everything over the frame, the band last. False when an overlay threw.
bool DrawOverlays(COpenGLView& view, TileMask& covered) {
    OverlayState& state = ViewAccess::Overlays(view);
    bool drawn = true;
    // A copy, because an overlay may add and remove overlays.
    const std::vector<Overlay> overlays = state.overlays;
    for (const Overlay& overlay : overlays) {
        const OverlayScope scope(view);
        GLCoveredArea area{0.0, 0.0, static_cast<double>(state.width), static_cast<double>(state.height)};
        view.Disable(GL_DEPTH_TEST);
        try {
            overlay.draw(view, area, overlay.context);
        } catch (...) {
            drawn = false;
            area = {0.0, 0.0, static_cast<double>(state.width), static_cast<double>(state.height)};
        }
        covered.AddRectangle(area.left, area.top, area.right, area.bottom);
    }
    if (state.band.IsActive()) {
        try {
            DrawRubberBand(view, covered);
        } catch (...) {
            drawn = false;
            covered.AddAll();
        }
    }
    return drawn;
}

} // namespace

void NoteFrameBegun(COpenGLView& view) {
    if (view.GetCurrentContextType() == GLContextMain) {
        StartFrame(view, HostFrame::Drawn);
    }
}

void NoteFramePresented(COpenGLView& view, bool due) {
    OverlayState& state = ViewAccess::Overlays(view);
    if (!state.isInBack || state.covered.IsEmpty()) {
        StartFrame(view, HostFrame::Presented);
        return;
    }
    if (due) {
        // What waited is the frame with its overlays.
        state.isInBack = SwapKeepsBackBuffer(view);
        return;
    }
    // The back buffer held the overlays too, and whether the host has drawn over them without clearing nobody knows.
    StartFrame(view, HostFrame::None);
}

void NoteFrameSaved(COpenGLView& view, bool wholeBackBuffer) {
    OverlayState& state = ViewAccess::Overlays(view);
    const bool hasOverlays = !state.covered.IsEmpty();
    if (wholeBackBuffer && HasHostFrame(view) && !hasOverlays && (state.isInBack || state.frame == HostFrame::Drawn)) {
        ++state.frameNumber;
        state.storedFrame = state.frameNumber;
        state.isInBack = true;
        return;
    }
    state.storedFrame = 0;
    if (hasOverlays) {
        ForgetFrame(view); // what was beneath them stood in the store only
    }
}

void NoteFrameRestored(COpenGLView& view) {
    OverlayState& state = ViewAccess::Overlays(view);
    if (HasHostFrame(view) && state.storedFrame == state.frameNumber) {
        state.isInBack = true;
        state.covered.Clear();
    }
}

void ForgetFrame(COpenGLView& view) {
    OverlayState& state = ViewAccess::Overlays(view);
    state.frame = HostFrame::None;
    state.isInBack = false;
}

namespace {

long StoreFrame(COpenGLView& view) {
    OverlayState& state = ViewAccess::Overlays(view);
    if (!view.MakeCurrent(GLContextMain)) {
        return E_FAIL;
    }
    if (!HasHostFrame(view)) {
        return S_FALSE;
    }
    if (state.storedFrame == state.frameNumber && CanRestoreParts(view)) {
        return S_OK;
    }
    // Where a presented frame has left the back buffer, it is on the screen only.
    const bool isInBack =
        view.GetDoubleBufferSetting(GLContextMain) && (state.frame == HostFrame::Drawn || SwapKeepsBackBuffer(view));
    const unsigned int buffer = isInBack ? GL_BACK : GL_FRONT;
    const long result =
        view.SaveBackingStore(DeviceContextOf(view), GLContextMain, buffer, 0, 0, state.width, state.height);
    if (result != S_OK) {
        return result;
    }
    if (!HasHostFrame(view)) {
        return S_FALSE; // the buffer had overlays too, and the store without them is gone
    }
    state.storedFrame = state.frameNumber;
    state.isInBack = isInBack;
    state.covered.Resize(state.width, state.height);
    return S_OK;
}

long Compose(COpenGLView& view) {
    const long stored = StoreHostFrame(view);
    if (stored != S_OK) {
        return stored;
    }
    OverlayState& state = ViewAccess::Overlays(view);
    const bool doubleBuffered = view.GetDoubleBufferSetting(GLContextMain);
    TileMask restored = state.covered;
    if (doubleBuffered && !state.isInBack) {
        restored.AddAll();
    }
    const unsigned int buffer = doubleBuffered ? GL_BACK : GL_FRONT;
    if (!restored.IsEmpty() && !RestoreStoredParts(view, PartsOf(restored, state.height), buffer)) {
        ForgetFrame(view);
        return E_FAIL;
    }
    state.isInBack = true;
    TileMask covered;
    covered.Resize(state.width, state.height);
    const bool drawn = DrawOverlays(view, covered);
    state.covered = covered;
    if (!doubleBuffered) {
        view.Flush();
    } else if (state.swap.MayPresent()) {
        state.isInBack = PresentBackBuffer(view) && SwapKeepsBackBuffer(view);
    }
    return drawn ? S_OK : E_FAIL;
}

long KeepBand(COpenGLView& view) {
    const long stored = StoreHostFrame(view);
    if (stored != S_OK) {
        return stored;
    }
    OverlayState& state = ViewAccess::Overlays(view);
    const unsigned int buffer = view.GetDoubleBufferSetting(GLContextMain) ? GL_BACK : GL_FRONT;
    if (!RestoreStoredParts(view, {{0, 0, state.width, state.height}}, buffer)) {
        ForgetFrame(view);
        return E_FAIL;
    }
    state.isInBack = true;
    state.covered.Clear();
    TileMask covered;
    covered.Resize(state.width, state.height);
    try {
        DrawRubberBand(view, covered);
    } catch (...) {
        ForgetFrame(view);
        return E_FAIL;
    }
    const long result =
        view.SaveBackingStore(DeviceContextOf(view), GLContextMain, buffer, 0, 0, state.width, state.height);
    return result == S_OK ? ComposeOverlays(view) : result;
}

/// Without memory for its notes nobody knows what the buffers hold.
template <typename Operation> long ForgetFrameWithoutMemory(COpenGLView& view, Operation operation) {
    long result = E_OUTOFMEMORY;
    if (!AtTheBorder([&] { result = operation(view); })) {
        ForgetFrame(view);
    }
    return result;
}

} // namespace

long StoreHostFrame(COpenGLView& view) {
    return ForgetFrameWithoutMemory(view, StoreFrame);
}

long ComposeOverlays(COpenGLView& view) {
    return ForgetFrameWithoutMemory(view, Compose);
}

long KeepRubberBand(COpenGLView& view) {
    return ForgetFrameWithoutMemory(view, KeepBand);
}

bool COpenGLView::NeedsRedraw() const {
    const bool wanted = m_overlays.band.IsActive() || !m_overlays.covered.IsEmpty();
    return wanted && !HasHostFrame(*this);
}

int COpenGLView::AddOverlay(GLOverlayFunction draw, void* context, int order) {
    if (!draw) {
        return 0;
    }
    return AtTheBorder(0, [&] {
        const Overlay overlay{++m_overlays.lastNumber, order, draw, context};
        std::vector<Overlay>& overlays = m_overlays.overlays;
        const auto behind = std::upper_bound(overlays.begin(), overlays.end(), order,
                                             [](int wanted, const Overlay& other) { return wanted < other.order; });
        overlays.insert(behind, overlay);
        return overlay.number;
    });
}

bool COpenGLView::RemoveOverlay(int overlay) {
    return std::erase_if(m_overlays.overlays, [overlay](const Overlay& other) { return other.number == overlay; }) != 0;
}

long COpenGLView::RedrawOverlays() {
    return ComposeOverlays(*this);
}

void COpenGLView::SwapBuffersSetDelayedSwapModeState(bool on) {
    m_overlays.swap.SetMode(on);
    PresentWhatIsDue();
}

void COpenGLView::SwapBuffersCountDelayedLayerStart() {
    m_overlays.swap.StartLayer();
}

void COpenGLView::SwapBuffersCountDelayedLayerComplete() {
    m_overlays.swap.CompleteLayer();
    PresentWhatIsDue();
}

int COpenGLView::GetDelayedLayerCount() const {
    return m_overlays.swap.LayerCount();
}

/// A swap belongs to the thread that has the context: on another one it is left to the view's next call there.
void COpenGLView::PresentWhatIsDue() {
    if (HasCurrentContext() && m_overlays.swap.TakeDuePresent() && PresentBackBuffer(*this)) {
        NoteFramePresented(*this, true);
    }
}

} // namespace KTR
