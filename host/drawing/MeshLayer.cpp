#include "MeshLayer.h"

#include "BlendScope.h"
#include "LitGeometry.h"

namespace OrrinViewer {

namespace {

constexpr Rgb kGrey{205, 202, 195};

} // namespace

void MeshLayer::Draw(KTR::COpenGLView& view, const Position& origin, const std::optional<Rgb>& color, double opacity) {
    if (m_geometry.GetCount() == 0 || m_color != color || m_opacity != opacity) {
        m_color = color;
        m_opacity = opacity;
        AddTriangles(view, origin);
    }
    const BlendScope blend(view, opacity < 1.0);
    DrawLitGeometry(view, m_geometry);
}

void MeshLayer::AddTriangles(KTR::COpenGLView& view, const Position& origin) {
    if (view.BeginGeometry(m_geometry) != S_OK) {
        return;
    }
    const std::vector<Position> normals = FindNormals(m_mesh);
    view.BeginArrays(GL_TRIANGLES, KTR::GLShaderShadedColor3Stage);
    for (const std::array<std::uint32_t, 3>& triangle : m_mesh.triangles) {
        for (const std::uint32_t vertex : triangle) {
            const Position& position = m_mesh.positions[vertex];
            const Position& normal = normals[vertex];
            const Rgb color = ColorOf(vertex);
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, color.red, color.green, color.blue,
                                            ByteOf(m_opacity));
        }
    }
    view.EndArrays();
    view.EndGeometry();
}

Rgb MeshLayer::ColorOf(std::uint32_t vertex) const {
    if (m_color) {
        return *m_color;
    }
    return m_mesh.colors.empty() ? kGrey : m_mesh.colors[vertex];
}

} // namespace OrrinViewer
