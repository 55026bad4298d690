#pragma once

#include "../pipeline/ContextObjects.h"
#include "../platform/OrrinGLCement.h"
#include "../values/ContextTypes.h"
#include "../values/DrawGeometry.h"
#include "../values/GLAttributes.h"
#include "../values/MatrixStack.h"
#include "../values/OpenGLMath.h"
#include "../values/ViewHistory.h"

namespace KTR {

/// Everything that a view knows of one rendering context.
struct GLRenderingContextRecord {
    PIXELFORMATDESCRIPTOR pixelFormat{};
    // The request that the pixel format answers.
    bool drawToWindow = true;
    bool hardwareAccelerated = false;
    bool doubleBuffered = false;
    bool stereo = false;
    bool pixelFormatSet = false; ///< `window` has the format `pixelFormatNumber`
    bool initialized = false;    ///< a context has been created
    bool rasterFontReady = false;
    bool batchOpen = false;
    bool current = false; ///< made current by this view, and not deselected since
    int pixelFormatNumber = 0;
    HWND window = nullptr;
    HDC deviceContext = nullptr;
    HGLRC renderingContext = nullptr;
    ViewCamera camera;
    ViewHistory viewHistory;
    ZoomFocus zoomFocus;
    LoadedView loadedView;
    double coordinateOffsetX = 0.0;
    double coordinateOffsetY = 0.0;
    /// State without a settled meaning: a record has it and starts with it, and nothing reads it.
    struct Reserved {
        bool ofMainContext = false; ///< true in the main context's record
        bool flag = true;
    } reserved;
    COLORREF backgroundColor = 0;
    GLAttributes attributes{};
    int modelviewPushDepth = 0;
    int projectionPushDepth = 0;
    int attributePushDepth = 0;
    int textMatrixPushDepth = 0;
    bool clientVertexArray = false;
    bool clientColorArray = false;
    bool clientNormalArray = false;
    bool clientTextureArray = false;
    StackOfMatrices matrixStacks;
    CircularAttributeStack attributeStack;
    double textScale = 1.0;
    EyeDomeSettings eyeDome;
    COrrinGLCement* glCement = nullptr; ///< owned; the context's functions
    COpenGLMath* math = nullptr;        ///< owned
    /// The functions still have to be loaded, because the context could not be made current when it was created.
    bool functionsPending = false;
    /// The context shares nothing with the others, so the stock programs do not exist in it: it draws with fixed
    /// functions although the process draws with programs.
    bool fixedFunctionOnly = false;
    /// The driver lacks functions that drawing with programs needs: as above.
    bool lacksProgramFunctions = false;
    ContextObjects objects;           ///< of the rendering context
    bool loopContinued = false;       ///< the open line loop was split
    GLDrawGeometry loopFirstVertex{}; ///< where the split line loop has to close
};

/// Objects of a context that has dropped out of a record and may come back.
struct ParkedObjects {
    HGLRC context = nullptr;
    ContextObjects objects;
};

} // namespace KTR
