#include "PickMark.h"

#include "PixelDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr GLRGBAColor kMark{0, 230, 255, 255};
constexpr GLRGBAColor kEdge{16, 20, 26, 255};
constexpr GLRGBAColor kNothing{0, 0, 0, 0};
constexpr double kLinePixels = 3.0;
constexpr double kEdgePixels = 2.0; ///< to either side
constexpr double kRingPixels = 18.0;
constexpr std::size_t kMostRings = 2'000;
/// Positions that are seen nearer to each other than this are one.
constexpr double kSamePixels = 0.7;
/// What is nearer to the eye than this share of the way to the picture's middle is cut off.
constexpr double kNearest = 1e-3;

class MarkDrawing {
public:
    MarkDrawing(KTR::COpenGLView& view, const MarkedWindow& window) : m_view(view), m_window(window) {
        SetUpPixelCamera(view, window.widthPixels, window.heightPixels);
        // The library subtracts them from what shapes are given.
        view.GetCurrentCoordinateOffset(m_offsetX, m_offsetY);
        view.BeginShapes();
    }
    ~MarkDrawing() { m_view.EndShapes(); }
    MarkDrawing(const MarkDrawing&) = delete;
    MarkDrawing& operator=(const MarkDrawing&) = delete;

    void AddPath(const Path& path, bool isRing, const PickHeights& heights) {
        std::vector<PointXYZ> places;
        SeenPlace before;
        const std::size_t count = path.size() + (isRing && !path.empty() ? 1 : 0);
        for (std::size_t index = 0; index < count; ++index) {
            const SeenPlace seen = See(path[index == path.size() ? 0 : index], heights);
            const bool isAhead = seen.w >= kNearest;
            if (index > 0 && isAhead != (before.w >= kNearest)) {
                AddPlace(places, Cut(before, seen), true);
            }
            if (isAhead) {
                AddPlace(places, seen, index + 1 == count);
            } else {
                DrawLine(places);
            }
            before = seen;
        }
        DrawLine(places);
    }

    void AddRing(const Position& position, const PickHeights& heights) {
        const SeenPlace seen = See(position, heights);
        if (!(seen.w >= kNearest)) {
            return;
        }
        const PointXYZ place = PlaceOf(seen);
        KTR::GLSymbolStyle ring;
        ring.color = kNothing;
        ring.size = (kRingPixels + 2.0 * kEdgePixels) * m_window.scale;
        ring.outlineWidth = (kLinePixels + 2.0 * kEdgePixels) * m_window.scale;
        ring.outlineColor = kEdge;
        m_view.DrawSymbol(KTR::GLSymbolCircle, place.x, place.y, place.z, ring);
        ring.size = kRingPixels * m_window.scale;
        ring.outlineWidth = kLinePixels * m_window.scale;
        ring.outlineColor = kMark;
        m_view.DrawSymbol(KTR::GLSymbolCircle, place.x, place.y, place.z, ring);
    }

private:
    SeenPlace See(Position position, const PickHeights& heights) const {
        if (heights.heightOf && m_window.camera.SeesHeights()) {
            position.z = heights.heightOf(position);
        }
        return m_window.camera.See(position);
    }
    static SeenPlace Cut(const SeenPlace& from, const SeenPlace& to) {
        const double share = (kNearest - from.w) / (to.w - from.w);
        return {from.x + share * (to.x - from.x), from.y + share * (to.y - from.y), kNearest, 0.0};
    }
    PointXYZ PlaceOf(const SeenPlace& seen) const {
        return {seen.x / seen.w * m_window.scale + m_offsetX,
                m_window.heightPixels - seen.y / seen.w * m_window.scale + m_offsetY, 0.0};
    }
    void AddPlace(std::vector<PointXYZ>& places, const SeenPlace& seen, bool isEnd) const {
        const PointXYZ place = PlaceOf(seen);
        const bool isSame =
            !places.empty() && std::hypot(place.x - places.back().x, place.y - places.back().y) < kSamePixels;
        if (!isSame || isEnd) {
            places.push_back(place);
        }
    }
    void DrawLine(std::vector<PointXYZ>& places) const {
        if (places.size() > 1) {
            KTR::GLLineStyle line;
            line.color = kMark;
            line.width = kLinePixels * m_window.scale;
            line.casingWidth = (kLinePixels + 2.0 * kEdgePixels) * m_window.scale;
            line.casingColor = kEdge;
            line.join = KTR::GLLineJoinRound;
            line.cap = KTR::GLLineCapRound;
            m_view.DrawLineString(places.data(), static_cast<int>(places.size()), line);
        }
        places.clear();
    }

    KTR::COpenGLView& m_view;
    const MarkedWindow& m_window;
    double m_offsetX = 0.0;
    double m_offsetY = 0.0;
};

} // namespace

void DrawFeatureMark(KTR::COpenGLView& view, const VectorFeature& feature, const PickHeights& heights,
                     const MarkedWindow& window) {
    MarkDrawing mark(view, window);
    for (const Polygon& polygon : feature.polygons) {
        for (const Path& ring : polygon.rings) {
            mark.AddPath(ring, true, heights);
        }
    }
    for (const Path& line : feature.lines) {
        mark.AddPath(line, false, heights);
    }
    for (std::size_t index = 0; index < std::min(feature.points.size(), kMostRings); ++index) {
        mark.AddRing(feature.points[index], heights);
    }
}

void DrawPointMark(KTR::COpenGLView& view, const Position& place, const MarkedWindow& window) {
    MarkDrawing(view, window).AddRing(place, {});
}

} // namespace OrrinViewer
