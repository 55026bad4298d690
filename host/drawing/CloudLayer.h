#pragma once

#include "SceneColors.h"
#include "data/PointCloud.h"

#include <OrrinDisplay.h>

#include <map>
#include <vector>

namespace OrrinViewer {

/// A point cloud and how it is drawn: from a buffer on the graphics card where the context draws with programs, point
/// by point elsewhere.
class CloudLayer {
public:
    explicit CloudLayer(PointCloud cloud);

    const PointCloud& Cloud() const { return m_cloud; }
    void Color(ColorMode mode);
    /// Draws it relative to the origin.
    void Draw(KTR::COpenGLView& view, const Position& origin, double pointSizePixels);
    /// Deletes what was put into the view's context, which must be current.
    void ReleaseGLObjects(KTR::COpenGLView& view);

private:
    /// The cloud in the memory of the graphics card.
    struct Buffer {
        KTR::GLVBO vbo;
        int colorVersion = 0;
    };

    void DrawFromBuffer(KTR::COpenGLView& view, const Position& origin);
    std::vector<KTR::GLDrawGeometry> MakeGeometry(const Position& origin) const;

    PointCloud m_cloud;
    std::vector<Rgb> m_colors;
    int m_colorVersion = 0; ///< counts the colourings
    /// By rendering context: each window has one, and a view may have to make its own anew.
    std::map<HGLRC, Buffer> m_buffers;
};

} // namespace OrrinViewer
