#include "../view/OpenGLView.h"

#include "../view/ViewAccess.h"
#include "Border.h"
#include "GLCalls.h"
#include "Notice.h"
#include "ProcessEnvironment.h"
#include "ProgramFunctions.h"
#include "ShareGroup.h"

#include <GL/glext.h>

#include <cstdlib>
#include <cwchar>
#include <new>

namespace KTR {

namespace {

constexpr wchar_t kBootstrapName[] = L"GLCement";
constexpr wchar_t kFatalError[] = L"Fatal Error";
constexpr std::size_t kLineCapacity = 160; ///< of the longest line with two numbers in it

/// The hidden window that the loader bootstraps on; gone at the end of the scope.
class BootstrapWindow {
public:
    explicit BootstrapWindow(HINSTANCE instance) : m_instance(instance) {}
    BootstrapWindow(const BootstrapWindow&) = delete;
    BootstrapWindow& operator=(const BootstrapWindow&) = delete;

    bool RegisterWindowClass() const {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = DefWindowProcW;
        windowClass.hInstance = m_instance;
        windowClass.lpszClassName = kBootstrapName;
        return RegisterClassW(&windowClass) != 0;
    }
    bool Create() {
        m_window = CreateWindowExW(0, kBootstrapName, kBootstrapName,
                                   WS_OVERLAPPEDWINDOW | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, CW_USEDEFAULT,
                                   CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, m_instance, nullptr);
        return m_window != nullptr;
    }
    bool ObtainDeviceContext() {
        m_deviceContext = GetDC(m_window);
        return m_deviceContext != nullptr;
    }
    HDC DeviceContext() const { return m_deviceContext; }
    void Destroy() const {
        ReleaseDC(m_window, m_deviceContext);
        DestroyWindow(m_window);
        UnregisterClassW(kBootstrapName, m_instance);
    }

private:
    HINSTANCE m_instance;
    HWND m_window = nullptr;
    HDC m_deviceContext = nullptr;
};

template <typename Function> void FetchExtension(Function& function, const char* name) {
    const PROC address = wglGetProcAddress(name);
    static_assert(sizeof(function) == sizeof(address));
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

void ShowFatalError(const wchar_t* text) {
    AtTheBorder([text] { ShowMessageBox(FrameworkMainWindow(), text, kFatalError, MB_ICONERROR); });
}

/// `message` keeps the text where there is memory for it.
void ShowBootstrapFailure(const wchar_t* text, CString& message) {
    AtTheBorder([&] { message = text; });
    ShowFatalError(text);
}

/// A plain fixed-function context on the bootstrap's window, or null after a message box.
HGLRC CreateBootstrapContext(HDC deviceContext, CString& message) {
    const PIXELFORMATDESCRIPTOR request = PixelFormatRequest(true, 32, 24);
    const int format = ChoosePixelFormat(deviceContext, &request);
    if (format == 0) {
        ShowBootstrapFailure(L"Couldn't Choose a suitable OpenGL Pixel Format to intialize GLCement", message);
        return nullptr;
    }
    if (!SetPixelFormat(deviceContext, format, &request)) {
        ShowBootstrapFailure(L"Couldn't Set a suitable OpenGL Pixel Format to intialize GLCement", message);
        return nullptr;
    }
    const HGLRC context = wglCreateContext(deviceContext);
    if (!context) {
        constexpr const wchar_t* noContext = L"Couldn't Create a suitable OpenGL context to intialize GLCement";
        ShowBootstrapFailure(noContext, message);
        SendToDebugger(noContext);
    }
    return context;
}

/// A 4.x context whose driver lacks what programs need draws with fixed functions, and is no master of programs that it
/// could not use.
void NoteMissingFunctions(COpenGLView& view, GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = ViewAccess::Record(view, type);
    record.lacksProgramFunctions = true; // where there is no memory for their names, some are missing
    CString message;
    AtTheBorder([&] {
        CString missing;
        record.lacksProgramFunctions = FindMissingProgramFunctions(*record.glCement, missing);
        message.Format(L"OrrinDisplay: this context draws with fixed functions, because the driver lacks %s.\n",
                       missing.GetString());
    });
    if (record.lacksProgramFunctions && record.renderingContext && COpenGLView::IsContextOpenGL4OrLater(type)) {
        ShareGroup::Leave(record.renderingContext);
        SendToDebugger(message.GetString());
    }
}

} // namespace

bool COpenGLView::IsContextOpenGL4OrLater(GLRenderingContextTypes type) {
    return m_gsOpenGLVersionData.bOpenGL4OrLater && type != GLContextLegacy;
}

bool COpenGLView::IsContextLegacyOpenGL11(GLRenderingContextTypes type) {
    return m_gsOpenGLVersionData.bLegacyOpenGL11 || type == GLContextLegacy;
}

int COpenGLView::GetOpenGLVersionWithGLCement() {
    OpenGLVersionData& version = m_gsOpenGLVersionData;
    const int result = InitializeGLCement();
    const bool isExecutable = IsProcessRunningAsAnExecutableAndNotAService() != 0;
    bool wantsOpenGL11 = GetOpenGL11UserEnvironmentVariable();
    if (version.eVendor == VendorATI || version.eVendor == VendorOther) {
        // The 4.x pipeline is offered to the drivers that it is supported on.
        wantsOpenGL11 = true;
    }
    version.bTextureCache = GetOpenGLTextureCacheEnvironmentVariable();

    if (!isExecutable || wantsOpenGL11) {
        version.bOpenGL4OrLater = false;
        version.bBootstrapFlag = false;
        version.bLegacyOpenGL11 = true;
        version.bAdvancedPixelFormat = false;
        // Sets bAdvancedPixelFormat again where the driver has it: attribute-based formats serve both pipelines.
        SetOpenGLVersion(version.iLegacyMajor, version.iLegacyMinor);
        version.iMaxTextureSize = 16384;
        version.iMaxVertexAttribs = 16;
    }
    return result;
}

int COpenGLView::GetVendorGLVersion(int& combined, int& major, int& minor, GLVideoCardVendor& vendor) {
    const char* text = reinterpret_cast<const char*>(CallGL().glGetString(GL_VERSION));
    major = combined / 10;
    minor = combined % 10;
    AtTheBorder([text] { m_gVideoVendorString = text; });
    SendToDebugger("\n\n------------------------\n     Video Vendor:  ");
    SendToDebugger(text ? text : "");
    SendToDebugger("\n");
    if (!text) {
        return combined;
    }
    const ParsedGLVersion parsed = ParseGLVersionText(text);
    if (parsed.understood) {
        combined = parsed.combined;
        major = parsed.major;
        minor = parsed.minor;
        vendor = parsed.vendor;
        return combined;
    }
    AtTheBorder([&] {
        const int length = MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, nullptr, 0);
        CArray<wchar_t> wide;
        wide.SetSize(length > 0 ? length : 1);
        MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, wide.GetData(), length);
        m_message.Format(L"Unable to interpret GL_VERSION string: %s\n", wide.GetData());
    });
    return 11;
}

int COpenGLView::SetOpenGLVersion(int major, int minor) {
    OpenGLVersionData& version = m_gsOpenGLVersionData;
    version.iMajor = major;
    version.iMinor = minor;
    version.bOpenGL4OrLater = major >= 4;
    version.bLegacyOpenGL11 = major < 4;
    version.bAdvancedPixelFormat = m_gfn_wglChoosePixelFormatARB != nullptr;
    wchar_t banner[kLineCapacity] = {};
    _snwprintf(banner, kLineCapacity - 1,
               L"\n\n------------------------\n     OpenGL Version Set to: OpenGL "
               L"%ld.%ld\n------------------------\n\n",
               static_cast<long>(major), static_cast<long>(minor));
    SendToDebugger(banner);
    return version.bOpenGL4OrLater ? 1 : 0;
}

void COpenGLView::ForceSoftwareRendering(bool on) {
    m_gsOpenGLVersionData.bForceSoftwareRendering = on;
    // One-sided on purpose: what was in force before is not remembered, so turning it off cannot bring it back.
    if (on) {
        SetOpenGLVersion(1, 1);
    }
}

int COpenGLView::GetMaximumTextureSize() {
    return m_gsOpenGLVersionData.iMaxTextureSize;
}

int COpenGLView::GetContextMaxTextureSize() {
    GLint size = 0;
    CallGL().glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
    return size;
}

int COpenGLView::InitializeGLCement() {
    SetOpenGLVersion(2, 0);
    m_gsOpenGLVersionData.bBootstrapFlag = false;
    m_gsOpenGLVersionData.bGLCementInitialized = false;
    m_gsOpenGLVersionData.iMaxVertexAttribs = 16;
    m_gsOpenGLVersionData.iMaxTextureSize = 64;

    BootstrapWindow window(GetModuleHandleW(nullptr));
    if (!window.RegisterWindowClass()) {
        ShowFatalError(L"Couldn't register window class to intialize GLCement");
        return 0;
    }
    if (!window.Create()) {
        ShowFatalError(L"Couldn't create window to intialize GLCement");
        return 0;
    }
    if (!window.ObtainDeviceContext()) {
        ShowFatalError(L"Couldn't create window device context to intialize GLCement");
        return 0;
    }

    // From here on failures show their box and still run to the end with 1: the process then draws with the defaults.
    const HGLRC context = CreateBootstrapContext(window.DeviceContext(), m_message);
    GLRenderingContextRecord& record = m_contexts[GLContextMain];
    if (context) {
        wglMakeCurrent(window.DeviceContext(), context);
        SelectRecord(GLContextMain);
        record.renderingContext = context;
        MakeGLCementAndLoad(GLContextMain);
        ReadDriverVersion();
        record.renderingContext = nullptr;
    }
    m_gsOpenGLVersionData.bGLCementInitialized = true;
    MakeNull();
    wglDeleteContext(context);
    window.Destroy();
    if (COrrinGLCement* functions = CurrentRecord().glCement) {
        // What was fetched under the bootstrap's context is not valid under any other.
        functions->InitializeTables();
    }
    return 1;
}

int COpenGLView::MakeGLCementAndLoad(GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = m_contexts[type];
    if (record.glCement) {
        record.glCement->InitializeTables();
    } else {
        record.glCement = new (std::nothrow) COrrinGLCement;
        if (!record.glCement) {
            return 0;
        }
    }
    record.glCement->LoadOpenGLExtensionFunctions();
    NoteMissingFunctions(*this, type);
    return 1;
}

int COpenGLView::MakeGLCementAndLoadIfNeeded(GLRenderingContextTypes type, bool force) {
    return force || !m_contexts[type].glCement ? MakeGLCementAndLoad(type) : 1;
}

int COpenGLView::CreateContextThroughGLCement(HDC deviceContext, GLRenderingContextTypes type) {
    // A bitmap's context goes into the record of bitmaps, and only there.
    GLRenderingContextRecord& record = m_contexts[WindowFromDC(deviceContext) ? type : GLContextLegacy];
    return CreateContextAndMakeCurrent(deviceContext, type, record.deviceContext, record.renderingContext);
}

/// Settles the version from the driver whose context is current, and fetches the WGL extensions.
void COpenGLView::ReadDriverVersion() {
    OpenGLVersionData& version = m_gsOpenGLVersionData;
    const GLCalls gl = CallGL();
    int combined = 20;
    int major = 2;
    int minor = 0;
    const int reported = GetVendorGLVersion(combined, major, minor, version.eVendor);

    const VersionChoice choice =
        ChooseVersion(reported, gl.Has(&GLEntryPoints::glCreateShader) && gl.Has(&GLEntryPoints::glMapBufferRange));
    version.iLegacyMajor = choice.legacyMajor;
    version.iLegacyMinor = choice.legacyMinor;
    version.iVendorMajor = choice.driverFails ? 2 : major;
    version.iVendorMinor = choice.driverFails ? 0 : minor;
    if (choice.driverFails) {
        // Always says 2.0, whatever the driver claimed: support knows the line by these numbers.
        SendToDebugger(L"CRITICAL PROBLEM WITH VENDOR OPENGL: Falling back from version: 2.0 to Version 1.1 ");
    }

    FetchExtension(m_gfn_wglCreateContextAttribsARB, "wglCreateContextAttribsARB");
    FetchExtension(m_gfn_wglChoosePixelFormatARB, "wglChoosePixelFormatARB");
    FetchExtension(m_gfn_wglGetPixelFormatAttribivARB, "wglGetPixelFormatAttribivARB");
    SetOpenGLVersion(choice.major, choice.minor);
    version.bAdvancedPixelFormat = m_gfn_wglCreateContextAttribsARB && m_gfn_wglChoosePixelFormatARB;
    gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &version.iMaxTextureSize);
    gl.glGetIntegerv(GL_MAX_VERTEX_ATTRIBS, &version.iMaxVertexAttribs);
}

} // namespace KTR
