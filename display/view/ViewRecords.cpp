#include "OpenGLView.h"

#include "../pipeline/ProgramBinding.h"
#include "../platform/GLCalls.h"
#include "ViewVolume.h"

#include <utility>

namespace KTR {

bool COpenGLView::IsOpenGLInitialized() const {
    return m_contexts[GLContextMain].initialized;
}

bool COpenGLView::IsCurrentGLRenderingContextNull(GLRenderingContextTypes type) const {
    return m_contexts[type].renderingContext == nullptr;
}

bool COpenGLView::IsMyContextCurrent(GLRenderingContextTypes type) const {
    return m_contexts[type].current;
}

bool COpenGLView::GetDoubleBufferSetting(GLRenderingContextTypes type) const {
    return (m_contexts[type].pixelFormat.dwFlags & PFD_DOUBLEBUFFER) != 0;
}

bool COpenGLView::IsPerspectiveSideView() const {
    return CurrentRecord().camera.IsPerspective();
}

GLViewOrientation COpenGLView::GetCurrentViewOrientation() const {
    return CurrentRecord().camera.orientation;
}

void COpenGLView::GetWindowDimensions(int& width, int& height) const {
    RECT client = {};
    if (const HWND window = CurrentRecord().window) {
        GetClientRect(window, &client);
    }
    width = client.right - client.left;
    height = client.bottom - client.top;
}

void COpenGLView::SetTargetPoint(GLRenderingContextTypes type, const glm::dvec3& point) {
    m_contexts[type].camera.target = point;
}

void COpenGLView::SetEyePoint(GLRenderingContextTypes type, const glm::dvec3& point) {
    m_contexts[type].camera.eye = point;
}

void COpenGLView::SetUpVector(GLRenderingContextTypes type, const glm::dvec3& vector) {
    m_contexts[type].camera.up = vector;
}

void COpenGLView::SetCurrentCoordinateOffsets(double x, double y) {
    const bool shown = AreViewMatricesLoaded(*this);
    CurrentRecord().coordinateOffsetX = x;
    CurrentRecord().coordinateOffsetY = y;
    if (shown) {
        ReloadViewMatrices(*this);
    }
}

void COpenGLView::GetCurrentCoordinateOffset(double& x, double& y) const {
    x = CurrentRecord().coordinateOffsetX;
    y = CurrentRecord().coordinateOffsetY;
}

void COpenGLView::SetTextScale(double scale) {
    CurrentRecord().textScale = scale;
}

double COpenGLView::GetTextScale() const {
    return CurrentRecord().textScale;
}

void COpenGLView::InitializeDefaultLights(GLRenderingContextTypes type) {
    GLAttributes& attributes = m_contexts[type].attributes;
    attributes.light = GLLightParameters{};
    attributes.lightInModel = false;
    attributes.headlight = false;
}

GLCalls COpenGLView::CallGL() {
    DrawWaitingVertices();
    PresentWhatIsDue();
    LeaveProgramState(*this);
    return CurrentGL();
}

GLCalls COpenGLView::CurrentGL() const {
    // A table that nothing was loaded into stays behind from the bootstrap until the context is created. And where
    // another context is current, or none, what is meant for this one must not reach that.
    const COrrinGLCement* functions = CurrentRecord().glCement;
    const bool reachable = functions && functions->ullFound != 0 && HasCurrentContext();
    return GLCalls(reachable ? *functions : InertGLCement());
}

bool COpenGLView::HasCurrentContext() const {
    const HGLRC context = CurrentRecord().renderingContext;
    return context && wglGetCurrentContext() == context;
}

ContextObjects& COpenGLView::CurrentObjects() {
    return const_cast<ContextObjects&>(std::as_const(*this).CurrentObjects());
}

const ContextObjects& COpenGLView::CurrentObjects() const {
    // The record of bitmaps may have been given the main context; the objects of one context are one.
    const GLRenderingContextRecord& main = m_contexts[GLContextMain];
    const bool shared = main.renderingContext && main.renderingContext == CurrentRecord().renderingContext;
    return shared ? main.objects : CurrentRecord().objects;
}

COpenGLMath& COpenGLView::MathOf(GLRenderingContextTypes type) const {
    // Only a record whose math could not be allocated shares this one: nothing that it shows can be right, but nothing
    // crashes either.
    static COpenGLMath shared;
    COpenGLMath* math = m_contexts[type].math;
    return math ? *math : shared;
}

} // namespace KTR
