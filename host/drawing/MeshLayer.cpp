#include "MeshLayer.h"

#include <array>
#include <cstdint>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr Rgb kGrey{205, 202, 195};

} // namespace

MeshLayer::MeshLayer(Mesh mesh) : m_mesh(std::move(mesh)), m_normals(FindNormals(m_mesh)) {}

bool MeshLayer::Prepare(KTR::COpenGLView& view, const Position& origin, std::chrono::steady_clock::time_point until) {
    return m_geometry.Prepare(view, m_mesh.triangles.size(), until, [&](std::size_t triangle) {
        for (const std::uint32_t vertex : m_mesh.triangles[triangle]) {
            const Position& position = m_mesh.positions[vertex];
            const Position& normal = m_normals[vertex];
            const Rgb& color = m_mesh.colors.empty() ? kGrey : m_mesh.colors[vertex];
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, color.red, color.green, color.blue, 255);
        }
    });
}

} // namespace OrrinViewer
