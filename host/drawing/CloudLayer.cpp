#include "CloudLayer.h"

#include <utility>

namespace OrrinViewer {

namespace {

/// Larger clouds, of two gigabytes and more, are drawn point by point.
constexpr std::size_t kMostPointsKept = 60'000'000;

} // namespace

CloudLayer::CloudLayer(PointCloud cloud) : m_cloud(std::move(cloud)) {}

void CloudLayer::Color(ColorMode mode) {
    m_colors = ColorPoints(m_cloud, mode);
    m_geometry.Clear();
}

void CloudLayer::Draw(KTR::COpenGLView& view, const Position& origin, double pointSizePixels) {
    view.PointSize(static_cast<float>(pointSizePixels));
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    if (!DrawKept(view, origin)) {
        AddPoints(view, origin);
    }
    view.DisableClientState();
}

/// A cloud does not change from frame to frame: it is added once and stays where it is drawn from. What the graphics
/// card has need not be in main memory too, since it can be added again.
bool CloudLayer::DrawKept(KTR::COpenGLView& view, const Position& origin) {
    if (m_cloud.Count() > kMostPointsKept || (m_geometry.GetCount() == 0 && !Keep(view, origin))) {
        return false;
    }
    long result = view.DrawGeometry(m_geometry);
    if (result == E_HANDLE && Keep(view, origin)) {
        result = view.DrawGeometry(m_geometry);
    }
    return result == S_OK;
}

bool CloudLayer::Keep(KTR::COpenGLView& view, const Position& origin) {
    if (m_geometry.Reserve(static_cast<int>(m_cloud.Count())) != S_OK ||
        m_geometry.FreeRecordsAfterUpload(true) != S_OK || view.BeginGeometry(m_geometry) != S_OK) {
        return false;
    }
    AddPoints(view, origin);
    return view.EndGeometry() == S_OK;
}

void CloudLayer::AddPoints(KTR::COpenGLView& view, const Position& origin) const {
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (std::size_t index = 0; index < m_cloud.Count(); ++index) {
        const Position& position = m_cloud.positions[index];
        const Rgb& color = m_colors[index];
        view.AddIndex3DVertexRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z, color.red,
                                  color.green, color.blue, 255);
    }
    view.EndArrays();
}

} // namespace OrrinViewer
