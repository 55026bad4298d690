#include "OpenGLMath.h"

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>

void COpenGLMath::UpdateCompleteProjectionMatrix() {
    m_completeProjection = m_matrices.projection * m_matrices.modelview;
}

bool COpenGLMath::Project(const glm::dvec3& object, const glm::dmat4& modelview, const glm::dmat4& projection,
                          const glm::dvec4& viewport, glm::dvec3& window) {
    const glm::dvec4 clip = projection * (modelview * glm::dvec4(object, 1.0));
    if (clip.w == 0.0) {
        return false;
    }
    const glm::dvec3 ndc = glm::dvec3(clip) / clip.w;
    window = {viewport.x + viewport.z * (ndc.x + 1.0) / 2.0, viewport.y + viewport.w * (ndc.y + 1.0) / 2.0,
              (ndc.z + 1.0) / 2.0};
    return true;
}

bool COpenGLMath::UnProject(const glm::dvec3& window, const glm::dmat4& modelview, const glm::dmat4& projection,
                            const glm::dvec4& viewport, glm::dvec3& object) {
    const glm::dmat4 objectToClip = projection * modelview;
    const double determinant = glm::determinant(objectToClip);
    if (viewport.z == 0.0 || viewport.w == 0.0 || determinant == 0.0 || !std::isfinite(determinant)) {
        return false;
    }
    const glm::dvec4 ndc((window.x - viewport.x) / viewport.z * 2.0 - 1.0,
                         (window.y - viewport.y) / viewport.w * 2.0 - 1.0, window.z * 2.0 - 1.0, 1.0);
    const glm::dvec4 homogeneous = glm::inverse(objectToClip) * ndc;
    if (homogeneous.w == 0.0) {
        return false;
    }
    object = glm::dvec3(homogeneous) / homogeneous.w;
    return true;
}

glm::dmat4 COpenGLMath::OrthoMatrix(double left, double right, double bottom, double top, double zNear, double zFar) {
    glm::dmat4 matrix(1.0);
    matrix[0][0] = 2.0 / (right - left);
    matrix[1][1] = 2.0 / (top - bottom);
    matrix[2][2] = -2.0 / (zFar - zNear);
    matrix[3][0] = -(right + left) / (right - left);
    matrix[3][1] = -(top + bottom) / (top - bottom);
    matrix[3][2] = -(zFar + zNear) / (zFar - zNear);
    return matrix;
}

glm::dmat4 COpenGLMath::PerspectiveMatrix(double fovyDegrees, double aspect, double zNear, double zFar) {
    constexpr double kHalfDegree = 0.008726646259971648; // pi / 360
    const double tangent = std::tan(fovyDegrees * kHalfDegree);
    glm::dmat4 matrix(0.0);
    matrix[0][0] = 1.0 / (tangent * aspect);
    matrix[1][1] = 1.0 / tangent;
    matrix[2][2] = -(zFar + zNear) / (zFar - zNear);
    matrix[2][3] = -1.0;
    matrix[3][2] = -2.0 * zFar * zNear / (zFar - zNear);
    return matrix;
}

glm::dmat4 COpenGLMath::LookAtMatrix(const glm::dvec3& eye, const glm::dvec3& centre, const glm::dvec3& up) {
    return glm::lookAtRH(eye, centre, up);
}
