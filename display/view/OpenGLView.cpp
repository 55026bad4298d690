#include "OpenGLView.h"

#include "../images/RasterState.h"
#include "../platform/GLCalls.h"

#include "../pipeline/GeometryFilling.h"
#include "../platform/Border.h"
#include "../platform/ContextLifecycle.h"
#include "../platform/CriticalSectionLock.h"
#include "../platform/Notice.h"
#include "../platform/ShareGroup.h"
#include "../profile/ProfileState.h"
#include "../shapes/ShapeDrawing.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

namespace KTR {

long COpenGLView::m_gManagerCount = -1;
long COpenGLView::m_gContextCount = -1;
OpenGLVersionData COpenGLView::m_gsOpenGLVersionData;
CRITICAL_SECTION COpenGLView::m_gcsOpenGLConstructor;
CRITICAL_SECTION COpenGLView::m_gcsOpenGLCreateContext;
CFTGLFontManager COpenGLView::m_gFontManager;
COpenGLViewTextureManager COpenGLView::m_gRasterTextureManager;
CArray<unsigned int> COpenGLView::m_gcaSamplersForWindowToDelete;
CStringA COpenGLView::m_gVideoVendorString;
WglChoosePixelFormatARB COpenGLView::m_gfn_wglChoosePixelFormatARB = nullptr;
WglCreateContextAttribsARB COpenGLView::m_gfn_wglCreateContextAttribsARB = nullptr;
WglGetPixelFormatAttribivARB COpenGLView::m_gfn_wglGetPixelFormatAttribivARB = nullptr;
ShaderSet COpenGLView::m_gShaderSet;
int COpenGLView::m_gClassInitialized = 0;

COpenGLView::COpenGLView() {
    m_managerIndex = InterlockedIncrement(&m_gManagerCount);
    InitializeCriticalSection(&m_managerSection);
    m_owned.lock = true;

    SetUpClassLocks();
    const CriticalSectionLock lock(ClassLock(m_gcsOpenGLConstructor));
    if (m_managerIndex != 0) {
        Initialize();
        return;
    }
    m_gShaderSet = ShaderSet{};
    Initialize();
    GetOpenGLVersionWithGLCement();
    // Only now: whether there is a default font and how large its texture may be is known from the bootstrap.
    m_gFontManager.InitializeObject();
}

COpenGLView::COpenGLView(const COpenGLView& other) {
    m_batchStorage.Clear(); // for contexts of its own, should it get some
    CopySettings(other);
}

COpenGLView& COpenGLView::operator=(const COpenGLView& other) {
    if (this != &other) {
        CopySettings(other);
    }
    return *this;
}

COpenGLView::~COpenGLView() {
    ForgetProfileLinks(*this);
    ReleaseContextRecord(*this, GLContextMain, L"Destructor:");
    ReleaseContextRecord(*this, GLContextLegacy, L"Destructor:");
    DeleteParkedContexts(*this);
    if (m_owned.tesselator) {
        m_owned.tesselator->Destroy();
        delete m_owned.tesselator;
    }
    std::free(m_owned.backingStore);
    std::free(m_owned.backingStoreSecond);
    if (m_owned.lock) {
        DeleteCriticalSection(&m_managerSection);
    }
}

void COpenGLView::Initialize() {
    m_copiedMasterIndex = -1;
    m_filling.reset();
    SelectRecord(GLContextMain);
    m_name.Empty();
    m_message.Empty();
    m_loadNewTexture[0] = false;
    m_loadNewTexture[1] = false;
    m_overlays.swap.Reset();
    m_batch = VertexBatchState{};
    m_shapes.reset();
    m_reserved = Reserved{};
    m_batchStorage.Clear();
    m_backingStore = BackingStore{};
    LoadCurrentGLBuffers();
    m_textureRequest = TextureRequest{};
    m_requestedTexture = GLTextureObject{};
    if (!m_owned.tesselator) {
        m_owned.tesselator = new (std::nothrow) GLTesselator(this);
    }
    m_tesselator = m_owned.tesselator;
    InitializeOpenGLContextStruct();
}

void COpenGLView::InitializeOpenGLContextStruct() {
    m_savedLighting = 0;
    m_savedDepthTest = 0;
    m_batch.batchPrimitiveMode = 0;
    m_exitingDeviceContext = nullptr;
    m_exitingRenderingContext = nullptr;
    m_exitingContext = GLContextMain;

    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        ReleaseContextRecord(*this, type, L"Initialize:");
    }
    DeleteParkedContexts(*this);
    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        GLRenderingContextRecord& record = m_contexts[type];
        record = GLRenderingContextRecord{};
        record.hardwareAccelerated = type == GLContextMain;
        record.doubleBuffered = type == GLContextMain;
        record.reserved.ofMainContext = type == GLContextMain;
        record.math = new (std::nothrow) COpenGLMath;
        if (!record.math) {
            ShowFrameworkMessageBox(L"Out of Memory. Unable to create new OpenGL Math object.  Fatal Error");
        }
        record.attributes = DefaultGLAttributes();
        InitializeIdentityStackOfMatrices(record.matrixStacks);
        InitializeDefaultLights(type);
    }
}

void COpenGLView::InitializeOpenGL(HWND window) {
    if (window) {
        GLRenderingContextRecord& record = m_contexts[GLContextMain];
        record.window = window;
        record.deviceContext = GetDC(window);
        MakeCurrent(record.deviceContext, record.renderingContext, GLContextMain);
    }
    outputGlError(L"OnInitialUpdate() bindGL()");
    SetBackgroundColor(0, false);
    if (DrawsWithPrograms()) {
        outputGlError(L"glShadeModel: END");
        return;
    }
    CallGL().glShadeModel(GL_FLAT);
}

void COpenGLView::ShutDownOpenGLContexts(HWND window) {
    if (!window) {
        return;
    }
    if (m_owned.tesselator) {
        const CriticalSectionLock lock(ClassLock(m_gcsOpenGLConstructor));
        m_owned.tesselator->Destroy();
    }
    if (!DrawsWithPrograms()) {
        return;
    }
    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        if (m_contexts[type].renderingContext) {
            ReleaseGLObjects(*this, window, type);
        }
    }
}

/// The locks are there from the first view on, and again from the first one after the last call.
void COpenGLView::SetUpClassLocks() {
    static std::mutex s_settingUp;
    const std::lock_guard lock(s_settingUp);
    if (!m_gClassInitialized) {
        InitializeCriticalSection(&m_gcsOpenGLConstructor);
        InitializeCriticalSection(&m_gcsOpenGLCreateContext);
        m_gClassInitialized = 1;
    }
}

void COpenGLView::FinalShutDownDestroyClassCriticalSection() {
    if (!m_gClassInitialized) {
        return;
    }
    m_gClassInitialized = 0;
    DeleteCriticalSection(&m_gcsOpenGLConstructor);
    DeleteCriticalSection(&m_gcsOpenGLCreateContext);
    std::memset(&m_gcsOpenGLConstructor, 0, sizeof(m_gcsOpenGLConstructor));
    std::memset(&m_gcsOpenGLCreateContext, 0, sizeof(m_gcsOpenGLCreateContext));
    m_gCurrentRenderingContext = nullptr;
    m_gCurrentDeviceContext = nullptr;
    CFTGLFontManager::ReleaseScreen();
}

long COpenGLView::InitializeFontManager() {
    return m_gFontManager.CreateDefaultFont();
}

void COpenGLView::EnterManagerCriticalSection() {
    if (m_owned.lock) {
        EnterCriticalSection(&m_managerSection);
    }
    m_inManagerSection = true;
}

void COpenGLView::LeaveManagerCriticalSection() {
    if (m_owned.lock) {
        LeaveCriticalSection(&m_managerSection);
    }
    m_inManagerSection = false;
}

int COpenGLView::GetMasterContextIndex() const {
    const HGLRC main = m_contexts[GLContextMain].renderingContext;
    const LibraryContext known = ShareGroup::Find(main);
    if (!known.shares || known.owner != this) {
        return m_copiedMasterIndex;
    }
    return ShareGroup::IsMaster(main) ? 0 : static_cast<int>(std::max(known.number, 1L));
}

/// Takes over what a copy shares with its source. Records, arrays and locks stay this view's own, and so does what it
/// has to free: the members copied here only point.
void COpenGLView::CopySettings(const COpenGLView& other) {
    m_batch = other.m_batch;
    m_batch.ForgetWaiting();
    m_batch.sharedDepth = 0;
    m_backingStore = other.m_backingStore;
    AtTheBorder([&] {
        // The texts; where there is no memory for one, it and those behind it stay as they were.
        m_requestedTexture = other.m_requestedTexture;
        m_reserved = other.m_reserved;
        m_name = other.m_name;
        m_message = other.m_message;
    });
    m_textureRequest = other.m_textureRequest;
    m_tesselator = other.m_tesselator;
    m_loadNewTexture[0] = other.m_loadNewTexture[0];
    m_loadNewTexture[1] = other.m_loadNewTexture[1];
    m_inManagerSection = other.m_inManagerSection;
    m_overlays.swap.TakeOver(other.m_overlays.swap);
    m_managerIndex = other.m_managerIndex;
    m_copiedMasterIndex = other.GetMasterContextIndex();
    SelectRecord(other.m_currentContext);
}

} // namespace KTR
