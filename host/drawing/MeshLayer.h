#pragma once

#include "LitGeometry.h"
#include "data/Mesh.h"

#include <OrrinDisplay.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// A mesh as lit triangles in its own colours, or in grey.
class MeshLayer {
public:
    explicit MeshLayer(Mesh mesh);

    const Extent& GetExtent() const { return m_mesh.extent; }
    std::size_t CountFaces() const { return m_mesh.triangles.size(); }
    /// Adds triangles relative to the origin, in the mesh's own colours if not in this one, until that moment; true
    /// once all are there.
    bool Prepare(KTR::COpenGLView& view, const Position& origin, const std::optional<Rgb>& color, double opacity,
                 std::chrono::steady_clock::time_point until);
    std::optional<double> FindShareReady() const { return m_geometry.FindShare(m_mesh.triangles.size()); }
    /// Draws what has been added.
    void Draw(KTR::COpenGLView& view) const;
    void ReleaseGeometry() { m_geometry.Clear(); }

private:
    Rgb ColorOf(std::uint32_t vertex) const;

    Mesh m_mesh;
    std::vector<Position> m_normals;
    LitGeometry m_geometry;
    std::optional<Rgb> m_color; ///< that it has
    double m_opacity = 1.0;
};

} // namespace OrrinViewer
