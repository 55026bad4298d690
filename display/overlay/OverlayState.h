#pragma once

#include "DelayedSwap.h"
#include "OverlayTypes.h"
#include "RubberBand.h"
#include "TileMask.h"

#include <vector>

namespace KTR {

class COpenGLView;

/// How far the host is with its frame.
enum class HostFrame {
    None,      ///< there is none, or nobody knows what the buffers hold
    Drawn,     ///< in the back buffer: cleared since the last was presented
    Presented, ///< on the screen
};

struct Overlay {
    int number = 0;
    int order = 0;
    GLOverlayFunction draw = nullptr;
    void* context = nullptr;
};

/// What a view keeps of what is drawn over its frame.
struct OverlayState {
    DelayedSwap swap;

    HostFrame frame = HostFrame::None;
    unsigned int frameNumber = 0; ///< counts the host's frames
    int width = 0;                ///< client size when the frame was begun or presented
    int height = 0;

    unsigned int storedFrame = 0; ///< number of the frame that the backing store holds for overlays
    bool isInBack = false;        ///< the back buffer holds it, but for what is `covered`
    TileMask covered;             ///< by the overlays drawn last

    RubberBand band;
    GLRubberBandStyle bandStyle;
    std::vector<Overlay> overlays; ///< in the order of drawing
    int lastNumber = 0;
};

/// The host has begun a frame in the back buffer.
void NoteFrameBegun(COpenGLView& view);
/// The back buffer was presented because the host asked for it, or because it had been `due`.
void NoteFramePresented(COpenGLView& view, bool due);
/// Has the system swap the main context's buffers. False when the context was lost, and made anew.
bool PresentBackBuffer(COpenGLView& view);
/// The backing store was filled from the main context by somebody: with the whole back buffer or with something else.
void NoteFrameSaved(COpenGLView& view, bool wholeBackBuffer);
/// All of the stored frame was put back into the back buffer.
void NoteFrameRestored(COpenGLView& view);
/// The context is gone, and the frame with it.
void ForgetFrame(COpenGLView& view);

/// Puts the stored frame right wherever overlays cover it, draws all overlays and the band, and presents what changed.
long ComposeOverlays(COpenGLView& view);
/// Has the backing store hold the host's frame. S_FALSE where there is none.
long StoreHostFrame(COpenGLView& view);
/// Makes the band, which has ended, a part of the stored frame.
long KeepRubberBand(COpenGLView& view);
/// Draws the band over what is there, and says what it covers.
void DrawRubberBand(COpenGLView& view, TileMask& covered);

} // namespace KTR
