#include "OpenGLView.h"

#include "../platform/GLCalls.h"
#include "ViewVolume.h"

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <cstring>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

void StorePoint(const glm::dvec3& point, double* x, double* y, double* z) {
    *x = point.x;
    *y = point.y;
    *z = point.z;
}

bool HasColorMatrix(const GLCalls& gl) {
    const char* const extensions = reinterpret_cast<const char*>(gl.glGetString(GL_EXTENSIONS));
    return extensions && (std::strstr(extensions, "GL_ARB_imaging") || std::strstr(extensions, "GL_SGI_color_matrix"));
}

} // namespace

void COpenGLView::MatrixMode(unsigned int mode) {
    CurrentRecord().attributes.matrixMode = mode;
    if (!DrawsWithPrograms()) {
        CallGL().glMatrixMode(mode);
    }
}

glm::dmat4 COpenGLView::GetMatrix(unsigned int mode) const {
    return MatrixForMode(mode, CurrentMath().Matrices());
}

glm::dmat4 COpenGLView::GetCurrentMatrix() const {
    return GetMatrix(CurrentRecord().attributes.matrixMode);
}

void COpenGLView::ReplaceCurrentMatrix(const glm::dmat4& matrix) {
    MatrixForMode(CurrentRecord().attributes.matrixMode, CurrentMath().Matrices()) = matrix;
    CopyCurrentGLMMatrixToOpenGL();
}

void COpenGLView::CopyCurrentGLMMatrixToOpenGL() {
    if (DrawsWithPrograms()) {
        return;
    }
    const GLCalls gl = CallGL();
    if (CurrentRecord().attributes.matrixMode == GL_COLOR) {
        // NOTE: most drivers have no colour matrix. They refuse the mode and stay in the one before, whose matrix must
        // not be overwritten. Mesa with a thread of its own says to be in the refused mode all the same.
        GLint mode = 0;
        gl.glGetIntegerv(GL_MATRIX_MODE, &mode);
        if (mode != GL_COLOR || !HasColorMatrix(gl)) {
            return;
        }
    }
    gl.glLoadMatrixd(glm::value_ptr(GetCurrentMatrix()));
}

void COpenGLView::CopyCurrentGLMMatrixToOpenGLMathMatrix() {
    CurrentMath().UpdateCompleteProjectionMatrix();
}

void COpenGLView::LoadIdentity() {
    ReplaceCurrentMatrix(glm::dmat4(1.0));
}

void COpenGLView::LoadMatrix(const double* matrix) {
    ReplaceCurrentMatrix(glm::make_mat4(matrix));
}

void COpenGLView::MultMatrix(const double* matrix) {
    ReplaceCurrentMatrix(GetCurrentMatrix() * glm::make_mat4(matrix));
}

void COpenGLView::Translate(double x, double y, double z) {
    ReplaceCurrentMatrix(glm::translate(GetCurrentMatrix(), glm::dvec3(x, y, z)));
}

void COpenGLView::Translate(float x, float y, float z) {
    Translate(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

void COpenGLView::Scale(double x, double y, double z) {
    ReplaceCurrentMatrix(glm::scale(GetCurrentMatrix(), glm::dvec3(x, y, z)));
}

void COpenGLView::Scale(float x, float y, float z) {
    Scale(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

void COpenGLView::Rotate(double angleDegrees, double x, double y, double z) {
    const glm::dvec3 axis(x, y, z);
    if (axis == glm::dvec3(0.0)) {
        // No axis, no rotation; normalising it would fill the matrix with NaN.
        ReplaceCurrentMatrix(GetCurrentMatrix());
        return;
    }
    ReplaceCurrentMatrix(glm::rotate(GetCurrentMatrix(), angleDegrees * kRadiansPerDegree, axis));
}

void COpenGLView::Rotate(float angleDegrees, float x, float y, float z) {
    Rotate(static_cast<double>(angleDegrees), static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

void COpenGLView::Ortho(double left, double right, double bottom, double top, double zNear, double zFar) {
    CurrentMath().Matrices().projection = COpenGLMath::OrthoMatrix(left, right, bottom, top, zNear, zFar);
    CopyCurrentGLMMatrixToOpenGL();
}

void COpenGLView::Perspective(double fovyDegrees, double aspect, double zNear, double zFar) {
    CurrentMath().Matrices().projection = COpenGLMath::PerspectiveMatrix(fovyDegrees, aspect, zNear, zFar);
    CopyCurrentGLMMatrixToOpenGL();
}

void COpenGLView::LookAt(double eyeX, double eyeY, double eyeZ, double centreX, double centreY, double centreZ,
                         double upX, double upY, double upZ) {
    CurrentMath().Matrices().modelview =
        COpenGLMath::LookAtMatrix({eyeX, eyeY, eyeZ}, {centreX, centreY, centreZ}, {upX, upY, upZ});
    CopyCurrentGLMMatrixToOpenGL();
}

void COpenGLView::PushMatrix(const wchar_t* /*label*/) {
    GLRenderingContextRecord& record = CurrentRecord();
    const unsigned int mode = record.attributes.matrixMode;
    PushCurrentMatrixOnStack(mode, record.matrixStacks, GetCurrentMatrix());
    // Texture and colour pushes count on the modelview depth, but their pops take nothing off it: in whatever order a
    // host mixes the modes, no matrix that it pushed is refused to it.
    if (mode == GL_PROJECTION) {
        ++record.projectionPushDepth;
    } else {
        ++record.modelviewPushDepth;
    }
    outputGlError(L"PushMatrix:  END");
}

void COpenGLView::PushMatrix(unsigned int mode, const wchar_t* label) {
    MatrixMode(mode);
    PushMatrix(label);
}

void COpenGLView::PopMatrix(const wchar_t* /*label*/) {
    GLRenderingContextRecord& record = CurrentRecord();
    const unsigned int mode = record.attributes.matrixMode;
    const int depth = mode == GL_PROJECTION ? record.projectionPushDepth : record.modelviewPushDepth;
    if (depth > 0) {
        PopCurrentMatrixFromStack(mode, record.matrixStacks);
    }
    outputGlError(L"PopMatrix:  END");
}

void COpenGLView::PopMatrix(unsigned int mode, const wchar_t* label) {
    MatrixMode(mode);
    PopMatrix(label);
}

void COpenGLView::PushBothMatrices(const wchar_t* label) {
    PushMatrix(GL_PROJECTION, label);
    PushMatrix(GL_MODELVIEW, label);
}

void COpenGLView::PopBothMatrices(const wchar_t* label) {
    PopMatrix(GL_PROJECTION, label);
    PopMatrix(GL_MODELVIEW, label);
}

void COpenGLView::PopCurrentMatrixFromStack(unsigned int mode, StackOfMatrices& stacks) {
    GLRenderingContextRecord& record = CurrentRecord();
    glm::dmat4& matrix = MatrixForMode(mode, CurrentMath().Matrices());
    PopMatrixFromStack(StackForMode(mode, stacks), matrix);
    if (mode == GL_PROJECTION) {
        --record.projectionPushDepth;
    } else if (mode != GL_TEXTURE && mode != GL_COLOR) {
        --record.modelviewPushDepth;
    }
    if (!DrawsWithPrograms()) {
        MatrixMode(mode);
        LoadMatrix(glm::value_ptr(matrix));
        MatrixMode(record.attributes.matrixMode);
    }
}

void COpenGLView::LoadCurrentMatrices() {
    if (DrawsWithPrograms()) {
        return;
    }
    for (const unsigned int mode : {GL_PROJECTION, GL_MODELVIEW}) {
        MatrixMode(mode);
        CopyCurrentGLMMatrixToOpenGL();
    }
}

void COpenGLView::Project(double x, double y, double z, const glm::dmat4& modelview, const glm::dmat4& projection,
                          const glm::dvec4& viewport, double* windowX, double* windowY, double* windowZ) {
    glm::dvec3 window;
    if (COpenGLMath::Project({x, y, z}, modelview, projection, viewport, window)) {
        StorePoint(window, windowX, windowY, windowZ);
    }
}

void COpenGLView::Project(double x, double y, double z, double* windowX, double* windowY, double* windowZ,
                          bool /*flag*/) {
    const MatrixSet& matrices = CurrentMath().Matrices();
    Project(x, y, z, matrices.modelview, matrices.projection, GetViewport(), windowX, windowY, windowZ);
}

void COpenGLView::UnProject(double x, double y, double z, const glm::dmat4& modelview, const glm::dmat4& projection,
                            const glm::dvec4& viewport, double* objectX, double* objectY, double* objectZ) {
    glm::dvec3 object;
    if (COpenGLMath::UnProject({x, y, z}, modelview, projection, viewport, object)) {
        StorePoint(object, objectX, objectY, objectZ);
    }
}

void COpenGLView::UnProject(double x, double y, double z, double* objectX, double* objectY, double* objectZ,
                            bool /*flag*/) {
    const MatrixSet& matrices = CurrentMath().Matrices();
    UnProject(x, y, z, matrices.modelview, matrices.projection, GetViewport(), objectX, objectY, objectZ);
}

void COpenGLView::UpdateCompleteProjectionMatrix() {
    CurrentMath().UpdateCompleteProjectionMatrix();
}

void COpenGLView::GetCompleteProjectionMatrixAndViewport(glm::dmat4& projectionTimesModelview, glm::dvec4& viewport) {
    UpdateCompleteProjectionMatrix();
    projectionTimesModelview = CurrentMath().GetCompleteProjectionMatrix();
    viewport = GetViewport();
}

void COpenGLView::SetUpViewport(int x, int y, int width, int height) {
    const glm::dvec4 before = GetViewport();
    CurrentRecord().attributes.viewport = {x, y, width, height};
    CurrentMath().SetViewport({x, y, width, height});
    CallGL().glViewport(x, y, width, height);
    // A window that has been resized shows more or less of the same. A minimised one shows nothing, and forgets
    // nothing.
    const bool resized = width > 0 && height > 0 && (before.z != width || before.w != height);
    if (resized && AreViewMatricesLoaded(*this)) {
        ReloadViewMatrices(*this);
    }
}

glm::dvec4 COpenGLView::GetViewport() const {
    return CurrentMath().GetViewport();
}

void COpenGLView::GetViewport(int* viewport) const {
    const glm::dvec4 current = GetViewport();
    for (int index = 0; index < 4; ++index) {
        viewport[index] = static_cast<int>(current[index]);
    }
}

} // namespace KTR
