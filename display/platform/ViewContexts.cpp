#include "../view/OpenGLView.h"

#include "GLCalls.h"

#include "../pipeline/ProgramThread.h"
#include "../text/FontTextures.h"
#include "CriticalSectionLock.h"
#include "Notice.h"
#include "ShareGroup.h"

#include <GL/wglext.h>

#include <algorithm>
#include <exception>
#include <utility>

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
        const CriticalSectionLock lock(m_gcsOpenGLCreateContext);
        if (const HGLRC context = CreateSharedContext(deviceContext, type)) {
            if (!SelectNewContext(deviceContext, context, type)) {
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

/// Puts a context that the view has just made into its record and selects it; the one that was there is deleted. When
/// it cannot be selected it is deleted itself, and the record keeps what it had.
bool COpenGLView::SelectNewContext(HDC deviceContext, HGLRC context, GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = m_contexts[type];
    const HGLRC replaced = record.renderingContext;
    const HDC replacedDeviceContext = record.deviceContext;
    const HWND replacedWindow = record.window;
    if (!MakeCurrent(deviceContext, context, type)) {
        HoldContext(type, replaced);
        record.deviceContext = replacedDeviceContext;
        record.current = false;
        ShareGroup::Leave(context);
        ShareGroup::Remove(context);
        wglDeleteContext(context);
        return false;
    }
    if (replaced && ShareGroup::Find(replaced).owner == this) {
        DeleteParkedContext(replaced);
        if (replacedDeviceContext && replacedDeviceContext != deviceContext) {
            ReleaseDC(replacedWindow, replacedDeviceContext);
        }
    }
    return true;
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
        if (!SelectNewContext(deviceContext, context, type)) {
            return 0;
        }
    } else if (!MakeCurrent(deviceContext, context, type)) {
        // The record has it all the same. Functions can be fetched only while it is current; the next successful
        // selection does it.
        HoldContext(type, context);
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
    if (!HoldContext(kind, renderingContext)) {
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
    }
    DeleteLeftBehind();
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
    const bool held = record.renderingContext == context;
    const bool own = ShareGroup::Find(context).owner == this;
    const HDC releasedDeviceContext = deviceContext;
    if (held) {
        if (own) {
            ReleaseObjectsOfContext(type);
        } else {
            ForgetBackingStoreFrame(*this, type);
            LeaveBehind(record.objects.ring, false);
        }
        record.renderingContext = nullptr;
        record.current = false;
        record.initialized = false;
        record.fixedFunctionOnly = false;
        record.objects = {};
        if (!own) {
            record.deviceContext = nullptr;
        }
        delete record.glCement;
        record.glCement = nullptr;
    }
    int result = 1;
    if (own) {
        result = held ? EndContext(context) : DeleteParkedContext(context);
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
    // Where the master's context is gone, any other of its group hands the shared objects on; where all are gone, the
    // next main context starts a new group as its master.
    const long number = InterlockedIncrement(&m_gContextCount);
    const HGLRC context = m_gfn_wglCreateContextAttribsARB(deviceContext, ShareGroup::ContextToShareWith(), attributes);
    if (!context) {
        InterlockedDecrement(&m_gContextCount);
        return nullptr;
    }
    const bool isMain = type == GLContextMain;
    if (!ShareGroup::Add({context, this, true, isMain, number})) {
        wglDeleteContext(context);
        return nullptr;
    }
    if (isMain) {
        ShareGroup::OfferMastership(context, IsContextOpenGL4OrLater(type));
    }
    return context;
}

/// Releases what the context `type` holds while its window still exists.
void COpenGLView::ReleaseGLObjects(HWND window, GLRenderingContextTypes type) {
    if (type == GLContextLegacy && !WindowFromDC(m_contexts[type].deviceContext)) {
        return; // A bitmap's context has another pixel format than the window, and nothing to release.
    }
    const HDC deviceContext = GetDC(window);
    if (!deviceContext) {
        return;
    }
    if (MakeCurrent(deviceContext, m_contexts[type].renderingContext, type) == 1) {
        DeleteAttributeBuffers();
        if (type == GLContextMain) {
            DeleteBackingStoreTextures(*this);
            const CriticalSectionLock lock(m_gcsOpenGLConstructor);
            LeaveStockPrograms(m_contexts[type].renderingContext, true);
        }
    }
    ReleaseDC(window, deviceContext);
}

/// The main context `context` needs the stock programs no longer. When it is their master, the next that draws with
/// them becomes it; the last one deletes them, if it is current, or leaves them to go with the contexts.
void COpenGLView::LeaveStockPrograms(HGLRC context, bool contextIsCurrent) {
    if (ShareGroup::Leave(context) != ShareGroup::Leaving::Last) {
        return;
    }
    // Also where the process draws with fixed functions by now: the programs are there all the same.
    const bool mayDelete = contextIsCurrent && !CurrentRecord().fixedFunctionOnly;
    if (mayDelete) {
        CallGL().glUseProgram(0);
        DeleteTexturesAndSamplers();
        DeleteShaderSet(m_gShaderSet);
    }
    DeleteFontTextures(*this, mayDelete);
    m_gShaderSet = ShaderSet{};
    ForgetProgramThread();
}

/// Releases what a context of this view holds that was not shut down before it is deleted. Without its window it cannot
/// be made current any more; then its shared objects are left to the others of its group, and the rest goes with it.
void COpenGLView::ReleaseObjectsOfContext(GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = m_contexts[type];
    ForgetBackingStoreFrame(*this, type);
    if (type != GLContextMain || !record.renderingContext) {
        return;
    }
    m_batch.waiting = false;
    const bool holdsFrame = m_backingStoreFrame.colorTexture != 0;
    const bool holdsPrograms = ShareGroup::IsMaster(record.renderingContext) && ShareGroup::AreProgramsTried();
    bool released = false;
    if (record.objects.HoldsNames() || holdsFrame || holdsPrograms) {
        const HDC previousDeviceContext = wglGetCurrentDC();
        const HGLRC previousContext = wglGetCurrentContext();
        const GLRenderingContextTypes previousType = m_currentContext;
        SelectRecord(type);
        const bool wasCurrent = previousContext == record.renderingContext;
        released = record.glCement && (wasCurrent || (WindowFromDC(record.deviceContext) &&
                                                      wglMakeCurrent(record.deviceContext, record.renderingContext)));
        if (released) {
            DeleteAttributeBuffers();
            DeleteBackingStoreTextures(*this);
        }
        LeaveStockPrograms(record.renderingContext, released);
        SelectRecord(previousType);
        if (released && !wasCurrent) {
            wglMakeCurrent(previousDeviceContext, previousContext);
        }
    } else {
        LeaveStockPrograms(record.renderingContext, false);
    }
    if (!released) {
        LeaveBehind(record.objects.ring, true);
    }
    m_textureRequest.activeTexture = 0;
    m_textureRequest.activeSampler = 0;
    m_textureRequest.textureSampler = 0;
    m_requestedTexture.texture = 0;
    m_requestedTexture.sampler = 0;
    m_backingStoreFrame.colorTexture = 0;
    m_backingStoreFrame.colorSampler = 0;
    m_backingStoreFrame.depthTexture = 0;
    m_backingStoreFrame.depthSampler = 0;
    record.objects = {};
}

/// Leaves the ring of a context that cannot be made current, and with it the backing store's textures if they go too,
/// to the others of the share group. Where one of them is current on this thread they are deleted at once.
void COpenGLView::LeaveBehind(VertexRing& ring, bool withBackingStore) {
    SharedNames names;
    const auto leave = [](std::vector<unsigned int>& list, unsigned int& name) {
        if (name != 0) {
            list.push_back(name);
            name = 0;
        }
    };
    try {
        GLVBO& buffers = ring.Buffers();
        for (const GLVBO::Segment& segment : buffers.segments) {
            if (segment.fence) {
                names.fences.push_back(segment.fence);
            }
        }
        leave(names.buffers, buffers.vertexBuffer);
        leave(names.buffers, buffers.indexBuffer);
        if (withBackingStore) {
            leave(names.textures, m_backingStoreFrame.colorTexture);
            leave(names.textures, m_backingStoreFrame.depthTexture);
            leave(names.samplers, m_backingStoreFrame.colorSampler);
            leave(names.samplers, m_backingStoreFrame.depthSampler);
        }
    } catch (const std::exception&) {
        // Without memory for their names they go with the group.
    }
    ring = {};
    ShareGroup::LeaveBehind(names);
    const LibraryContext current = ShareGroup::Find(wglGetCurrentContext());
    if (current.owner && current.owner != this) {
        current.owner->DeleteLeftBehind();
    }
}

/// Deletes what contexts of the group that are gone have left behind. The view's current context must be of the group.
void COpenGLView::DeleteLeftBehind() {
    if (CurrentRecord().fixedFunctionOnly || !HasCurrentContext()) {
        return;
    }
    const SharedNames names = ShareGroup::TakeLeftBehind();
    const GLCalls gl = CurrentGL();
    for (const GLsync fence : names.fences) {
        gl.glDeleteSync(fence);
    }
    const auto count = [](const std::vector<unsigned int>& list) { return static_cast<GLsizei>(list.size()); };
    if (!names.buffers.empty()) {
        gl.glDeleteBuffers(count(names.buffers), names.buffers.data());
    }
    if (!names.textures.empty()) {
        gl.glDeleteTextures(count(names.textures), names.textures.data());
    }
    if (!names.samplers.empty()) {
        gl.glDeleteSamplers(count(names.samplers), names.samplers.data());
    }
}

/// Makes a record name another context. The objects of the one before are kept until it comes back or goes; a context
/// that the library did not make starts without any. False when there is no memory to keep them.
bool COpenGLView::HoldContext(GLRenderingContextTypes type, HGLRC context) {
    GLRenderingContextRecord& record = m_contexts[type];
    if (record.renderingContext == context) {
        return true;
    }
    if (record.renderingContext && record.objects.HoldsNames()) {
        try {
            m_parkedObjects.push_back({record.renderingContext, std::move(record.objects)});
        } catch (const std::exception&) {
            return false;
        }
    }
    record.renderingContext = context;
    record.objects = TakeParked(context);
    record.functionsPending = context != nullptr;
    record.fixedFunctionOnly = context && !ShareGroup::Find(context).shares;
    return true;
}

/// The objects of a context that the view has held before; none otherwise.
ContextObjects COpenGLView::TakeParked(HGLRC context) {
    const auto found = std::find_if(m_parkedObjects.begin(), m_parkedObjects.end(),
                                    [context](const ParkedObjects& parked) { return parked.context == context; });
    if (!context || found == m_parkedObjects.end()) {
        return {};
    }
    ContextObjects objects = std::move(found->objects);
    m_parkedObjects.erase(found);
    return objects;
}

/// Deletes a context of this view that no record names any more.
int COpenGLView::DeleteParkedContext(HGLRC context) {
    ContextObjects objects = TakeParked(context);
    // A frame that another context of the view has kept meanwhile stays; all else would be names that nobody has.
    const GLRenderingContextRecord& main = m_contexts[GLContextMain];
    const bool frameStays =
        main.renderingContext && main.renderingContext == m_backingStoreFrame.context && !main.fixedFunctionOnly;
    LeaveBehind(objects.ring, !frameStays);
    if (m_backingStoreFrame.context == context) {
        m_backingStoreFrame.context = nullptr;
    }
    LeaveStockPrograms(context, HasCurrentContext());
    const int result = EndContext(context);
    DeleteLeftBehind();
    return result;
}

/// Deletes a context that this view has made. With the last one of the share group its objects go.
int COpenGLView::EndContext(HGLRC context) {
    ShareGroup::Remove(context);
    if (!ShareGroup::HasMembers()) {
        // Programs, font textures and cached textures, if there still are some, go with the last context that has
        // them.
        DeleteFontTextures(*this, false);
        m_gShaderSet = ShaderSet{};
        ForgetProgramThread();
        ForgetTextureGroup(nullptr);
    }
    ForgetTextureGroup(context);
    const int result = wglDeleteContext(context);
    for (GLRenderingContextRecord& record : m_contexts) {
        if (record.renderingContext == context) {
            record.renderingContext = nullptr;
            record.deviceContext = nullptr;
            record.current = false;
            delete record.glCement;
            record.glCement = nullptr;
        }
    }
    return result;
}

} // namespace KTR
