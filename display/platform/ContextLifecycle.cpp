#include "ContextLifecycle.h"

#include "../images/BackingStore.h"
#include "../images/TextureRequest.h"
#include "../pipeline/ProgramThread.h"
#include "../scene/SceneRelease.h"
#include "../shapes/ShapeDrawing.h"
#include "../text/FontTextures.h"
#include "../text/ListHalo.h"
#include "../text/SheetTextures.h"
#include "../view/ViewAccess.h"
#include "Border.h"
#include "CriticalSectionLock.h"
#include "ShareGroup.h"

#include <GL/wglext.h>

#include <algorithm>
#include <utility>

namespace KTR {

namespace {

/// The objects of a context that the view has held before; none otherwise.
ContextObjects TakeParked(COpenGLView& view, HGLRC context) {
    std::vector<ParkedObjects>& all = ViewAccess::Parked(view);
    const auto found = std::find_if(all.begin(), all.end(),
                                    [context](const ParkedObjects& parked) { return parked.context == context; });
    if (!context || found == all.end()) {
        return {};
    }
    ContextObjects objects = std::move(found->objects);
    all.erase(found);
    return objects;
}

/// Leaves the buffers of a context that cannot be made current, and with them the backing store's textures if they go
/// too, to the others of the share group. Where one of them is current on this thread they are deleted at once.
void LeaveBehind(COpenGLView& view, ContextObjects& objects, bool withBackingStore) {
    SharedNames names;
    const auto leave = [](std::vector<unsigned int>& list, unsigned int& name) {
        if (name != 0) {
            list.push_back(name);
            name = 0;
        }
    };
    try {
        GLVBO& buffers = objects.ring.Buffers();
        for (const GLVBO::Segment& segment : buffers.segments) {
            if (segment.fence) {
                names.fences.push_back(segment.fence);
            }
        }
        leave(names.buffers, buffers.vertexBuffer);
        leave(names.buffers, buffers.indexBuffer);
        LeaveSceneObjects(objects.scene, names);
        if (withBackingStore) {
            BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
            leave(names.textures, frame.colorTexture);
            leave(names.textures, frame.depthTexture);
            leave(names.samplers, frame.colorSampler);
            leave(names.samplers, frame.depthSampler);
        }
    } catch (...) {
        DropCaught();
        // Without memory for their names they go with the group.
    }
    objects.ring = {};
    ShareGroup::LeaveBehind(names);
    const LibraryContext current = ShareGroup::Find(wglGetCurrentContext());
    if (current.owner && current.owner != &view) {
        DeleteLeftBehind(*current.owner);
    }
}

/// The main context `context` needs the stock programs no longer. When it is their master, the next that draws with
/// them becomes it; the last one deletes them, if it is current, or leaves them to go with the contexts.
void LeaveStockPrograms(COpenGLView& view, HGLRC context, bool contextIsCurrent) {
    if (ShareGroup::Leave(context) != ShareGroup::Leaving::Last) {
        return;
    }
    // Also where the process draws with fixed functions by now: the programs are there all the same.
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    const bool mayDelete = contextIsCurrent && !record.fixedFunctionOnly && !record.lacksProgramFunctions;
    if (mayDelete) {
        ViewAccess::CallGL(view).glUseProgram(0);
        view.DeleteTexturesAndSamplers();
        view.DeleteShaderSet(ViewAccess::StockPrograms());
    }
    DeleteFontTextures(view, mayDelete);
    ViewAccess::StockPrograms() = ShaderSet{};
    ForgetProgramThread();
}

} // namespace

HGLRC CreateSharedContext(COpenGLView& view, HDC deviceContext, GLRenderingContextTypes type) {
    if (!COpenGLView::m_gfn_wglCreateContextAttribsARB) {
        return nullptr;
    }
    const int attributes[] = {WGL_CONTEXT_MAJOR_VERSION_ARB,
                              COpenGLView::m_gsOpenGLVersionData.iMajor,
                              WGL_CONTEXT_MINOR_VERSION_ARB,
                              COpenGLView::m_gsOpenGLVersionData.iMinor,
                              WGL_CONTEXT_PROFILE_MASK_ARB,
                              WGL_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB,
                              0};
    // Where the master's context is gone, any other of its group hands the shared objects on; where all are gone, the
    // next main context starts a new group as its master.
    const long number = InterlockedIncrement(&COpenGLView::m_gContextCount);
    const HGLRC context =
        COpenGLView::m_gfn_wglCreateContextAttribsARB(deviceContext, ShareGroup::ContextToShareWith(), attributes);
    if (!context) {
        InterlockedDecrement(&COpenGLView::m_gContextCount);
        return nullptr;
    }
    const bool isMain = type == GLContextMain;
    if (!ShareGroup::Add({context, &view, true, isMain, number})) {
        wglDeleteContext(context);
        return nullptr;
    }
    if (isMain) {
        ShareGroup::OfferMastership(context, COpenGLView::IsContextOpenGL4OrLater(type));
    }
    return context;
}

bool HoldContext(COpenGLView& view, GLRenderingContextTypes type, HGLRC context) {
    GLRenderingContextRecord& record = ViewAccess::Record(view, type);
    if (record.renderingContext == context) {
        return true;
    }
    if (record.renderingContext && record.objects.HoldsNames()) {
        try {
            ViewAccess::Parked(view).push_back({record.renderingContext, std::move(record.objects)});
        } catch (...) {
            DropCaught();
            return false;
        }
    }
    record.renderingContext = context;
    record.objects = TakeParked(view, context);
    record.functionsPending = context != nullptr;
    record.fixedFunctionOnly = context && !ShareGroup::Find(context).shares;
    return true;
}

bool SelectNewContext(COpenGLView& view, HDC deviceContext, HGLRC context, GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = ViewAccess::Record(view, type);
    const HGLRC replaced = record.renderingContext;
    const HDC replacedDeviceContext = record.deviceContext;
    const HWND replacedWindow = record.window;
    if (!view.MakeCurrent(deviceContext, context, type)) {
        HoldContext(view, type, replaced);
        record.deviceContext = replacedDeviceContext;
        record.current = false;
        ShareGroup::Leave(context);
        ShareGroup::Remove(context);
        wglDeleteContext(context);
        return false;
    }
    if (replaced && ShareGroup::Find(replaced).owner == &view) {
        DeleteParkedContext(view, replaced);
        if (replacedDeviceContext && replacedDeviceContext != deviceContext) {
            ReleaseDC(replacedWindow, replacedDeviceContext);
        }
    }
    return true;
}

void ReleaseGLObjects(COpenGLView& view, HWND window, GLRenderingContextTypes type) {
    if (type == GLContextLegacy && !WindowFromDC(ViewAccess::Record(view, type).deviceContext)) {
        return; // A bitmap's context has another pixel format than the window, and nothing to release.
    }
    const HDC deviceContext = GetDC(window);
    if (!deviceContext) {
        return;
    }
    if (view.MakeCurrent(deviceContext, ViewAccess::Record(view, type).renderingContext, type) == 1) {
        view.DeleteAttributeBuffers();
        if (type == GLContextMain) {
            DeleteBackingStoreTextures(view);
            const CriticalSectionLock lock(ViewAccess::ClassLock(COpenGLView::m_gcsOpenGLConstructor));
            LeaveStockPrograms(view, ViewAccess::Record(view, type).renderingContext, true);
        }
    }
    ReleaseDC(window, deviceContext);
}

void ReleaseObjectsOfContext(COpenGLView& view, GLRenderingContextTypes type) {
    GLRenderingContextRecord& record = ViewAccess::Record(view, type);
    ForgetBackingStoreFrame(view, type);
    if (type != GLContextMain || !record.renderingContext) {
        return;
    }
    ViewAccess::Batch(view).ForgetWaiting();
    ForgetWaitingShapes(view);
    const bool holdsFrame = ViewAccess::StoredFrame(view).colorTexture != 0;
    const bool holdsPrograms = ShareGroup::IsMaster(record.renderingContext) && ShareGroup::AreProgramsTried();
    bool released = false;
    if (record.objects.HoldsNames() || holdsFrame || holdsPrograms) {
        const HDC previousDeviceContext = wglGetCurrentDC();
        const HGLRC previousContext = wglGetCurrentContext();
        const GLRenderingContextTypes previousType = view.GetCurrentContextType();
        ViewAccess::SelectRecord(view, type);
        const bool wasCurrent = previousContext == record.renderingContext;
        released = record.glCement && (wasCurrent || (WindowFromDC(record.deviceContext) &&
                                                      wglMakeCurrent(record.deviceContext, record.renderingContext)));
        if (released) {
            view.DeleteAttributeBuffers();
            DeleteBackingStoreTextures(view);
            DeleteHaloLists(view);
        }
        LeaveStockPrograms(view, record.renderingContext, released);
        ViewAccess::SelectRecord(view, previousType);
        if (released && !wasCurrent) {
            wglMakeCurrent(previousDeviceContext, previousContext);
        }
    } else {
        LeaveStockPrograms(view, record.renderingContext, false);
    }
    if (!released) {
        LeaveBehind(view, record.objects, true);
    }
    TextureRequest& textures = ViewAccess::Textures(view);
    textures.activeTexture = 0;
    textures.activeSampler = 0;
    textures.textureSampler = 0;
    textures.fusionTexture = 0;
    textures.fusionSampler = 0;
    ViewAccess::RequestedTexture(view).texture = 0;
    ViewAccess::RequestedTexture(view).sampler = 0;
    BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    frame.colorTexture = 0;
    frame.colorSampler = 0;
    frame.depthTexture = 0;
    frame.depthSampler = 0;
    record.objects = {};
}

void DeleteLeftBehind(COpenGLView& view) {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    if (record.fixedFunctionOnly || record.lacksProgramFunctions || !ViewAccess::HasCurrentContext(view)) {
        return;
    }
    const SharedNames names = ShareGroup::TakeLeftBehind();
    const GLCalls gl = ViewAccess::CurrentGL(view);
    for (const GLsync fence : names.fences) {
        gl.glDeleteSync(fence);
    }
    for (const unsigned int program : names.programs) {
        gl.glDeleteProgram(program);
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

int EndContext(COpenGLView& view, HGLRC context) {
    ShareGroup::Remove(context);
    if (!ShareGroup::HasMembers()) {
        // Programs, font textures and cached textures, if there still are some, go with the last context that has
        // them.
        DeleteFontTextures(view, false);
        ViewAccess::StockPrograms() = ShaderSet{};
        ForgetProgramThread();
        ForgetTextureGroup(nullptr);
    }
    ForgetTextureGroup(context);
    ForgetSheetTextures(context);
    const int result = wglDeleteContext(context);
    for (const GLRenderingContextTypes type : {GLContextMain, GLContextLegacy}) {
        GLRenderingContextRecord& record = ViewAccess::Record(view, type);
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

int DeleteParkedContext(COpenGLView& view, HGLRC context) {
    ContextObjects objects = TakeParked(view, context);
    // A frame that another context of the view has kept meanwhile stays; all else would be names that nobody has.
    const GLRenderingContextRecord& main = ViewAccess::Record(view, GLContextMain);
    BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    const bool frameStays = main.renderingContext && main.renderingContext == frame.context && !main.fixedFunctionOnly;
    LeaveBehind(view, objects, !frameStays);
    if (frame.context == context) {
        frame.context = nullptr;
    }
    LeaveStockPrograms(view, context, ViewAccess::HasCurrentContext(view));
    const int result = EndContext(view, context);
    DeleteLeftBehind(view);
    return result;
}

void LeaveObjectsBehind(COpenGLView& view, GLRenderingContextTypes type) {
    LeaveBehind(view, ViewAccess::Record(view, type).objects, false);
}

void DeleteParkedContexts(COpenGLView& view) {
    for (LibraryContext left = ShareGroup::AnyOwnedBy(&view); left.context; left = ShareGroup::AnyOwnedBy(&view)) {
        DeleteParkedContext(view, left.context);
    }
}

void ReleaseContextRecord(COpenGLView& view, GLRenderingContextTypes type, const wchar_t* label) {
    GLRenderingContextRecord& record = ViewAccess::Record(view, type);
    if (record.renderingContext) {
        view.DeleteContext(label, type, record.deviceContext, record.renderingContext, record.window);
    }
    delete record.glCement;
    record.glCement = nullptr;
    delete record.math;
    record.math = nullptr;
}

} // namespace KTR
