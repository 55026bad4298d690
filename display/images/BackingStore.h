#pragma once

#include "../values/ContextTypes.h"
#include "../values/GLTypes.h"
#include "../values/ViewCamera.h"

#include <glm/vec4.hpp>

#include <vector>

namespace KTR {

class COpenGLView;

/// The two buffers of a view's backing store; a copy of the view has its source's.
struct BackingStore {
    int saved = 0; ///< a frame is in it
    int allocatedWidth = 0;
    int allocatedHeight = 0;
    int requestedWidth = 0;
    int requestedHeight = 0;
    unsigned __int64 rgbaBytes = 0;
    unsigned __int64 secondBytes = 0;
    unsigned char* rgba = nullptr;   ///< malloc
    unsigned char* second = nullptr; ///< malloc; depths
};

/// The frame that the backing store holds, and what it was taken from. A copy of a view has none.
struct BackingStoreFrame {
    int x = 0; ///< window pixels, of its lower left
    int y = 0;
    int width = 0;
    int height = 0;
    int windowWidth = 0; ///< client size when it was saved
    int windowHeight = 0;
    HGLRC context = nullptr; ///< where it was drawn; null when there is no frame
    bool depth = false;      ///< the depths were saved too
    // What it shows, so that its depths tell places.
    ViewCamera camera;
    glm::dvec4 viewport{0.0};
    // What the programs' context puts it back from. The names stay for the next frame.
    unsigned int colorTexture = 0;
    unsigned int colorSampler = 0;
    unsigned int depthTexture = 0;
    unsigned int depthSampler = 0;
};

/// A rectangle of a stored frame and of the window that it belongs to: pixels from the lower left.
struct StoredPart {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// Whether the stored frame is the current context's and of the window's size.
bool CanRestoreParts(COpenGLView& view);
/// Puts parts of the stored frame back where they came from, with their depths on a 4.x context. False, and nothing
/// changed, where no stored frame fits. State is as before afterwards; an open batch is discarded.
bool RestoreStoredParts(COpenGLView& view, const std::vector<StoredPart>& parts, unsigned int drawBuffer);

/// After its context is gone: the next one may get the same handle, but not the frame.
void ForgetBackingStoreFrame(COpenGLView& view, GLRenderingContextTypes type);

/// The context that they were made in, or one of its share group, has to be current.
void DeleteBackingStoreTextures(COpenGLView& view);

} // namespace KTR
