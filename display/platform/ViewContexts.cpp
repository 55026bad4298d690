#include "../view/OpenGLView.h"

#include "GLCalls.h"

#include "CriticalSectionLock.h"
#include "Notice.h"

#include <GL/wglext.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace KTR {

namespace {

/// System error of a swap whose window lost its pixel format.
constexpr DWORD kInvalidPixelFormat = 2000;

/// A living attribute-based context.
struct SharingContext {
    HGLRC context = nullptr;
    COpenGLView* view = nullptr;
    bool drawsWithPrograms = false; ///< a main context whose view was not shut down
};

/// The attribute-based contexts of the process, which all share their objects; the oldest comes first. Views of several
/// threads come and go here, and some of them after the class-wide locks are gone.
class ShareGroup {
public:
    static HGLRC AnyMember() {
        const std::lock_guard lock(s_mutex);
        return s_members.empty() ? nullptr : s_members.front().context;
    }
    /// The member, or one without a context when there is none.
    static SharingContext Find(HGLRC context) {
        return FindIf([context](const SharingContext& member) { return member.context == context; });
    }
    /// The oldest member that draws with the shared programs.
    static SharingContext Heir() {
        return FindIf([](const SharingContext& member) { return member.drawsWithPrograms; });
    }
    static void Add(const SharingContext& member) {
        const std::lock_guard lock(s_mutex);
        s_members.push_back(member);
    }
    static void Remove(HGLRC context) {
        const std::lock_guard lock(s_mutex);
        std::erase_if(s_members, [context](const SharingContext& member) { return member.context == context; });
    }
    /// The member keeps the shared objects alive, but needs the programs no longer.
    static void Retire(HGLRC context) {
        const std::lock_guard lock(s_mutex);
        for (SharingContext& member : s_members) {
            member.drawsWithPrograms = member.drawsWithPrograms && member.context != context;
        }
    }

private:
    template <typename Predicate> static SharingContext FindIf(Predicate predicate) {
        const std::lock_guard lock(s_mutex);
        const auto member = std::find_if(s_members.begin(), s_members.end(), predicate);
        return member == s_members.end() ? SharingContext{} : *member;
    }

    inline static std::mutex s_mutex;
    inline static std::vector<SharingContext> s_members;
};

/// A memory bitmap is drawn by the fixed-function pipeline, whatever the process uses.
GLRenderingContextTypes KindFor(HDC deviceContext, GLRenderingContextTypes type) {
    return WindowFromDC(deviceContext) ? type : GLContextLegacy;
}

} // namespace

HGLRC COpenGLView::m_gMasterContext = nullptr;
HGLRC COpenGLView::m_gCurrentRenderingContext = nullptr;
HDC COpenGLView::m_gCurrentDeviceContext = nullptr;
OpenGLHardwareAcceleration COpenGLView::m_gDefaultAcceleration = AccelerationHardware;

int COpenGLView::CreateContext(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type, const wchar_t* name,
                               int colorBits, OpenGLHardwareAcceleration acceleration) {
    type = KindFor(deviceContext, type);
    const bool hardware = drawToWindow && acceleration != AccelerationSoftware;
    const int deviceColorBits = colorBits < 1 ? GetDeviceCaps(deviceContext, BITSPIXEL) : colorBits;
    m_name = name;

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
    if (DrawsWithPrograms()) {
        m_batch.batchDrawIndices = nullptr;
    }
    return result;
}

int COpenGLView::CreateContextAndMakeCurrent(HDC deviceContext, GLRenderingContextTypes type, HDC& deviceContextOut,
                                             HGLRC& renderingContextOut) {
    type = KindFor(deviceContext, type);
    GLRenderingContextRecord& record = m_contexts[type];
    deviceContextOut = deviceContext;
    const int format = GetPixelFormat(deviceContext);
    if (!m_gsOpenGLVersionData.bAdvancedPixelFormat) {
        SetUpLegacyContext(deviceContext, format, type);
    } else {
        const CriticalSectionLock lock(m_gcsOpenGLCreateContext);
        const HGLRC context = CreateSharedContext(deviceContext, type);
        if (context) {
            record.borrowedContext = false;
            record.fixedFunctionOnly = false;
            if (!MakeCurrent(deviceContext, context, type)) {
                ShareGroup::Remove(context);
                wglDeleteContext(context);
                record.renderingContext = nullptr;
                record.current = false;
                return 0;
            }
            MakeGLCementAndLoad(type);
            if (type == GLContextMain && m_masterContextIndex == 0) {
                m_gMasterContext = context;
                InitializeMasterContextSharedResources();
            }
        } else {
            SetUpLegacyContext(deviceContext, format, type);
        }
    }
    renderingContextOut = record.renderingContext;
    record.initialized = record.renderingContext != nullptr;
    if (!record.initialized) {
        return 0;
    }
    record.window = WindowFromDC(deviceContext);
    return 1;
}

int COpenGLView::CreateContextOldOpenGL(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type,
                                        const wchar_t* name, int colorBits, OpenGLHardwareAcceleration acceleration) {
    m_name = name;
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
    GLRenderingContextRecord& record = m_contexts[type];
    record.renderingContext = wglCreateContext(deviceContext);
    if (!record.renderingContext) {
        return 0;
    }
    record.borrowedContext = false;
    record.fixedFunctionOnly = true;
    record.pixelFormatNumber = format;
    record.deviceContext = deviceContext;
    record.initialized = true;
    if (const HWND window = WindowFromDC(deviceContext)) {
        record.window = window;
    }
    DescribePixelFormat(deviceContext, format, sizeof(record.pixelFormat), &record.pixelFormat);
    if (MakeCurrent(deviceContext, record.renderingContext, type)) {
        MakeGLCementAndLoad(type);
    } else {
        // Functions can be fetched only while the context is current; the next successful selection does it.
        record.functionsPending = true;
    }
    return 1;
}

long COpenGLView::InitializeMasterContextSharedResources() {
    if (m_masterContextIndex != 0) {
        return S_OK;
    }
    DeleteShaderSet(m_gShaderSet);
    if (!DrawsWithPrograms()) {
        return S_OK;
    }
    m_gStockProgramsTried = true;
    return BuildStockShaders();
}

int COpenGLView::MakeCurrent(HDC deviceContext, HGLRC renderingContext, GLRenderingContextTypes type) {
    DrawWaitingVertices();
    const GLRenderingContextTypes kind = KindFor(deviceContext, type);
    if (!CheckDCPixelFormat(deviceContext, kind)) {
        return 0;
    }
    GLRenderingContextRecord& record = m_contexts[kind];
    if (kind != type && renderingContext && m_contexts[type].renderingContext == renderingContext) {
        // Two records now name one context; only the one that created it deletes it.
        record.borrowedContext = true;
        record.fixedFunctionOnly = m_contexts[type].fixedFunctionOnly;
        record.functionsPending = record.functionsPending || !record.glCement;
    }
    record.deviceContext = deviceContext;
    record.renderingContext = renderingContext;
    return MakeCurrent(kind);
}

int COpenGLView::MakeCurrent(HDC deviceContext, GLRenderingContextTypes type) {
    return MakeCurrent(deviceContext, m_contexts[type].renderingContext, type);
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
    }
    return 1;
}

int COpenGLView::MakeContextCurrent(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type,
                                    const wchar_t* name) {
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
    m_name = name;
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
    m_name = name;
    GLRenderingContextRecord& record = m_contexts[type];
    if (record.renderingContext == context) {
        ReleaseObjectsOfDyingContext(type);
    }
    const HDC releasedDeviceContext = deviceContext;
    if (record.renderingContext == context) {
        record.renderingContext = nullptr;
        record.current = false;
        record.initialized = false;
        record.objects.currentShader = GLShaderUnknown;
        record.fixedFunctionOnly = false;
        record.objects.textLists = TextLists{};
    }
    int result = 1;
    if (record.borrowedContext) {
        record.deviceContext = nullptr;
        record.renderingContext = nullptr;
        record.borrowedContext = false;
    } else {
        ShareGroup::Remove(context);
        if (!ShareGroup::AnyMember()) {
            // Programs, font textures and cached textures, if there still are some, go with the last context that has
            // them.
            DeleteFontTextures(false);
            m_gShaderSet = ShaderSet{};
            m_gStockProgramsTried = false;
            ForgetTextureGroup(nullptr);
        }
        ForgetTextureGroup(context);
        result = wglDeleteContext(context);
        if (releasedDeviceContext) {
            ReleaseDC(window, releasedDeviceContext);
        }
        ForgetBorrowedContext(context);
    }
    delete record.glCement;
    record.glCement = nullptr;
    deviceContext = nullptr;
    renderingContext = nullptr;
    return result;
}

void COpenGLView::LoadCurrentGLBuffers() {
    m_batch.batchVertexPointer = m_batchStorage.batchVertices;
    m_batch.batchIndexPointer = m_batchStorage.batchIndices;
    m_batch.batchDrawIndices = m_batchStorage.batchIndices;
}

HDC COpenGLView::SwapBuffers() {
    DrawWaitingVertices();
    if (m_currentContext == GLContextLegacy) {
        return m_contexts[GLContextLegacy].deviceContext;
    }
    const HDC deviceContext = m_contexts[GLContextMain].deviceContext;
    if (!::SwapBuffers(deviceContext) && GetLastError() == kInvalidPixelFormat) {
        RecreateContext(true, deviceContext, L"COpenGLView::SwapBuffers");
    }
    return m_contexts[GLContextMain].deviceContext;
}

/// Creates an attribute-based context that shares with the others of the process. Null when the driver refuses.
HGLRC COpenGLView::CreateSharedContext(HDC deviceContext, GLRenderingContextTypes type) {
    if (!m_gfn_wglCreateContextAttribsARB) {
        return nullptr;
    }
    const int attributes[] = {WGL_CONTEXT_MAJOR_VERSION_ARB,
                              m_gsOpenGLVersionData.iMajor,
                              WGL_CONTEXT_MINOR_VERSION_ARB,
                              m_gsOpenGLVersionData.iMinor,
                              WGL_CONTEXT_PROFILE_MASK_ARB,
                              WGL_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB,
                              0};
    // The master's handle may outlive its context. Where the context is gone, any other of its group hands the shared
    // objects on; where all are gone, the next main context starts a new group as its master.
    const SharingContext master = ShareGroup::Find(m_gMasterContext);
    const long number = InterlockedIncrement(&m_gContextCount);
    const HGLRC context = m_gfn_wglCreateContextAttribsARB(
        deviceContext, master.context ? master.context : ShareGroup::AnyMember(), attributes);
    if (!context) {
        InterlockedDecrement(&m_gContextCount);
        return nullptr;
    }
    ShareGroup::Add({context, this, type == GLContextMain});
    if (type == GLContextMain) {
        // A master from before the host switched to programs has none; the first context that draws with them takes
        // over.
        const bool masterServes = master.context && (m_gStockProgramsTried || !IsContextOpenGL4OrLater(type));
        m_masterContextIndex = masterServes ? number : 0;
        if (master.context && !masterServes) {
            master.view->m_masterContextIndex = number;
        }
    }
    return context;
}

/// Releases what the context `type` holds while its window still exists.
void COpenGLView::ReleaseGLObjects(HWND window, GLRenderingContextTypes type) {
    const HDC deviceContext = GetDC(window);
    if (!deviceContext) {
        return;
    }
    if (MakeCurrent(deviceContext, m_contexts[type].renderingContext, type) == 1) {
        DeleteAttributeBuffers();
        if (type == GLContextMain) {
            DeleteBackingStoreTextures(*this);
            const CriticalSectionLock lock(m_gcsOpenGLConstructor);
            LeaveStockPrograms(true);
        }
    }
    ReleaseDC(window, deviceContext);
}

/// This view needs the stock programs no longer. When it is their master, the next view that draws with them becomes
/// it; the last one deletes them, if its context is current, or leaves them to go with the contexts.
void COpenGLView::LeaveStockPrograms(bool contextIsCurrent) {
    const HGLRC context = m_contexts[GLContextMain].renderingContext;
    ShareGroup::Retire(context);
    if (!context || context != m_gMasterContext) {
        return;
    }
    if (const SharingContext heir = ShareGroup::Heir(); heir.context) {
        m_gMasterContext = heir.context;
        m_masterContextIndex = heir.view->m_masterContextIndex;
        heir.view->m_masterContextIndex = 0;
        return;
    }
    const bool mayDelete = contextIsCurrent && DrawsWithPrograms();
    if (mayDelete) {
        CallGL().glUseProgram(0);
        DeleteTexturesAndSamplers();
        DeleteShaderSet(m_gShaderSet);
    }
    DeleteFontTextures(mayDelete);
    m_gShaderSet = ShaderSet{};
    m_gStockProgramsTried = false;
    m_gMasterContext = nullptr;
}

/// Releases what a context holds that was not shut down before it is deleted. Without its window it cannot be made
/// current any more; then its objects are left to go with it.
void COpenGLView::ReleaseObjectsOfDyingContext(GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = m_contexts[type];
    ForgetBackingStoreFrame(*this, type);
    if (type != GLContextMain || !record.renderingContext || record.borrowedContext) {
        return;
    }
    m_batch.waiting = false;
    const bool holdsArrays = std::any_of(record.objects.vertexArrays.begin(), record.objects.vertexArrays.end(),
                                         [](unsigned int vertexArray) { return vertexArray != 0; });
    const bool isMaster = record.renderingContext == m_gMasterContext;
    const bool holdsFrame = m_backingStoreFrame.colorTexture != 0;
    if (m_batch.ring.vertexBuffer != 0 || holdsArrays || holdsFrame || (isMaster && m_gStockProgramsTried)) {
        const HDC previousDeviceContext = wglGetCurrentDC();
        const HGLRC previousContext = wglGetCurrentContext();
        const GLRenderingContextTypes previousType = m_currentContext;
        SelectRecord(type);
        const bool wasCurrent = previousContext == record.renderingContext;
        const bool current =
            record.glCement && (wasCurrent || (WindowFromDC(record.deviceContext) &&
                                               wglMakeCurrent(record.deviceContext, record.renderingContext)));
        record.current = record.current || current;
        if (current) {
            DeleteAttributeBuffers();
            DeleteBackingStoreTextures(*this);
        }
        LeaveStockPrograms(current);
        SelectRecord(previousType);
        if (current && !wasCurrent) {
            wglMakeCurrent(previousDeviceContext, previousContext);
        }
    } else {
        LeaveStockPrograms(false);
    }
    m_batch.ring = GLVBO{};
    m_textureRequest.activeTexture = 0;
    m_textureRequest.activeSampler = 0;
    m_textureRequest.textureSampler = 0;
    m_requestedTexture.texture = 0;
    m_requestedTexture.sampler = 0;
    m_backingStoreFrame.colorTexture = 0;
    m_backingStoreFrame.colorSampler = 0;
    m_backingStoreFrame.depthTexture = 0;
    m_backingStoreFrame.depthSampler = 0;
    record.objects.vertexArrays = {};
    record.objects.boundProgram = 0;
    record.objects.number = 0;
    record.objects.fillForced = false;
    record.objects.pointSprites = false;
}

/// After a context is gone no record of this view may still name it as borrowed.
void COpenGLView::ForgetBorrowedContext(HGLRC context) {
    for (GLRenderingContextRecord& record : m_contexts) {
        if (record.borrowedContext && record.renderingContext == context) {
            record.renderingContext = nullptr;
            record.deviceContext = nullptr;
            record.borrowedContext = false;
            record.current = false;
            delete record.glCement;
            record.glCement = nullptr;
        }
    }
}

} // namespace KTR
