#pragma once

#include "PolygonFill.h"
#include "data/VectorLayer.h"

#include <OrrinDisplay.h>

#include <vector>

namespace OrrinViewer {

/// What is drawn of a vector layer. It does not change from frame to frame: it is added once, and all windows draw it
/// from there.
class FeatureGeometry {
public:
    /// Draws the filled areas of the features that reach into `area`.
    void DrawAreas(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area, const AreaLook& look,
                   const GroundPosition& onTheGround);
    /// Draws lines, the outlines of areas, and symbols for points; these of a size in pixels, or of one that suits
    /// them where it is 0.
    void DrawOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GLRGBAColor& color,
                      double symbolSizePixels, const GroundPosition& onTheGround);
    void Release();

private:
    void AddAreas(KTR::COpenGLView& view, const VectorLayer& layer, const GroundPosition& onTheGround);
    void AddOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GroundPosition& onTheGround);

    KTR::GLGeometry m_areas;
    std::vector<int> m_areaEnds; ///< records of `m_areas` up to each feature's last one; empty until they are there
    AreaLook m_look;             ///< of those
    KTR::GLGeometry m_lines;
    KTR::GLGeometry m_symbols;
    bool m_hasOutlines = false; ///< `m_lines` and `m_symbols` are filled
    GLRGBAColor m_color;        ///< of those
};

} // namespace OrrinViewer
