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
/// Parts with fewer positions are drawn quickly as they are.
constexpr std::size_t kFewPositions = 4'000;
/// What a coarser version may be wrong by on the screen.
constexpr double kMostErrorPixels = 0.5;
/// The coarsest version is right for a layer that fills so many pixels of a window.
constexpr double kCoarsestPixels = 1024.0;
/// Of the positions of a part, that its coarser versions may have together.
constexpr double kCoarserShare = 0.4;

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

/// Of some features that follow each other.
DrawnPaths CollectPaths(const VectorLayer& layer, std::size_t first, std::size_t end,
                        const GroundPosition& onTheGround) {
    DrawnPaths paths;
    const auto add = [&](const Path& path, bool isClosed) {
        for (const Position& position : path) {
            paths.positions.push_back(onTheGround(position));
        }
        paths.ends.push_back({paths.positions.size(), isClosed});
    };
    for (std::size_t index = first; index < end; ++index) {
        const VectorFeature& feature = layer.features[index];
        for (const Path& line : feature.lines) {
            add(line, false);
        }
        for (const Polygon& polygon : feature.polygons) {
            for (const Path& ring : polygon.rings) {
                add(ring, true);
            }
        }
        for (const Position& point : feature.points) {
            paths.points.push_back(onTheGround(point));
        }
    }
    return paths;
}

/// Less than a pixel's difference can be seen where it is drawn over itself.
std::vector<ThinnedPaths> MakeCoarser(const DrawnPaths& paths, const Extent& ofLayer, const GLRGBAColor& color) {
    if (paths.CountPositions() < kFewPositions || color.a < 255) {
        return {};
    }
    const double side = std::max(ofLayer.high.x - ofLayer.low.x, ofLayer.high.y - ofLayer.low.y);
    return ThinRepeatedly(paths, kMostErrorPixels * side / kCoarsestPixels, kCoarserShare);
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

void FeatureGeometry::DrawOutlines(KTR::COpenGLView& view, const std::optional<Extent>& area,
                                   const ViewScale& viewScale, double symbolSizePixels, double scale) const {
    std::vector<const OutlinePart::Version*> versions;
    for (const OutlinePart& part : m_outlines.parts.empty() ? m_nextOutlines.parts : m_outlines.parts) {
        if (!area || Overlap(part.extent, *area)) {
            versions.push_back(&part.FindVersion(viewScale));
        }
    }
    const BlendScope blend(view, m_color.a < 255);
    view.LineWidth(kOutlineWidthPixels * static_cast<float>(scale));
    EnableColors(view, KTR::GLShaderLine);
    for (const OutlinePart::Version* version : versions) {
        view.DrawGeometry(version->lines);
    }
    view.DisableClientState();

    const double symbolSize = symbolSizePixels > 0.0 ? symbolSizePixels : kSymbolSizePixels;
    view.PointSize(static_cast<float>(symbolSize * scale));
    EnableColors(view, KTR::GLShaderPoint);
    for (const OutlinePart::Version* version : versions) {
        view.DrawGeometry(version->symbols);
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
    const ThinnedPaths whole{CollectPaths(layer, first, end, onTheGround)};
    for (const ThinnedPaths& coarser : MakeCoarser(whole.paths, layer.extent, color)) {
        if (!AddVersion(view, coarser, color, part)) {
            return false;
        }
    }
    if (!AddVersion(view, whole, color, part)) {
        return false;
    }
    const PointXYZ origin = part.versions.back().lines.GetOrigin();
    const auto include = [&](const Position& place) {
        part.box.Include(Position{place.x + origin.x, place.y + origin.y, place.z});
    };
    std::for_each(whole.paths.positions.begin(), whole.paths.positions.end(), include);
    std::for_each(whole.paths.points.begin(), whole.paths.points.end(), include);
    return true;
}

bool FeatureGeometry::AddVersion(KTR::COpenGLView& view, const ThinnedPaths& thinned, const GLRGBAColor& color,
                                 OutlinePart& part) {
    const DrawnPaths& paths = thinned.paths;
    OutlinePart::Version& version = part.versions.emplace_back();
    version.groundError = thinned.groundError;
    version.heightError = thinned.heightError;
    if (view.BeginGeometry(version.lines) != S_OK) {
        return false;
    }
    std::size_t next = 0;
    for (const DrawnPaths::End& end : paths.ends) {
        view.BeginArrays(end.isClosed ? GL_LINE_LOOP : GL_LINE_STRIP, KTR::GLShaderLine);
        while (next < end.position) {
            AddPosition(view, paths.positions[next++], color);
        }
        view.EndArrays();
    }
    if (view.EndGeometry() != S_OK || view.BeginGeometry(version.symbols) != S_OK) {
        return false;
    }
    view.BeginArrays(GL_POINTS, KTR::GLShaderPoint);
    for (const Position& point : paths.points) {
        AddPosition(view, point, color);
    }
    view.EndArrays();
    return view.EndGeometry() == S_OK;
}

const FeatureGeometry::OutlinePart::Version&
FeatureGeometry::OutlinePart::FindVersion(const ViewScale& viewScale) const {
    return *std::find_if(versions.begin(), versions.end() - 1, [&](const Version& version) {
        return viewScale.FindPixels(box, version.groundError, version.heightError) <= kMostErrorPixels;
    });
}

} // namespace OrrinViewer
