#include "ViewVolume.h"

#include "ViewAccess.h"

#include "../images/BackingStore.h"
#include "../pipeline/PixelStoreScope.h"
#include "../profile/ProfileState.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KTR {

namespace {

constexpr int kReachPixels = 3;
constexpr int kMostSide = 2 * kReachPixels + 1;
constexpr float kNothingDrawn = 1.0F;

// Every conversion takes its places through these two, to and from the coordinates that the camera works in: the true
// coordinates as they come, but in a profile stations, offsets and heights.

std::optional<PointXYZ> PlaceForCamera(const ProfileState* profile, const PointXYZ& world) {
    ProfilePlace place;
    if (!profile) {
        return world;
    }
    if (!profile->line.Find(world.x, world.y, place)) {
        return std::nullopt;
    }
    return PointXYZ{place.station, place.offset, world.z};
}

/// To the left of the line's direction.
PointXY LeftAt(const ProfileState& profile, double station) {
    const PointXY direction = profile.line.DirectionAt(station);
    return {-direction.y, direction.x};
}

bool StoreWorld(const ProfileState* profile, const std::optional<glm::dvec3>& place, PointXYZ& world) {
    if (!place) {
        return false;
    }
    if (!profile) {
        world = {place->x, place->y, place->z};
        return true;
    }
    PointXY onLine;
    if (!profile->line.PointAt(place->x, onLine)) {
        return false;
    }
    const PointXY left = LeftAt(*profile, place->x);
    world = {onLine.x + place->y * left.x, onLine.y + place->y * left.y, place->z};
    return true;
}

/// A rectangle of window pixels, from the lower left, and its depths.
struct Depths {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    std::array<float, kMostSide * kMostSide> values{}; ///< lower row first

    bool IsEmpty() const { return width <= 0 || height <= 0; }
    float At(int column, int row) const { return *(values.begin() + row * width + column); }
    /// Leaves out what is outside of a rectangle. To be called before there are values.
    void Clip(int left, int bottom, int right, int top) {
        const int highX = std::min(x + width, right);
        const int highY = std::min(y + height, top);
        x = std::max(x, left);
        y = std::max(y, bottom);
        width = highX - x;
        height = highY - y;
    }
};

/// From the frame in the backing store, if it is of this view as it is now: no driver has to be waited for.
bool TakeKeptDepths(COpenGLView& view, Depths& depths) {
    const GLRenderingContextRecord& record = ViewAccess::CurrentRecord(view);
    const BackingStoreFrame& frame = ViewAccess::StoredFrame(view);
    const BackingStore& store = ViewAccess::Store(view);
    const bool isOfThisView = frame.context && frame.context == record.renderingContext && frame.depth &&
                              store.second && store.second == ViewAccess::Owned(view).backingStoreSecond &&
                              frame.camera == record.camera && frame.viewport == view.GetViewport();
    const bool holdsAll = depths.x >= frame.x && depths.y >= frame.y &&
                          depths.x + depths.width <= frame.x + frame.width &&
                          depths.y + depths.height <= frame.y + frame.height;
    if (!isOfThisView || !holdsAll) {
        return false;
    }
    const auto* kept = reinterpret_cast<const float*>(store.second);
    for (int row = 0; row < depths.height; ++row) {
        const auto first = static_cast<std::ptrdiff_t>(depths.y - frame.y + row) * frame.width + depths.x - frame.x;
        std::copy_n(kept + first, depths.width, depths.values.begin() + row * depths.width);
    }
    return true;
}

bool ReadDepths(COpenGLView& view, Depths& depths) {
    if (!ViewAccess::HasCurrentContext(view) || ViewAccess::CurrentRecord(view).pixelFormat.cDepthBits == 0) {
        return false;
    }
    const GLCalls gl = ViewAccess::CallGL(view);
    const PixelStoreScope rows(gl, PixelDirection::Pack, {});
    gl.glReadPixels(depths.x, depths.y, depths.width, depths.height, GL_DEPTH_COMPONENT, GL_FLOAT,
                    depths.values.data());
    return true;
}

/// The drawn pixel that is nearest to the middle of `depths`' full reach around (x, y); of several the one in front.
struct DrawnPixel {
    int x = 0;
    int y = 0;
    float depth = kNothingDrawn;
};

std::optional<DrawnPixel> FindNearest(const Depths& depths, int x, int y) {
    std::optional<DrawnPixel> nearest;
    int nearestSquare = kReachPixels * kReachPixels;
    for (int row = 0; row < depths.height; ++row) {
        for (int column = 0; column < depths.width; ++column) {
            const DrawnPixel pixel{depths.x + column, depths.y + row, depths.At(column, row)};
            const int square = (pixel.x - x) * (pixel.x - x) + (pixel.y - y) * (pixel.y - y);
            const bool isDrawn = pixel.depth >= 0.0F && pixel.depth < kNothingDrawn;
            const bool isNearer = square < nearestSquare || (square == nearestSquare && !nearest) ||
                                  (square == nearestSquare && pixel.depth < nearest->depth);
            if (isDrawn && isNearer) {
                nearest = pixel;
                nearestSquare = square;
            }
        }
    }
    return nearest;
}

} // namespace

std::optional<glm::dvec3> FindPlaceOnScene(COpenGLView& view, int clientX, int clientY) {
    constexpr int kFarthest = 1'000'000; // more than any window has, and sums stay within int
    if (std::abs(clientX) > kFarthest || std::abs(clientY) > kFarthest) {
        return std::nullopt;
    }
    const ViewMapping mapping = MakeMapping(view);
    const int clientHeight = static_cast<int>(FindClientHeight(view));
    const int y = clientHeight - 1 - clientY;
    Depths depths{clientX - kReachPixels, y - kReachPixels, kMostSide, kMostSide};
    int viewport[4] = {};
    view.GetViewport(viewport);
    depths.Clip(viewport[0], viewport[1], viewport[0] + viewport[2], viewport[1] + viewport[3]);
    depths.Clip(0, 0, std::numeric_limits<int>::max(), clientHeight);
    if (depths.IsEmpty() || !(TakeKeptDepths(view, depths) || ReadDepths(view, depths))) {
        return std::nullopt;
    }
    const std::optional<DrawnPixel> drawn = FindNearest(depths, clientX, y);
    if (!drawn) {
        return std::nullopt;
    }
    return mapping.AtDepth(drawn->x + 0.5, clientHeight - drawn->y - 0.5, static_cast<double>(drawn->depth));
}

bool COpenGLView::RealWorld2Client(double x, double y, double z, double& clientX, double& clientY) const {
    PointXY client;
    const std::optional<PointXYZ> place = PlaceForCamera(ShownProfile(*this), {x, y, z});
    if (!place || !MakeMapping(*this).ToClient(*place, client)) {
        return false;
    }
    clientX = client.x;
    clientY = client.y;
    return true;
}

std::size_t COpenGLView::RealWorld2Client(const PointXYZ* world, std::size_t count, PointXY* client,
                                          bool* hasImage) const {
    if (!ShownProfile(*this)) {
        return MakeMapping(*this).ToClient(world, count, client, hasImage);
    }
    std::size_t images = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const PointXYZ& place = world[index];
        const bool has = RealWorld2Client(place.x, place.y, place.z, client[index].x, client[index].y);
        images += has ? 1 : 0;
        if (hasImage) {
            hasImage[index] = has;
        }
    }
    return images;
}

bool COpenGLView::Client2RealWorld(double clientX, double clientY, double& x, double& y, double& z) const {
    PointXYZ world;
    if (!StoreWorld(ShownProfile(*this), MakeMapping(*this).OnTargetPlane(clientX, clientY), world)) {
        return false;
    }
    x = world.x;
    y = world.y;
    z = world.z;
    return true;
}

bool COpenGLView::Client2RealWorldAtDepth(double clientX, double clientY, double depth, PointXYZ& world) const {
    return StoreWorld(ShownProfile(*this), MakeMapping(*this).AtDepth(clientX, clientY, depth), world);
}

bool COpenGLView::Client2RealWorldOnPlane(double clientX, double clientY, double planeZ, PointXYZ& world) const {
    return StoreWorld(ShownProfile(*this), MakeMapping(*this).AtHeight(clientX, clientY, planeZ), world);
}

bool COpenGLView::Client2RealWorldOnScene(int clientX, int clientY, PointXYZ& world) {
    return StoreWorld(ShownProfile(*this), FindPlaceOnScene(*this, clientX, clientY), world);
}

bool COpenGLView::GetPickRay(double clientX, double clientY, PointXYZ& origin, PointXYZ& direction) const {
    const std::optional<PickRay> ray = MakeMapping(*this).RayAt(clientX, clientY);
    const ProfileState* const profile = ShownProfile(*this);
    if (!ray || !StoreWorld(profile, ray->origin, origin)) {
        return false;
    }
    direction = {ray->direction.x, ray->direction.y, ray->direction.z};
    if (profile) {
        // Straight across the line.
        const PointXY left = LeftAt(*profile, ray->origin.x);
        direction = {left.x, left.y, 0.0};
    }
    return true;
}

} // namespace KTR
