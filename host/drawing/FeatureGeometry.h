#pragma once

#include "PolygonFill.h"
#include "data/PathThinning.h"
#include "data/VectorLayer.h"
#include "map/ViewScale.h"

#include <OrrinDisplay.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// What is drawn of a vector layer. It does not change from frame to frame: it is added once, and all windows draw it
/// from there. It is added part by part, so that the window answers meanwhile. Of parts that have many positions close
/// to each other there are coarser versions, and the coarsest one that shows no difference is drawn.
class FeatureGeometry {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Adds outlines of a colour, or areas of a look, until that moment. True once all are there, and where no memory
    /// is left for more.
    bool PrepareOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GLRGBAColor& color,
                         const GroundPosition& onTheGround, TimePoint until);
    bool PrepareAreas(KTR::COpenGLView& view, const VectorLayer& layer, const AreaLook& look,
                      const GroundPosition& onTheGround, TimePoint until);
    /// How much of what is being added is there; nothing where all or none is.
    std::optional<double> FindShareReady(const VectorLayer& layer) const;

    /// Draws the filled areas, as far as they are there, of the features that reach into `area`.
    void DrawAreas(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area) const;
    /// Draws lines, the outlines of areas, and symbols for points, as far as they are there; where an area is given, of
    /// features in it, and of others near them. The symbols are of a size in pixels, or of one that suits them where it
    /// is 0, and all of it is larger by `scale` than usual.
    void DrawOutlines(KTR::COpenGLView& view, const std::optional<Extent>& area, const ViewScale& viewScale,
                      double symbolSizePixels, double scale) const;
    /// The layer lies elsewhere: what is there is drawn until it has been added anew.
    void Outdate();
    void Release();

private:
    /// Of some features that follow each other.
    struct OutlinePart {
        struct Version {
            KTR::GLGeometry lines;
            KTR::GLGeometry symbols;
            double groundError = 0.0; ///< how far what it shows is from where it should be, seen from above
            double heightError = 0.0;
        };
        std::vector<Version> versions; ///< the coarsest first, the full one last
        Extent extent;
        Extent box; ///< of what is drawn

        const Version& FindVersion(const ViewScale& viewScale) const;
    };
    struct AreaPart {
        KTR::GLGeometry areas;
        std::size_t firstFeature = 0;
        std::vector<int> ends; ///< records up to each feature's last one
        Extent extent;
    };
    template <typename Part> struct Parts {
        std::vector<Part> parts;
        std::size_t features = 0; ///< that they have
        bool isOutdated = false;
    };

    static bool AddOutlines(KTR::COpenGLView& view, const VectorLayer& layer, std::size_t first, std::size_t end,
                            const GLRGBAColor& color, const GroundPosition& onTheGround, OutlinePart& part);
    static bool AddVersion(KTR::COpenGLView& view, const ThinnedPaths& paths, const GLRGBAColor& color,
                           OutlinePart& part);
    static bool AddAreas(KTR::COpenGLView& view, const VectorLayer& layer, std::size_t first, std::size_t end,
                         const AreaLook& look, const GroundPosition& onTheGround, AreaPart& part);
    template <typename Part, typename Add> static bool Prepare(Parts<Part>& shown, Parts<Part>& next,
                                                               const VectorLayer& layer, std::size_t partPositions,
                                                               TimePoint until, Add add);

    Parts<OutlinePart> m_outlines;
    Parts<OutlinePart> m_nextOutlines; ///< that will take their place
    Parts<AreaPart> m_areas;
    Parts<AreaPart> m_nextAreas;
    GLRGBAColor m_color; ///< of the next outlines, or of those that are there
    AreaLook m_look;     ///< the same of areas
};

} // namespace OrrinViewer
