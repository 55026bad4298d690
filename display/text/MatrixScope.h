#pragma once

#include "../view/ViewAccess.h"

#include <glm/gtc/matrix_transform.hpp>

#include <algorithm>

namespace KTR {

/// One matrix from model to clip coordinates while it lives; then projection, modelview and mode are the view's again.
///
/// Its maker forms it in double precision, so that a place far from the origin and the matrices that look there cancel
/// before anything is rounded to floats.
class MatrixScope {
public:
    MatrixScope(COpenGLView& view, const glm::dmat4& modelToClip) : MatrixScope(view, modelToClip, glm::dmat4(1.0)) {}
    /// The same with a modelview matrix of its own, for what is computed in front of the eye.
    MatrixScope(COpenGLView& view, const glm::dmat4& projection, const glm::dmat4& modelview)
        : m_view(view), m_mode(ViewAccess::CurrentRecord(view).attributes.matrixMode),
          m_projection(ViewAccess::CurrentMatrices(view).projection),
          m_modelview(ViewAccess::CurrentMatrices(view).modelview) {
        Load(projection, modelview);
    }
    ~MatrixScope() {
        Load(m_projection, m_modelview);
        m_view.MatrixMode(m_mode);
    }
    MatrixScope(const MatrixScope&) = delete;
    MatrixScope& operator=(const MatrixScope&) = delete;

private:
    void Load(const glm::dmat4& projection, const glm::dmat4& modelview) {
        m_view.MatrixMode(GL_PROJECTION);
        m_view.ReplaceCurrentMatrix(projection);
        m_view.MatrixMode(GL_MODELVIEW);
        m_view.ReplaceCurrentMatrix(modelview);
    }

    COpenGLView& m_view;
    unsigned int m_mode;
    glm::dmat4 m_projection;
    glm::dmat4 m_modelview;
};

/// From coordinates relative to `origin` to clip coordinates, by the current matrices.
inline glm::dmat4 ClipMatrixFrom(const COpenGLView& view, const glm::dvec3& origin) {
    const MatrixSet& matrices = ViewAccess::CurrentMatrices(view);
    return matrices.projection * glm::translate(matrices.modelview, origin);
}

/// From the window's coordinates, depth included, to clip coordinates.
inline glm::dmat4 WindowToClip(const glm::dvec4& viewport) {
    return COpenGLMath::OrthoMatrix(viewport.x, viewport.x + std::max(viewport.z, 1.0), viewport.y,
                                    viewport.y + std::max(viewport.w, 1.0), 0.0, -1.0);
}

} // namespace KTR
