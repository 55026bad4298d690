#include "CloudLayer.h"

#include <utility>

namespace OrrinViewer {

namespace {

/// Larger clouds, of two gigabytes and more, go through the library's own memory piece by piece.
constexpr std::size_t kMostPointsInBuffer = 60'000'000;

} // namespace

CloudLayer::CloudLayer(PointCloud cloud) : m_cloud(std::move(cloud)) {}

void CloudLayer::Color(ColorMode mode) {
    m_colors = ColorPoints(m_cloud, mode);
    ++m_colorVersion;
}

void CloudLayer::Draw(KTR::COpenGLView& view, const Position& origin, double pointSizePixels) {
    view.PointSize(static_cast<float>(pointSizePixels));
    if (view.DrawsWithPrograms() && m_cloud.Count() <= kMostPointsInBuffer) {
        DrawFromBuffer(view, origin);
        return;
    }
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (std::size_t index = 0; index < m_cloud.Count(); ++index) {
        const Position& position = m_cloud.positions[index];
        const Rgb& color = m_colors[index];
        view.AddIndex3DVertexRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z, color.red,
                                  color.green, color.blue, 255);
    }
    view.EndArraysAndDisableClientState();
}

void CloudLayer::ReleaseGLObjects(KTR::COpenGLView& view) {
    const auto found = m_buffers.find(view.GetContextRecord(view.GetCurrentContextType()).renderingContext);
    if (found != m_buffers.end()) {
        view.DeleteVBO(found->second.vbo);
        m_buffers.erase(found);
    }
}

/// A cloud does not change from frame to frame: it is handed over once and stays where the graphics card draws from.
void CloudLayer::DrawFromBuffer(KTR::COpenGLView& view, const Position& origin) {
    Buffer& buffer = m_buffers[view.GetContextRecord(view.GetCurrentContextType()).renderingContext];
    if (buffer.colorVersion != m_colorVersion) {
        view.DeleteVBO(buffer.vbo);
        buffer.colorVersion = m_colorVersion;
    }
    const bool isFilled = buffer.vbo.vertexBytes != 0;
    const std::vector<KTR::GLDrawGeometry> geometry =
        isFilled ? std::vector<KTR::GLDrawGeometry>() : MakeGeometry(origin);
    view.InitializeVBO(GL_POINTS, KTR::GLShaderPoint, buffer.vbo, geometry.data(), geometry.size());
    view.DrawArrays(GL_POINTS, static_cast<int>(m_cloud.Count()), buffer.vbo, nullptr);
    view.EndVBOArraysAndDisableClientState();
}

std::vector<KTR::GLDrawGeometry> CloudLayer::MakeGeometry(const Position& origin) const {
    std::vector<KTR::GLDrawGeometry> geometry(m_cloud.Count());
    for (std::size_t index = 0; index < geometry.size(); ++index) {
        const Position& position = m_cloud.positions[index];
        const Rgb& color = m_colors[index];
        KTR::GLDrawGeometry& vertex = geometry[index];
        vertex.x = static_cast<float>(position.x - origin.x);
        vertex.y = static_cast<float>(position.y - origin.y);
        vertex.z = static_cast<float>(position.z - origin.z);
        vertex.r = color.red;
        vertex.g = color.green;
        vertex.b = color.blue;
        vertex.a = 255;
    }
    return geometry;
}

} // namespace OrrinViewer
