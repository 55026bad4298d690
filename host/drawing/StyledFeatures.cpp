#include "StyledFeatures.h"

#include "map/SymbolNames.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr GLRGBAColor kRoad{255, 244, 214, 255};
constexpr GLRGBAColor kCasing{150, 92, 34, 255};
constexpr GLRGBAColor kBorder{255, 176, 64, 255};
constexpr GLRGBAColor kSymbol{230, 70, 60, 255};
constexpr double kHairlinePixels = 1.0;
constexpr double kSymbolPixels = 13.0;

std::vector<PointXYZ> PlacesOf(const Path& path, bool closed, const GroundPosition& onTheGround) {
    std::vector<PointXYZ> places;
    places.reserve(path.size() + 1);
    for (const Position& position : path) {
        const Position place = onTheGround(position);
        places.push_back({place.x, place.y, place.z});
    }
    if (closed && !places.empty()) {
        places.push_back(PointXYZ(places.front())); // the library knows a ring by that
    }
    return places;
}

KTR::GLLineStyle LineOf(double widthPixels, const GLRGBAColor& color, double scale) {
    KTR::GLLineStyle line;
    line.width = std::max(widthPixels, kHairlinePixels) * scale;
    line.color = color;
    line.join = KTR::GLLineJoinRound;
    return line;
}

void DrawPath(KTR::COpenGLView& view, const std::vector<PointXYZ>& places, const KTR::GLLineStyle& line) {
    view.DrawLineString(places.data(), static_cast<int>(places.size()), line);
}

void DrawRoads(KTR::COpenGLView& view, const std::vector<const VectorFeature*>& features, const KTR::GLLineStyle& line,
               const GroundPosition& onTheGround) {
    for (const VectorFeature* const feature : features) {
        for (const Path& path : feature->lines) {
            DrawPath(view, PlacesOf(path, false, onTheGround), line);
        }
    }
}

std::vector<const VectorFeature*> FindFeatures(const VectorLayer& layer, const std::optional<Extent>& area) {
    std::vector<const VectorFeature*> features;
    for (const VectorFeature& feature : layer.features) {
        if (!area || feature.extent.Overlaps(*area)) {
            features.push_back(&feature);
        }
    }
    return features;
}

/// Of a name that the options allow.
KTR::GLSymbolKind SymbolOf(const std::string& name) {
    const auto found = std::find(std::begin(kSymbolNames), std::end(kSymbolNames), name);
    return found == std::end(kSymbolNames) ? KTR::GLSymbolSquare
                                           : static_cast<KTR::GLSymbolKind>(found - std::begin(kSymbolNames));
}

} // namespace

void DrawStyledFeatures(KTR::COpenGLView& view, const VectorLayer& layer, const std::optional<Extent>& area,
                        const FeatureStyle& style, const std::optional<Rgb>& color, std::uint8_t opacity, double scale,
                        const GroundPosition& onTheGround) {
    const auto inColor = [&](const GLRGBAColor& ofKind) {
        return color ? GLRGBAColor{color->red, color->green, color->blue, opacity}
                     : GLRGBAColor{ofKind.r, ofKind.g, ofKind.b, opacity};
    };
    const std::vector<const VectorFeature*> features = FindFeatures(layer, area);
    view.BeginShapes();
    const KTR::GLLineStyle border = LineOf(style.borderWidthPixels, inColor(kBorder), scale);
    for (const VectorFeature* const feature : features) {
        for (const Polygon& polygon : feature->polygons) {
            for (const Path& ring : polygon.rings) {
                DrawPath(view, PlacesOf(ring, true, onTheGround), border);
            }
        }
    }
    if (style.casingWidthPixels > 0.0) {
        const GLRGBAColor dark = {kCasing.r, kCasing.g, kCasing.b, opacity};
        KTR::GLLineStyle casing = LineOf(style.casingWidthPixels, dark, scale);
        casing.cap = KTR::GLLineCapRound;
        DrawRoads(view, features, casing, onTheGround);
    }
    KTR::GLLineStyle road = LineOf(style.lineWidthPixels, inColor(kRoad), scale);
    for (const double dash : style.dashesPixels) {
        road.dashes.push_back(dash * scale);
    }
    road.cap = road.dashes.empty() ? KTR::GLLineCapRound : KTR::GLLineCapButt;
    DrawRoads(view, features, road, onTheGround);

    KTR::GLSymbolStyle symbol;
    symbol.size = (style.symbolSizePixels > 0.0 ? style.symbolSizePixels : kSymbolPixels) * scale;
    symbol.color = inColor(kSymbol);
    symbol.outlineColor.a = opacity;
    symbol.outlineWidth = 1.5 * scale;
    const KTR::GLSymbolKind kind = SymbolOf(style.symbol);
    for (const VectorFeature* const feature : features) {
        for (const Position& point : feature->points) {
            const Position place = onTheGround(point);
            view.DrawSymbol(kind, place.x, place.y, place.z, symbol);
        }
    }
    view.EndShapes();
}

} // namespace OrrinViewer
