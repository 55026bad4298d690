#include "Surface.h"

#include "SceneColors.h"

#include <utility>

namespace OrrinViewer {

Surface::Surface(ElevationGrid grid) : m_grid(std::move(grid)), m_triangles(FindTriangles(m_grid)) {
    const ElevationRange range = FindElevationRange(ElevationsWithData(m_grid));
    m_normals.resize(m_grid.elevations.size());
    m_colors.resize(m_grid.elevations.size());
    for (std::size_t cell = 0; cell < m_grid.elevations.size(); ++cell) {
        if (!std::isnan(m_grid.elevations[cell])) {
            m_normals[cell] = FindNormal(m_grid, cell % m_grid.columns, cell / m_grid.columns);
            m_colors[cell] = ColorOfElevation(m_grid.elevations[cell], range);
        }
    }
}

void Surface::Draw(KTR::COpenGLView& view, const Position& origin) {
    if (m_geometry.GetCount() == 0) {
        AddTriangles(view, origin);
    }
    view.SetUpLighting(true);
    view.EnableClientStateInternalBuffers(true, true, true, false, KTR::GLShaderShadedColor3Stage);
    view.DrawGeometry(m_geometry);
    view.DisableClientState();
    view.SetUpLighting(false);
}

void Surface::AddTriangles(KTR::COpenGLView& view, const Position& origin) {
    if (view.BeginGeometry(m_geometry) != S_OK) {
        return;
    }
    view.BeginArrays(GL_TRIANGLES, KTR::GLShaderShadedColor3Stage);
    for (const std::array<GridCorner, 3>& triangle : m_triangles) {
        for (const GridCorner& corner : triangle) {
            const std::size_t cell = corner.row * m_grid.columns + corner.column;
            const Position position = m_grid.PositionAt(corner.column, corner.row);
            const Position& normal = m_normals[cell];
            const Rgb& color = m_colors[cell];
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, color.red, color.green, color.blue, 255);
        }
    }
    view.EndArrays();
    view.EndGeometry();
}

} // namespace OrrinViewer
