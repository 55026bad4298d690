#include "PickMark.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr GLRGBAColor kMark{0, 230, 255, 255};
constexpr GLRGBAColor kEdge{16, 20, 26, 255};
constexpr GLRGBAColor kNothing{0, 0, 0, 0};
constexpr double kLinePixels = 3.0;
constexpr double kEdgePixels = 2.0; ///< to either side
constexpr double kRingPixels = 18.0;
/// A shape with fewer positions is drawn as it is.
constexpr std::size_t kManyPositions = 5'000;
constexpr std::size_t kMostRings = 2'000;

Position Raised(const Position& position, const PickHeights& heights) {
    return {position.x, position.y, heights.heightOf ? heights.heightOf(position) : position.z};
}

std::vector<PointXYZ> PlacesOf(const Path& path, bool isRing, const PickHeights& heights, const PickCamera& camera) {
    std::vector<PointXYZ> places;
    SeenPlace before;
    for (std::size_t index = 0; index < path.size(); ++index) {
        const Position place = Raised(path[index], heights);
        if (path.size() >= kManyPositions && index > 0 && index + 1 < path.size()) {
            const SeenPlace seen = camera.See(place);
            const bool isSame =
                seen.w > 0.0 && before.w > 0.0 &&
                std::hypot(seen.x / seen.w - before.x / before.w, seen.y / seen.w - before.y / before.w) < 1.0;
            if (isSame) {
                continue;
            }
        }
        before = camera.See(place);
        places.push_back({place.x, place.y, place.z});
    }
    if (isRing && !places.empty()) {
        places.push_back(PointXYZ(places.front())); // the library knows a ring by that
    }
    return places;
}

void DrawMarkLine(KTR::COpenGLView& view, const std::vector<PointXYZ>& places) {
    KTR::GLLineStyle line;
    line.color = kMark;
    line.width = kLinePixels;
    line.casingWidth = kLinePixels + 2.0 * kEdgePixels;
    line.casingColor = kEdge;
    line.join = KTR::GLLineJoinRound;
    line.cap = KTR::GLLineCapRound;
    view.DrawLineString(places.data(), static_cast<int>(places.size()), line);
}

} // namespace

void DrawFeatureMark(KTR::COpenGLView& view, const VectorFeature& feature, const PickHeights& heights,
                     const PickCamera& camera) {
    view.LoadViewMatrices();
    view.Disable(GL_DEPTH_TEST);
    view.BeginShapes();
    for (const Polygon& polygon : feature.polygons) {
        for (const Path& ring : polygon.rings) {
            DrawMarkLine(view, PlacesOf(ring, true, heights, camera));
        }
    }
    for (const Path& line : feature.lines) {
        DrawMarkLine(view, PlacesOf(line, false, heights, camera));
    }
    for (std::size_t index = 0; index < std::min(feature.points.size(), kMostRings); ++index) {
        DrawPointMark(view, Raised(feature.points[index], heights));
    }
    view.EndShapes();
}

void DrawPointMark(KTR::COpenGLView& view, const Position& place) {
    KTR::GLSymbolStyle ring;
    ring.color = kNothing;
    ring.size = kRingPixels + 2.0 * kEdgePixels;
    ring.outlineWidth = kLinePixels + 2.0 * kEdgePixels;
    ring.outlineColor = kEdge;
    view.LoadViewMatrices();
    view.Disable(GL_DEPTH_TEST);
    view.DrawSymbol(KTR::GLSymbolCircle, place.x, place.y, place.z, ring);
    ring.size = kRingPixels;
    ring.outlineWidth = kLinePixels;
    ring.outlineColor = kMark;
    view.DrawSymbol(KTR::GLSymbolCircle, place.x, place.y, place.z, ring);
}

} // namespace OrrinViewer
