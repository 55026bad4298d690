#pragma once

#include "data/Mesh.h"

#include <OrrinDisplay.h>

#include <cstddef>
#include <utility>

namespace OrrinViewer {

/// A mesh as lit triangles in its own colours, or in grey.
class MeshLayer {
public:
    explicit MeshLayer(Mesh mesh) : m_mesh(std::move(mesh)) {}

    const Extent& GetExtent() const { return m_mesh.extent; }
    std::size_t CountFaces() const { return m_mesh.triangles.size(); }
    /// Draws it relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin);
    void ReleaseGeometry() { m_geometry.Clear(); }

private:
    void AddTriangles(KTR::COpenGLView& view, const Position& origin);

    Mesh m_mesh;
    KTR::GLGeometry m_geometry; ///< empty until first drawn
};

} // namespace OrrinViewer
