#pragma once

#include "data/ElevationGrid.h"

#include <OrrinDisplay.h>

#include <array>
#include <vector>

namespace OrrinViewer {

/// Directs the sun for the lit surfaces that follow: from the north-west, half-way up over the exaggerated relief. It
/// stands still over the map, so call this with the view's matrices and nothing else.
void SetUpSun(KTR::COpenGLView& view, double exaggeration);

/// A shaded relief: the elevations of a grid as lit triangles, coloured from low to high.
class Surface {
public:
    explicit Surface(ElevationGrid grid);

    const ElevationGrid& Grid() const { return m_grid; }
    /// Draws it relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin);
    void ReleaseGeometry() { m_geometry.Clear(); }

private:
    void AddTriangles(KTR::COpenGLView& view, const Position& origin);

    ElevationGrid m_grid;
    std::vector<std::array<GridCorner, 3>> m_triangles;
    std::vector<Position> m_normals; ///< one per cell
    std::vector<Rgb> m_colors;       ///< one per cell
    KTR::GLGeometry m_geometry;      ///< empty until first drawn
};

} // namespace OrrinViewer
