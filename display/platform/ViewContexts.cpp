#include "../view/OpenGLView.h"

#include "../diagnostics/DebugNames.h"
#include "GLCalls.h"

#include "Border.h"
#include "ContextLifecycle.h"
#include "CriticalSectionLock.h"
#include "Notice.h"
#include "ShareGroup.h"

namespace KTR {

namespace {

/// System error of a swap whose window lost its pixel format.
constexpr DWORD kInvalidPixelFormat = 2000;

/// A memory bitmap is drawn by the fixed-function pipeline, whatever the process uses.
GLRenderingContextTypes KindFor(HDC deviceContext, GLRenderingContextTypes type) {
    return WindowFromDC(deviceContext) ? type : GLContextLegacy;
}

} // namespace

HGLRC COpenGLView::m_gCurrentRenderingContext = nullptr;
HDC COpenGLView::m_gCurrentDeviceContext = nullptr;
OpenGLHardwareAcceleration COpenGLView::m_gDefaultAcceleration = AccelerationHardware;

int COpenGLView::CreateContext(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type, const wchar_t* name,
                               int colorBits, OpenGLHardwareAcceleration acceleration) {
    type = KindFor(deviceContext, type);
    const bool hardware = drawToWindow && acceleration != AccelerationSoftware;
    const int deviceColorBits = colorBits < 1 ? GetDeviceCaps(deviceContext, BITSPIXEL) : colorBits;
    AtTheBorder([&] { m_name = name; });

    int result = 0;
    if (m_gsOpenGLVersionData.bAdvancedPixelFormat && acceleration != AccelerationSoftware) {
        result = SetupAdvancedPixelFormatForOpenGL(deviceContext, type, drawToWindow, deviceColorBits, hardware,
                                                   hardware, false);
        if (result != 1) {
            return result;
        }
        GLRenderingContextRecord& record = m_contexts[type];
        result = CreateContextAndMakeCurrent(deviceContext, type, record.deviceContext, record.renderingContext);
        ++m_contextCreations;
    }
    if (result == 0) {
        result = CreateContextOldOpenGL(deviceContext, drawToWindow, type, name, colorBits, acceleration);
    }
    if (result == 1) {
        SelectRecord(type);
        GetInitialGLAttributes(m_contexts[type].attributes);
    }
    LoadCurrentGLBuffers();
    return result;
}

int COpenGLView::CreateContextAndMakeCurrent(HDC deviceContext, GLRenderingContextTypes type, HDC& deviceContextOut,
                                             HGLRC& renderingContextOut) {
    type = KindFor(deviceContext, type);
    GLRenderingContextRecord& record = m_contexts[type];
    const int format = GetPixelFormat(deviceContext);
    int created = 0;
    if (!m_gsOpenGLVersionData.bAdvancedPixelFormat) {
        created = SetUpLegacyContext(deviceContext, format, type);
    } else {
        const CriticalSectionLock lock(ClassLock(m_gcsOpenGLCreateContext));
        if (const HGLRC context = CreateSharedContext(*this, deviceContext, type)) {
            if (!SelectNewContext(*this, deviceContext, context, type)) {
                return 0;
            }
            created = 1;
            // A context that takes over from another one of the group takes over its programs too.
            if (type == GLContextMain && ShareGroup::IsMaster(context) && !ShareGroup::AreProgramsTried()) {
                InitializeMasterContextSharedResources();
            }
        } else {
            created = SetUpLegacyContext(deviceContext, format, type);
        }
    }
    // Where none could be made, a context that the record has already stays in it, with its device context.
    if (created || !record.renderingContext) {
        deviceContextOut = deviceContext;
    }
    renderingContextOut = record.renderingContext;
    if (!created) {
        return 0;
    }
    record.initialized = true;
    record.window = WindowFromDC(deviceContext);
    return 1;
}

int COpenGLView::CreateContextOldOpenGL(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type,
                                        const wchar_t* name, int colorBits, OpenGLHardwareAcceleration acceleration) {
    AtTheBorder([&] { m_name = name; });
    const int deviceColorBits = colorBits < 1 ? GetDeviceCaps(deviceContext, BITSPIXEL) : colorBits;
    if (acceleration == AccelerationSoftware) {
        ForceSoftwareRendering(true);
    }
    if (const int current = GetPixelFormat(deviceContext)) {
        // A window keeps the format it once got; every other would only be refused.
        return SetUpLegacyContext(deviceContext, current, type);
    }
    const PIXELFORMATDESCRIPTOR request = PixelFormatRequest(drawToWindow, deviceColorBits, 24);
    const int chosen = ChoosePixelFormat(deviceContext, &request);
    if (SetPixelFormat(deviceContext, chosen, &request)) {
        return SetUpLegacyContext(deviceContext, chosen, type);
    }
    PIXELFORMATDESCRIPTOR format = EmptyPixelFormat();
    const int formatCount = DescribePixelFormat(deviceContext, 1, sizeof(format), &format);
    for (int number = 1; number <= formatCount; ++number) {
        DescribePixelFormat(deviceContext, number, sizeof(format), &format);
        if (SetPixelFormat(deviceContext, number, &format)) {
            return SetUpLegacyContext(deviceContext, number, type);
        }
    }
    return 0;
}

int COpenGLView::SetUpLegacyContext(HDC deviceContext, int format, GLRenderingContextTypes type) {
    type = KindFor(deviceContext, type);
    const HGLRC context = wglCreateContext(deviceContext);
    if (!context) {
        return 0;
    }
    if (!ShareGroup::Add({.context = context, .owner = this})) {
        wglDeleteContext(context);
        return 0;
    }
    GLRenderingContextRecord& record = m_contexts[type];
    record.pixelFormatNumber = format;
    DescribePixelFormat(deviceContext, format, sizeof(record.pixelFormat), &record.pixelFormat);
    const HGLRC replaced = record.renderingContext;
    if (replaced) {
        if (!SelectNewContext(*this, deviceContext, context, type)) {
            return 0;
        }
    } else if (!MakeCurrent(deviceContext, context, type)) {
        // The record has it all the same. Functions can be fetched only while it is current; the next successful
        // selection does it.
        HoldContext(*this, type, context);
        record.deviceContext = deviceContext;
    }
    record.initialized = true;
    if (const HWND window = WindowFromDC(deviceContext)) {
        record.window = window;
    }
    return 1;
}

long COpenGLView::InitializeMasterContextSharedResources() {
    if (!ShareGroup::IsMaster(m_contexts[GLContextMain].renderingContext)) {
        return S_OK;
    }
    if (!HasCurrentContext()) {
        return E_FAIL;
    }
    DeleteShaderSet(m_gShaderSet);
    if (!DrawsWithPrograms()) {
        return S_OK;
    }
    ShareGroup::SetProgramsTried();
    return BuildStockShaders();
}

int COpenGLView::MakeCurrent(HDC deviceContext, HGLRC renderingContext, GLRenderingContextTypes type) {
    DrawWaitingVertices();
    const GLRenderingContextTypes kind = KindFor(deviceContext, type);
    if (!CheckDCPixelFormat(deviceContext, kind)) {
        return 0;
    }
    if (!HoldContext(*this, kind, renderingContext)) {
        return 0;
    }
    m_contexts[kind].deviceContext = deviceContext;
    return MakeCurrent(kind);
}

int COpenGLView::MakeCurrent(HDC deviceContext, GLRenderingContextTypes type) {
    return MakeCurrent(deviceContext, m_contexts[KindFor(deviceContext, type)].renderingContext, type);
}

int COpenGLView::MakeCurrent(GLRenderingContextTypes type) {
    DrawWaitingVertices();
    GLRenderingContextRecord& record = m_contexts[type];
    const BOOL selected = wglMakeCurrent(record.deviceContext, record.renderingContext);
    SelectRecord(type);
    record.current = true;
    m_gCurrentDeviceContext = record.deviceContext;
    m_gCurrentRenderingContext = record.renderingContext;
    if (!selected) {
        outputGlError(L"MakeCurrent - wglMakeCurrent: ");
        return 0;
    }
    if (record.functionsPending) {
        record.functionsPending = MakeGLCementAndLoad(type) == 0;
        HearDriver(CurrentGL());
    }
    DeleteLeftBehind(*this);
    return 1;
}

int COpenGLView::MakeContextCurrent(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type,
                                    const wchar_t* name) {
    type = KindFor(deviceContext, type);
    if (!m_contexts[type].renderingContext &&
        !CreateContext(deviceContext, drawToWindow, type, name, 0, m_gDefaultAcceleration)) {
        return 0;
    }
    return MakeCurrent(deviceContext, m_contexts[type].renderingContext, type);
}

int COpenGLView::MakeNull() {
    DrawWaitingVertices();
    const BOOL result = wglMakeCurrent(nullptr, nullptr);
    CurrentRecord().current = false;
    return result;
}

void COpenGLView::PopAndMakeNull() {
    PopMatrix(GL_MODELVIEW, L"PopAndMakeNull");
    PopMatrix(GL_PROJECTION, L"PopAndMakeNull");
    GLRenderingContextRecord& record = CurrentRecord();
    if (record.attributeStack.count > 0) {
        PopAttributesFromStack(record.attributeStack, record.attributes);
    }
    DrawBuffer(m_currentContext == GLContextLegacy ? GL_FRONT : GL_BACK);
    MakeNull();
}

void COpenGLView::SaveCurrentAsExitingDCAndGLRC() {
    DrawWaitingVertices();
    m_exitingDeviceContext = wglGetCurrentDC();
    m_exitingRenderingContext = wglGetCurrentContext();
    m_exitingContext = m_currentContext;
}

void COpenGLView::RestoreAsCurrentExitingDCAndGLRC() {
    DrawWaitingVertices();
    const bool somethingSaved = m_exitingDeviceContext || m_exitingRenderingContext;
    const bool mainWithoutWindow = m_exitingContext == GLContextMain && !WindowFromDC(m_exitingDeviceContext);
    if (!somethingSaved || mainWithoutWindow) {
        wglMakeCurrent(nullptr, nullptr);
        CurrentRecord().current = false;
        m_gCurrentDeviceContext = nullptr;
        m_gCurrentRenderingContext = nullptr;
        return;
    }
    if (m_contexts[m_exitingContext].renderingContext == m_exitingRenderingContext) {
        MakeCurrent(m_exitingDeviceContext, m_exitingRenderingContext, m_exitingContext);
        return;
    }
    // Somebody else's context: selected again, but not stored, so that the record keeps the one that it has to delete.
    CurrentRecord().current = false;
    SelectRecord(m_exitingContext);
    m_gCurrentDeviceContext = m_exitingDeviceContext;
    m_gCurrentRenderingContext = m_exitingRenderingContext;
    if (!wglMakeCurrent(m_exitingDeviceContext, m_exitingRenderingContext)) {
        outputGlError(L"MakeCurrent - wglMakeCurrent: ");
    }
}

int COpenGLView::RecreateContext(bool makeCurrent, HDC deviceContext, const wchar_t* name) {
    AtTheBorder([&] { m_name = name; });
    GLRenderingContextRecord& record = m_contexts[GLContextMain];
    // The new context is made on the same device context, so that one must not be released with the old context.
    HDC released = record.deviceContext == deviceContext ? nullptr : record.deviceContext;
    DeleteContext(name, GLContextMain, released, record.renderingContext, record.window);
    CreateContext(deviceContext, true, GLContextMain, name, 0, m_gDefaultAcceleration);
    if (makeCurrent) {
        MakeCurrent(deviceContext, record.renderingContext, GLContextMain);
    }
    return 0;
}

int COpenGLView::DeleteContext(const wchar_t* name, GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = m_contexts[type];
    return DeleteContext(name, type, record.deviceContext, record.renderingContext, record.window);
}

int COpenGLView::DeleteContext(const wchar_t* name, GLRenderingContextTypes type, HDC& deviceContext,
                               HGLRC& renderingContext, HWND& window) {
    const HGLRC context = renderingContext;
    if (!context) {
        return 1;
    }
    AtTheBorder([&] { m_name = name; });
    GLRenderingContextRecord& record = m_contexts[type];
    const bool held = record.renderingContext == context;
    const bool own = ShareGroup::Find(context).owner == this;
    const HDC releasedDeviceContext = deviceContext;
    if (held) {
        if (own) {
            ReleaseObjectsOfContext(*this, type);
        } else {
            ForgetBackingStoreFrame(*this, type);
            LeaveObjectsBehind(*this, type);
        }
        record.renderingContext = nullptr;
        record.current = false;
        record.initialized = false;
        record.fixedFunctionOnly = false;
        record.lacksProgramFunctions = false;
        record.objects = {};
        if (!own) {
            record.deviceContext = nullptr;
        }
        delete record.glCement;
        record.glCement = nullptr;
    }
    int result = 1;
    if (own) {
        result = held ? EndContext(*this, context) : DeleteParkedContext(*this, context);
        if (releasedDeviceContext) {
            ReleaseDC(window, releasedDeviceContext);
        }
    }
    deviceContext = nullptr;
    renderingContext = nullptr;
    return result;
}

void COpenGLView::LoadCurrentGLBuffers() {
    m_batch.batchVertexPointer = m_batchStorage.batchVertices;
    m_batch.batchIndexPointer = m_batchStorage.batchIndices;
}

HDC COpenGLView::SwapBuffers() {
    DrawWaitingVertices();
    if (m_currentContext == GLContextLegacy) {
        return m_contexts[GLContextLegacy].deviceContext;
    }
    if (m_overlays.swap.MayPresent() && PresentBackBuffer(*this)) {
        NoteFramePresented(*this, false);
    }
    return m_contexts[GLContextMain].deviceContext;
}

bool PresentBackBuffer(COpenGLView& view) {
    const HDC deviceContext = view.GetContextRecord(GLContextMain).deviceContext;
    if (!::SwapBuffers(deviceContext) && GetLastError() == kInvalidPixelFormat) {
        view.RecreateContext(true, deviceContext, L"COpenGLView::SwapBuffers");
        return false;
    }
    return true;
}

} // namespace KTR
