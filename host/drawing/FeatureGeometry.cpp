#include "FeatureGeometry.h"

#include "BlendScope.h"

#include <cstddef>

namespace OrrinViewer {

namespace {

constexpr float kOutlineWidthPixels = 1.0F;
constexpr float kSymbolSizePixels = 5.0F;

bool Overlap(const Extent& one, const Extent& other) {
    return one.low.x <= other.high.x && other.low.x <= one.high.x && one.low.y <= other.high.y &&
           other.low.y <= one.high.y;
}

void AddPosition(KTR::COpenGLView& view, const Position& place, const GLRGBAColor& color) {
    view.AddIndex3DVertexRGBA(place.x, place.y, place.z, color.r, color.g, color.b, color.a);
}

void AddPath(KTR::COpenGLView& view, const Path& path, unsigned int mode, const GLRGBAColor& color,
             const GroundPosition& onTheGround) {
    view.BeginArrays(mode, KTR::GLShaderLine);
    for (const Position& position : path) {
        AddPosition(view, onTheGround(position), color);
    }
    view.EndArrays();
}

void EnableColors(KTR::COpenGLView& view, KTR::GLShaderTypes shader) {
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
}

} // namespace

void FeatureGeometry::DrawAreas(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area,
                                const AreaLook& look, const GroundPosition& onTheGround) {
    if (m_areaEnds.empty() || m_look != look) {
        m_look = look;
        AddAreas(view, layer, onTheGround);
    }
    const BlendScope blend(view);
    EnableColors(view, KTR::GLShaderColorPassThrough);
    // Those that follow each other are one draw.
    int first = 0;
    for (std::size_t index = 0; index <= m_areaEnds.size(); ++index) {
        const int begin = index > 0 ? m_areaEnds[index - 1] : 0;
        if (index == m_areaEnds.size() || !Overlap(layer.features[index].extent, area)) {
            view.DrawGeometry(m_areas, first, begin - first);
            first = index < m_areaEnds.size() ? m_areaEnds[index] : begin;
        }
    }
    view.DisableClientState();
}

void FeatureGeometry::DrawOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GLRGBAColor& color,
                                   double symbolSizePixels, const GroundPosition& onTheGround) {
    if (!m_hasOutlines || m_color != color) {
        m_color = color;
        AddOutlines(view, layer, onTheGround);
    }
    const BlendScope blend(view, color.a < 255);
    view.LineWidth(kOutlineWidthPixels);
    EnableColors(view, KTR::GLShaderLine);
    view.DrawGeometry(m_lines);
    view.DisableClientState();

    view.PointSize(symbolSizePixels > 0.0 ? static_cast<float>(symbolSizePixels) : kSymbolSizePixels);
    EnableColors(view, KTR::GLShaderPoint);
    view.DrawGeometry(m_symbols);
    view.DisableClientState();
}

void FeatureGeometry::Release() {
    m_areas.Clear();
    m_areaEnds.clear();
    m_lines.Clear();
    m_symbols.Clear();
    m_hasOutlines = false;
}

void FeatureGeometry::AddAreas(KTR::COpenGLView& view, const VectorLayer& layer, const GroundPosition& onTheGround) {
    KTR::GLTesselator* const tesselator = view.GetTesselator();
    m_areaEnds.clear();
    if (!tesselator || view.BeginGeometry(m_areas) != S_OK) {
        return;
    }
    for (std::size_t index = 0; index < layer.features.size(); ++index) {
        FillPolygons(*tesselator, layer.features[index], index, m_look, onTheGround);
        m_areaEnds.push_back(m_areas.GetCount());
    }
    if (view.EndGeometry() != S_OK) {
        m_areaEnds.clear();
    }
}

void FeatureGeometry::AddOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GroundPosition& onTheGround) {
    if (view.BeginGeometry(m_lines) != S_OK) {
        return;
    }
    for (const VectorFeature& feature : layer.features) {
        for (const Path& line : feature.lines) {
            AddPath(view, line, GL_LINE_STRIP, m_color, onTheGround);
        }
        for (const Polygon& polygon : feature.polygons) {
            for (const Path& ring : polygon.rings) {
                AddPath(view, ring, GL_LINE_LOOP, m_color, onTheGround);
            }
        }
    }
    if (view.EndGeometry() != S_OK || view.BeginGeometry(m_symbols) != S_OK) {
        return;
    }
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (const VectorFeature& feature : layer.features) {
        for (const Position& point : feature.points) {
            AddPosition(view, onTheGround(point), m_color);
        }
    }
    view.EndArrays();
    m_hasOutlines = view.EndGeometry() == S_OK;
}

} // namespace OrrinViewer
