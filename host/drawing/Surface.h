#pragma once

#include "ReliefCovers.h"
#include "data/CloudSurvey.h"
#include "data/ElevationGrid.h"

#include <OrrinDisplay.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// A shaded relief: the elevations of a grid as lit triangles, coloured from low to high or with
/// images on them.
///
/// They are kept in parts. Where the relief is to look otherwise its parts are added anew one after the other, so that
/// the window answers meanwhile; until its turn comes each part is drawn as it was.
class Surface {
public:
    explicit Surface(ElevationGrid grid);

    const ElevationGrid& Grid() const { return m_shape->grid; }
    const std::shared_ptr<const ReliefShape>& GetShape() const { return m_shape; }
    /// Between which the colours run, if nothing else is said.
    const ElevationRange& GetRange() const { return m_range; }
    const ElevationRange& GetShownRange() const { return m_shownRange; }
    /// Has the colours run between these; images that lie on it keep what shows through them until they are laid anew.
    void SetRange(const ElevationRange& range);
    /// From 0, nothing is seen of it, to 1.
    void SetOpacity(double opacity);
    /// Has these images lie on it, and no others.
    void SetCovers(ReliefCovers covers);
    /// Adds relative to the origin what is not there as it shall be, until that moment; true once all of it is.
    bool Prepare(KTR::COpenGLView& view, const Position& origin, std::chrono::steady_clock::time_point until);
    /// How much of it is there; nothing where all or none is.
    std::optional<double> FindShareReady() const;
    /// Draws it as far as it is there.
    void Draw(KTR::COpenGLView& view);
    void ReleaseGeometry();

private:
    /// Triangles of a part that one image lies on, or none.
    struct Stretch {
        const ReliefCover* cover = nullptr;
        int first = 0; ///< record
        int count = 0;
    };
    struct Part {
        KTR::GLGeometry geometry;
        std::vector<Stretch> stretches;
        int state = 0; ///< of the relief, that it was added in
    };

    bool Fill(KTR::COpenGLView& view, const Position& origin, std::size_t index);
    void AddTriangle(KTR::COpenGLView& view, const Position& origin, std::size_t triangle,
                     const ReliefCover* cover) const;
    void DropPastCovers(KTR::COpenGLView& view);
    void DrawCovered(KTR::COpenGLView& view, const ReliefCover& cover) const;
    void DrawBare(KTR::COpenGLView& view) const;
    bool Shows(const ReliefCover* cover) const;
    void DrawStretches(KTR::COpenGLView& view, const ReliefCover* cover) const;

    std::shared_ptr<const ReliefShape> m_shape;
    ElevationRange m_range;
    ElevationRange m_shownRange;
    double m_opacity = 1.0;
    ReliefCovers m_covers;
    std::vector<std::shared_ptr<const ReliefCover>> m_pastCovers; ///< that parts may still show
    std::vector<Position> m_normals;                              ///< one per cell
    std::vector<Rgb> m_colors;                                    ///< one per cell
    std::vector<Part> m_parts;
    int m_state = 1; ///< grows with each change that the parts have to follow
};

} // namespace OrrinViewer
