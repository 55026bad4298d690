#pragma once

#include "MatrixStack.h"

#include <glm/vec2.hpp>

/// The camera and view-volume arithmetic of one rendering context. Everything is in double precision; it makes no GL
/// call and needs no context.
class ORRIN_DISPLAY_API COpenGLMath {
public:
    /// The current matrices; the view's matrix operations work on this one copy.
    KTR::MatrixSet& Matrices() { return m_matrices; }
    const KTR::MatrixSet& Matrices() const { return m_matrices; }

    /// The viewport in window pixels: x, y, width, height.
    const glm::dvec4& GetViewport() const { return m_viewport; }
    void SetViewport(const glm::dvec4& viewport) { m_viewport = viewport; }

    /// Recomputes the product projection × modelview from the current matrices.
    void UpdateCompleteProjectionMatrix();
    /// The product as of the last update.
    const glm::dmat4& GetCompleteProjectionMatrix() const { return m_completeProjection; }

    /// Object to window coordinates: x and y in pixels from the viewport's lower left, z the depth 0 to 1. False, and
    /// `window` untouched, for a point in the eye's own plane, which has no image.
    static bool Project(const glm::dvec3& object, const glm::dmat4& modelview, const glm::dmat4& projection,
                        const glm::dvec4& viewport, glm::dvec3& window);
    /// The inverse of Project. False when the matrices cannot be inverted or the viewport is empty.
    static bool UnProject(const glm::dvec3& window, const glm::dmat4& modelview, const glm::dmat4& projection,
                          const glm::dvec4& viewport, glm::dvec3& object);

    /// OpenGL's projection matrices; `fovyDegrees` is the full vertical angle of view.
    static glm::dmat4 OrthoMatrix(double left, double right, double bottom, double top, double zNear, double zFar);
    static glm::dmat4 PerspectiveMatrix(double fovyDegrees, double aspect, double zNear, double zFar);
    /// Right-handed look-at matrix (world to eye).
    static glm::dmat4 LookAtMatrix(const glm::dvec3& eye, const glm::dvec3& centre, const glm::dvec3& up);

private:
    KTR::MatrixSet m_matrices;
    glm::dmat4 m_completeProjection{1.0};
    glm::dvec4 m_viewport{0.0};
};
