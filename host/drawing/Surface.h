#pragma once

#include "LitGeometry.h"
#include "data/CloudSurvey.h"
#include "data/ElevationGrid.h"
#include "data/Raster.h"

#include <OrrinDisplay.h>

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A shaded relief: the elevations of a grid as lit triangles, coloured from low to high or with
/// images on them.
class Surface {
public:
    explicit Surface(ElevationGrid grid);

    const ElevationGrid& Grid() const { return m_grid; }
    /// Between which the colours run, if nothing else is said.
    const ElevationRange& GetRange() const { return m_range; }
    /// Has the colours run between these; images that lie on it keep what shows through them until they are laid anew.
    void SetRange(const ElevationRange& range);
    /// From 0, nothing is seen of it, to 1.
    void SetOpacity(double opacity);
    /// Lays an image over it, where nothing lies yet. `name` tells it from all other textures of the process.
    void Drape(Raster image, const std::wstring& name);
    /// Takes all images off again. The view's main context must be current.
    void Bare(KTR::COpenGLView& view);
    /// Whether it reaches as far as the image, so that nothing of the image lies beside it.
    bool Reaches(const Raster& image) const;
    /// Adds what no image lies on relative to the origin, until that moment; true once all of it is there.
    bool Prepare(KTR::COpenGLView& view, const Position& origin, std::chrono::steady_clock::time_point until);
    std::optional<double> FindShareReady() const { return m_geometry.FindShare(m_triangles.size()); }
    /// Draws it relative to the origin, as far as it is there.
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

    void FillTransparentPixels(Raster& image) const;
    void AddRecords(Cover& cover, const Position& origin) const;
    static bool LoadTexture(KTR::COpenGLView& view, const Cover& cover);

    ElevationGrid m_grid;
    ElevationRange m_range;
    ElevationRange m_shownRange;
    double m_opacity = 1.0;
    std::vector<std::array<GridCorner, 3>> m_triangles; ///< in colours of elevations
    std::vector<Cover> m_covers;
    std::vector<Position> m_normals; ///< one per cell
    std::vector<Rgb> m_colors;       ///< one per cell
    LitGeometry m_geometry;
};

} // namespace OrrinViewer
