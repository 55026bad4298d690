#pragma once

#include "data/CloudSurvey.h"
#include "data/ElevationGrid.h"
#include "data/Raster.h"

#include <OrrinDisplay.h>

#include <array>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A shaded relief: the elevations of a grid as lit triangles, coloured from low to high or with
/// images on them.
class Surface {
public:
    explicit Surface(ElevationGrid grid);

    const ElevationGrid& Grid() const { return m_grid; }
    /// Lays an image over it, where nothing lies yet. `name` tells it from all other textures of the process.
    void Drape(Raster image, const std::wstring& name);
    /// Takes all images off again.
    void Bare();
    /// Whether it reaches as far as the image, so that nothing of the image lies beside it.
    bool Reaches(const Raster& image) const;
    /// Draws it relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin);
    void ReleaseGeometry();

private:
    /// An image on some of the triangles.
    struct Cover {
        Raster image;
        std::wstring name;
        std::vector<std::array<GridCorner, 3>> triangles;
        std::vector<KTR::GLDrawGeometry> records; ///< their corners, relative to the origin
        Position origin;
    };

    void AddTriangles(KTR::COpenGLView& view, const Position& origin);
    void FillTransparentPixels(Raster& image) const;
    void AddRecords(Cover& cover, const Position& origin) const;
    static bool LoadTexture(KTR::COpenGLView& view, const Cover& cover);

    ElevationGrid m_grid;
    ElevationRange m_range;
    std::vector<std::array<GridCorner, 3>> m_triangles; ///< in colours of elevations
    std::vector<Cover> m_covers;
    std::vector<Position> m_normals; ///< one per cell
    std::vector<Rgb> m_colors;       ///< one per cell
    KTR::GLGeometry m_geometry;      ///< empty until first drawn
};

} // namespace OrrinViewer
