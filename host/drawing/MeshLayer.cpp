#include "MeshLayer.h"

#include "BlendScope.h"

#include <array>
#include <cstdint>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr Rgb kGrey{205, 202, 195};

} // namespace

MeshLayer::MeshLayer(Mesh mesh) : m_mesh(std::move(mesh)), m_normals(FindNormals(m_mesh)) {}

bool MeshLayer::Prepare(KTR::COpenGLView& view, const Position& origin, const std::optional<Rgb>& color, double opacity,
                        std::chrono::steady_clock::time_point until) {
    if (m_color != color || m_opacity != opacity) {
        m_color = color;
        m_opacity = opacity;
        m_geometry.Clear();
    }
    return m_geometry.Prepare(view, m_mesh.triangles.size(), until, [&](std::size_t triangle) {
        for (const std::uint32_t vertex : m_mesh.triangles[triangle]) {
            const Position& position = m_mesh.positions[vertex];
            const Position& normal = m_normals[vertex];
            const Rgb tint = ColorOf(vertex);
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, tint.red, tint.green, tint.blue,
                                            ByteOf(m_opacity));
        }
    });
}

void MeshLayer::Draw(KTR::COpenGLView& view) const {
    const BlendScope blend(view, m_opacity < 1.0);
    m_geometry.Draw(view);
}

Rgb MeshLayer::ColorOf(std::uint32_t vertex) const {
    if (m_color) {
        return *m_color;
    }
    return m_mesh.colors.empty() ? kGrey : m_mesh.colors[vertex];
}

} // namespace OrrinViewer
