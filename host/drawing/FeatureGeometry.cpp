#include "FeatureGeometry.h"

#include "BlendScope.h"

#include <algorithm>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr float kOutlineWidthPixels = 1.0F;
constexpr float kSymbolSizePixels = 5.0F;
/// Of a part, which takes some ten milliseconds to add; it has more only where one feature has.
constexpr std::size_t kOutlinePositions = 30'000;
constexpr std::size_t kAreaPositions = 12'000;

bool Overlap(const Extent& one, const Extent& other) {
    return one.low.x <= other.high.x && other.low.x <= one.high.x && one.low.y <= other.high.y &&
           other.low.y <= one.high.y;
}

std::size_t CountPositions(const VectorFeature& feature) {
    std::size_t count = feature.points.size();
    for (const Path& line : feature.lines) {
        count += line.size();
    }
    for (const Polygon& polygon : feature.polygons) {
        for (const Path& ring : polygon.rings) {
            count += ring.size();
        }
    }
    return count;
}

/// Behind the last feature of the part that begins with this one.
std::size_t FindEndOfPart(const VectorLayer& layer, std::size_t first, std::size_t partPositions) {
    std::size_t positions = 0;
    std::size_t end = first;
    while (end < layer.features.size() && positions < partPositions) {
        positions += CountPositions(layer.features[end++]);
    }
    return end;
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

template <typename Part, typename Add>
bool FeatureGeometry::Prepare(Parts<Part>& shown, Parts<Part>& next, const VectorLayer& layer,
                              std::size_t partPositions, TimePoint until, Add add) {
    if (shown.features == layer.features.size() && !shown.isOutdated) {
        return true;
    }
    while (next.features < layer.features.size()) {
        if (std::chrono::steady_clock::now() >= until) {
            return false;
        }
        const std::size_t end = FindEndOfPart(layer, next.features, partPositions);
        Part part;
        if (!add(next.features, end, part)) {
            next = {};
            return true;
        }
        for (std::size_t index = next.features; index < end; ++index) {
            part.extent.Include(layer.features[index].extent);
        }
        next.parts.push_back(std::move(part));
        next.features = end;
    }
    shown = std::exchange(next, {});
    return true;
}

bool FeatureGeometry::PrepareOutlines(KTR::COpenGLView& view, const VectorLayer& layer, const GLRGBAColor& color,
                                      const GroundPosition& onTheGround, TimePoint until) {
    if (m_color != color) {
        m_color = color;
        m_outlines.isOutdated = true;
        m_nextOutlines = {};
    }
    return Prepare(m_outlines, m_nextOutlines, layer, kOutlinePositions, until,
                   [&](std::size_t first, std::size_t end, OutlinePart& part) {
                       return AddOutlines(view, layer, first, end, color, onTheGround, part);
                   });
}

bool FeatureGeometry::PrepareAreas(KTR::COpenGLView& view, const VectorLayer& layer, const AreaLook& look,
                                   const GroundPosition& onTheGround, TimePoint until) {
    if (m_look != look) {
        m_look = look;
        m_areas.isOutdated = true;
        m_nextAreas = {};
    }
    return Prepare(m_areas, m_nextAreas, layer, kAreaPositions, until,
                   [&](std::size_t first, std::size_t end, AreaPart& part) {
                       return AddAreas(view, layer, first, end, look, onTheGround, part);
                   });
}

std::optional<double> FeatureGeometry::FindShareReady(const VectorLayer& layer) const {
    const std::size_t features = std::max(m_nextOutlines.features, m_nextAreas.features);
    return features > 0 ? std::optional(static_cast<double>(features) / static_cast<double>(layer.features.size()))
                        : std::nullopt;
}

void FeatureGeometry::DrawAreas(KTR::COpenGLView& view, const VectorLayer& layer, const Extent& area) const {
    const BlendScope blend(view);
    EnableColors(view, KTR::GLShaderColorPassThrough);
    for (const AreaPart& part : m_areas.parts.empty() ? m_nextAreas.parts : m_areas.parts) {
        if (!Overlap(part.extent, area)) {
            continue;
        }
        // Those that follow each other are one draw.
        int first = 0;
        for (std::size_t index = 0; index <= part.ends.size(); ++index) {
            const int begin = index > 0 ? part.ends[index - 1] : 0;
            if (index == part.ends.size() || !Overlap(layer.features[part.firstFeature + index].extent, area)) {
                view.DrawGeometry(part.areas, first, begin - first);
                first = index < part.ends.size() ? part.ends[index] : begin;
            }
        }
    }
    view.DisableClientState();
}

void FeatureGeometry::DrawOutlines(KTR::COpenGLView& view, const std::optional<Extent>& area, double symbolSizePixels,
                                   double scale) const {
    std::vector<const OutlinePart*> parts;
    for (const OutlinePart& part : m_outlines.parts.empty() ? m_nextOutlines.parts : m_outlines.parts) {
        if (!area || Overlap(part.extent, *area)) {
            parts.push_back(&part);
        }
    }
    const BlendScope blend(view, m_color.a < 255);
    view.LineWidth(kOutlineWidthPixels * static_cast<float>(scale));
    EnableColors(view, KTR::GLShaderLine);
    for (const OutlinePart* part : parts) {
        view.DrawGeometry(part->lines);
    }
    view.DisableClientState();

    const double symbolSize = symbolSizePixels > 0.0 ? symbolSizePixels : kSymbolSizePixels;
    view.PointSize(static_cast<float>(symbolSize * scale));
    EnableColors(view, KTR::GLShaderPoint);
    for (const OutlinePart* part : parts) {
        view.DrawGeometry(part->symbols);
    }
    view.DisableClientState();
}

void FeatureGeometry::Outdate() {
    m_outlines.isOutdated = true;
    m_areas.isOutdated = true;
    m_nextOutlines = {};
    m_nextAreas = {};
}

void FeatureGeometry::Release() {
    m_outlines = {};
    m_areas = {};
    m_nextOutlines = {};
    m_nextAreas = {};
}

bool FeatureGeometry::AddAreas(KTR::COpenGLView& view, const VectorLayer& layer, std::size_t first, std::size_t end,
                               const AreaLook& look, const GroundPosition& onTheGround, AreaPart& part) {
    KTR::GLTesselator* const tesselator = view.GetTesselator();
    if (!tesselator || view.BeginGeometry(part.areas) != S_OK) {
        return false;
    }
    part.firstFeature = first;
    for (std::size_t index = first; index < end; ++index) {
        FillPolygons(*tesselator, layer.features[index], index, look, onTheGround);
        part.ends.push_back(part.areas.GetCount());
    }
    return view.EndGeometry() == S_OK;
}

bool FeatureGeometry::AddOutlines(KTR::COpenGLView& view, const VectorLayer& layer, std::size_t first, std::size_t end,
                                  const GLRGBAColor& color, const GroundPosition& onTheGround, OutlinePart& part) {
    if (view.BeginGeometry(part.lines) != S_OK) {
        return false;
    }
    for (std::size_t index = first; index < end; ++index) {
        const VectorFeature& feature = layer.features[index];
        for (const Path& line : feature.lines) {
            AddPath(view, line, GL_LINE_STRIP, color, onTheGround);
        }
        for (const Polygon& polygon : feature.polygons) {
            for (const Path& ring : polygon.rings) {
                AddPath(view, ring, GL_LINE_LOOP, color, onTheGround);
            }
        }
    }
    if (view.EndGeometry() != S_OK || view.BeginGeometry(part.symbols) != S_OK) {
        return false;
    }
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (std::size_t index = first; index < end; ++index) {
        for (const Position& point : layer.features[index].points) {
            AddPosition(view, onTheGround(point), color);
        }
    }
    view.EndArrays();
    return view.EndGeometry() == S_OK;
}

} // namespace OrrinViewer
