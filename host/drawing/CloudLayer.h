#pragma once

#include "SceneColors.h"
#include "data/PointCloud.h"

#include <OrrinDisplay.h>

#include <vector>

namespace OrrinViewer {

/// A point cloud and how it is drawn: from geometry that is kept, or point by point where there is no memory for that.
class CloudLayer {
public:
    explicit CloudLayer(PointCloud cloud);

    const PointCloud& Cloud() const { return m_cloud; }
    void Color(ColorMode mode);
    /// Draws it relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin, double pointSizePixels);
    void ReleaseGeometry() { m_geometry.Clear(); }

private:
    bool DrawKept(KTR::COpenGLView& view, const Position& origin);
    bool Keep(KTR::COpenGLView& view, const Position& origin);
    void AddPoints(KTR::COpenGLView& view, const Position& origin) const;

    PointCloud m_cloud;
    std::vector<Rgb> m_colors;
    KTR::GLGeometry m_geometry; ///< empty where it has to be added
};

} // namespace OrrinViewer
