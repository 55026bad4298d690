#pragma once

#include "data/Mesh.h"

#include <OrrinDisplay.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace OrrinViewer {

/// A mesh as lit triangles in its own colours, or in grey.
class MeshLayer {
public:
    explicit MeshLayer(Mesh mesh) : m_mesh(std::move(mesh)) {}

    const Extent& GetExtent() const { return m_mesh.extent; }
    std::size_t CountFaces() const { return m_mesh.triangles.size(); }
    /// Draws it relative to the origin, in its own colours if not in this one.
    void Draw(KTR::COpenGLView& view, const Position& origin, const std::optional<Rgb>& color, double opacity);
    void ReleaseGeometry() { m_geometry.Clear(); }

private:
    void AddTriangles(KTR::COpenGLView& view, const Position& origin);
    Rgb ColorOf(std::uint32_t vertex) const;

    Mesh m_mesh;
    KTR::GLGeometry m_geometry; ///< empty until first drawn
    std::optional<Rgb> m_color; ///< that it has
    double m_opacity = 1.0;
};

} // namespace OrrinViewer
