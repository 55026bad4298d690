#include "ViewCamera.h"

#include "OpenGLMath.h"

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace KTR {

namespace {

constexpr double kAir = 1.02; ///< visible size over the box's
/// Products of four such numbers are still finite, and the matrices are finite floats.
constexpr double kFarthestCoordinate = 1e30;
constexpr double kGreatestDepthRatio = 20'000.0;
/// Zooming in ends where a pixel is so many roundings of a coordinate wide, a thousandth of a pixel each way then;
/// moving about at that scale only where it would be a quarter of that.
constexpr double kZoomRoundings = 4096.0;
constexpr double kSoundRoundings = kZoomRoundings / 4.0;
constexpr double kSmallestScale = 1e-15;
/// Zooming out ends where the model is a thousandth of a pixel.
constexpr double kModelsPerPixel = 1000.0;
/// A box without any size is shown at this scale.
constexpr double kScaleOfAPoint = 1.0;
/// Where an eye stands in front of a box, in shares of the box's diagonal.
constexpr double kSmallestGap = 1e-3;
constexpr double kDepthMargin = 1e-3;

constexpr double Radians(double degrees) {
    return degrees * (std::numbers::pi / 180.0);
}

bool IsFinite(const glm::dvec3& vector) {
    return std::isfinite(vector.x) && std::isfinite(vector.y) && std::isfinite(vector.z);
}

bool IsPlace(const glm::dvec3& place) {
    return std::abs(place.x) <= kFarthestCoordinate && std::abs(place.y) <= kFarthestCoordinate &&
           std::abs(place.z) <= kFarthestCoordinate;
}

glm::dvec3 MiddleOf(const ModelBox& box) {
    return box.low * 0.5 + box.high * 0.5;
}

std::array<glm::dvec3, 8> CornersOf(const ModelBox& box) {
    std::array<glm::dvec3, 8> corners;
    for (unsigned int index = 0; index < corners.size(); ++index) {
        corners[index] = {(index & 1U) != 0 ? box.high.x : box.low.x, (index & 2U) != 0 ? box.high.y : box.low.y,
                          (index & 4U) != 0 ? box.high.z : box.low.z};
    }
    return corners;
}

double DiagonalOf(const ViewCamera& camera) {
    return glm::length(camera.Exaggerate(camera.model.high - camera.model.low));
}

/// `up` made upright to `forward`; where it is of no use for that, north or, seen level, the zenith takes its place.
glm::dvec3 ScreenUp(const glm::dvec3& forward, const glm::dvec3& up) {
    constexpr double kSmallestSine = 1e-9;
    const double size = std::max({std::abs(up.x), std::abs(up.y), std::abs(up.z)});
    const glm::dvec3 right = size > 0.0 && std::isfinite(size) ? glm::cross(forward, up / size) : glm::dvec3(0.0);
    const double sine = glm::length(right);
    if (sine > kSmallestSine) {
        return glm::cross(right / sine, forward);
    }
    const bool isLevel = std::abs(forward.z) < 0.999;
    const glm::dvec3 instead = isLevel ? glm::dvec3(0.0, 0.0, 1.0) : glm::dvec3(0.0, 1.0, 0.0);
    return glm::cross(glm::normalize(glm::cross(forward, instead)), forward);
}

double LargestCoordinate(const glm::dvec3& place) {
    const glm::dvec3 size = glm::abs(place);
    return std::max({size.x, size.y, size.z});
}

/// The largest amount by which rounding a true coordinate to a double can move something on the screen, times 2.
double RoundingOf(const ViewCamera& camera) {
    double largest = 0.0;
    for (const glm::dvec3& place : {camera.target, camera.eye, camera.model.low, camera.model.high}) {
        largest = std::max(largest, LargestCoordinate(camera.Exaggerate(place)));
    }
    return largest * std::numeric_limits<double>::epsilon();
}

double SmallestScale(const ViewCamera& camera) {
    return std::max(RoundingOf(camera) * kZoomRoundings, kSmallestScale);
}

/// Of the model alone: the eye goes farther and farther away.
double LargestScale(const ViewCamera& camera) {
    const double reach = std::max(LargestCoordinate(camera.Exaggerate(camera.model.low)),
                                  LargestCoordinate(camera.Exaggerate(camera.model.high)));
    return std::max({DiagonalOf(camera), reach, kScaleOfAPoint}) * kModelsPerPixel;
}

/// The scale within what the arithmetic allows.
double SoundScale(const ViewCamera& camera, double scale) {
    const double smallest = SmallestScale(camera);
    return std::clamp(scale, smallest, std::max(smallest, LargestScale(camera)));
}

bool IsAngleOfView(double fovyDegrees) {
    return fovyDegrees > 0.0 && fovyDegrees < 180.0;
}

double HalfTangent(double fovyDegrees) {
    return std::tan(Radians(fovyDegrees) * 0.5);
}

bool IsExaggeration(double zExaggeration) {
    return zExaggeration > 0.0 && std::isfinite(zExaggeration);
}

struct Direction {
    glm::dvec3 forward;
    glm::dvec3 up;
};

/// In the order of GLViewOrientation, as far as it goes along axes.
constexpr Direction kDirections[] = {
    {{0, 0, -1}, {0, 1, 0}}, {{0, 0, 1}, {0, 1, 0}}, {{0, 1, 0}, {0, 0, 1}},
    {{0, -1, 0}, {0, 0, 1}}, {{1, 0, 0}, {0, 0, 1}}, {{-1, 0, 0}, {0, 0, 1}},
};

/// The vector rotated about a unit vector, against the clock as seen against that.
glm::dvec3 Rotated(const glm::dvec3& vector, const glm::dvec3& axis, double angle) {
    const double cosine = std::cos(angle);
    return vector * cosine + glm::cross(axis, vector) * std::sin(angle) +
           axis * (glm::dot(axis, vector) * (1.0 - cosine));
}

/// The part of a difference of true coordinates that is parallel to the screen.
glm::dvec3 Sideways(const ViewCamera& camera, const glm::dvec3& difference) {
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 seen = camera.Exaggerate(difference);
    return camera.Flatten(axes.right * glm::dot(axes.right, seen) + axes.up * glm::dot(axes.up, seen));
}

/// By how much the elevation may change so that the screen's up does not come to point below the horizon. For a camera
/// whose right is level this is the way to the poles; one that hangs upside down stays so.
double AllowedRise(const ScreenAxes& axes, double rise) {
    constexpr double kQuarter = std::numbers::pi / 2.0;
    constexpr double kRounding = 1e-9;
    const bool isUpright = axes.up.z >= -kRounding;
    const double elevation =
        isUpright ? std::atan2(-axes.forward.z, axes.up.z) : std::atan2(axes.forward.z, -axes.up.z);
    return std::clamp(elevation + rise, -kQuarter, kQuarter) - elevation;
}

} // namespace

glm::dvec3 ViewCamera::Exaggerate(const glm::dvec3& difference) const {
    return {difference.x, difference.y, difference.z * zExaggeration};
}

glm::dvec3 ViewCamera::Flatten(const glm::dvec3& difference) const {
    return {difference.x, difference.y, difference.z / zExaggeration};
}

ScreenAxes ViewCamera::Axes() const {
    const glm::dvec3 screenUp = ScreenUp(forward, up);
    return {glm::cross(forward, screenUp), screenUp, forward};
}

double ViewCamera::DistanceTo(const glm::dvec3& place) const {
    return glm::dot(forward, Exaggerate(place - eye));
}

bool IsBox(const ModelBox& box) {
    return IsPlace(box.low) && IsPlace(box.high) && box.low.x <= box.high.x && box.low.y <= box.high.y &&
           box.low.z <= box.high.z;
}

std::optional<ViewCamera> OrthoCamera(GLViewOrientation orientation, const ModelBox& box, double zExaggeration,
                                      const glm::dvec2& size) {
    const bool alongAnAxis = orientation >= 0 && orientation < static_cast<int>(std::size(kDirections));
    if (!alongAnAxis || !IsBox(box) || !IsExaggeration(zExaggeration)) {
        return std::nullopt;
    }
    ViewCamera camera;
    camera.orientation = orientation;
    camera.forward = kDirections[orientation].forward;
    camera.up = kDirections[orientation].up;
    camera.zExaggeration = zExaggeration;
    camera.model = box;
    camera.target = MiddleOf(box);
    camera.eye = camera.target;
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 boxSize = camera.Exaggerate(box.high - box.low);
    const double width = glm::dot(glm::abs(axes.right), boxSize);
    const double height = glm::dot(glm::abs(axes.up), boxSize);
    double scale = std::max(width / size.x, height / size.y) * kAir;
    if (scale == 0.0) {
        // A line that is seen end on is shown as large as it is long.
        const double length = glm::length(boxSize);
        scale = length > 0.0 ? length / std::min(size.x, size.y) : kScaleOfAPoint;
    }
    camera.unitsPerPixel = SoundScale(camera, scale);
    // In front of the box, however it is rotated.
    const double distance = glm::length(boxSize) + camera.unitsPerPixel * size.y;
    camera.eye = camera.target - camera.Flatten(camera.forward * distance);
    return IsSound(camera) ? std::optional(camera) : std::nullopt;
}

std::optional<ViewCamera> PerspectiveCamera(const glm::dvec3& eye, const glm::dvec3& target, const glm::dvec3& up,
                                            double fovyDegrees, const ModelBox& box, double zExaggeration,
                                            const glm::dvec2& size) {
    if (!IsPlace(eye) || !IsPlace(target) || !IsFinite(up) || !IsAngleOfView(fovyDegrees) || !IsBox(box) ||
        !IsExaggeration(zExaggeration) || eye == target) {
        return std::nullopt;
    }
    ViewCamera camera;
    camera.orientation = GLViewOrientationPerspective;
    camera.zExaggeration = zExaggeration;
    camera.model = box;
    camera.target = target;
    camera.eye = eye;
    const glm::dvec3 sight = camera.Exaggerate(target - eye);
    const double distance = glm::length(sight);
    camera.forward = sight / distance;
    camera.up = ScreenUp(camera.forward, up);
    camera.unitsPerPixel = 2.0 * distance * HalfTangent(fovyDegrees) / size.y;
    return IsSound(camera) ? std::optional(camera) : std::nullopt;
}

std::optional<ViewCamera> PerspectiveCamera(const ModelBox& box, double azimuthDegrees, double elevationDegrees,
                                            double fovyDegrees, double zExaggeration, const glm::dvec2& size) {
    const bool isDirection = std::isfinite(azimuthDegrees) && std::abs(elevationDegrees) <= 90.0;
    if (!isDirection || !IsAngleOfView(fovyDegrees) || !IsBox(box) || !IsExaggeration(zExaggeration)) {
        return std::nullopt;
    }
    const double azimuth = Radians(std::fmod(azimuthDegrees, 360.0));
    const double elevation = Radians(elevationDegrees);
    // Looking straight down there is no direction to the north in `forward`, but there is one in the angles.
    const glm::dvec3 level(std::sin(azimuth), std::cos(azimuth), 0.0);
    const glm::dvec3 zenith(0.0, 0.0, 1.0);
    ViewCamera camera;
    camera.orientation = GLViewOrientationPerspective;
    camera.zExaggeration = zExaggeration;
    camera.model = box;
    camera.target = MiddleOf(box);
    camera.forward = -(level * std::cos(elevation) + zenith * std::sin(elevation));
    camera.up = ScreenUp(camera.forward, zenith * std::cos(elevation) - level * std::sin(elevation));

    const ScreenAxes axes = camera.Axes();
    const double tangentUp = HalfTangent(fovyDegrees);
    const double tangentRight = tangentUp * size.x / size.y;
    const double diagonal = DiagonalOf(camera);
    double distance = 0.0;
    for (const glm::dvec3& corner : CornersOf(box)) {
        const glm::dvec3 place = camera.Exaggerate(corner - camera.target);
        const double towardsEye = -glm::dot(axes.forward, place);
        const double needed = std::max(std::abs(glm::dot(axes.right, place)) / tangentRight,
                                       std::abs(glm::dot(axes.up, place)) / tangentUp);
        distance = std::max(distance, towardsEye + std::max(needed, diagonal * kSmallestGap));
    }
    if (distance == 0.0) {
        distance = kScaleOfAPoint * size.y * 0.5 / tangentUp;
    }
    // The corner that decides must not be rounded out of the picture, and a box that is too small for its place is
    // seen from as near as its coordinates allow.
    const double scaleOfDistance = 2.0 * tangentUp / size.y;
    camera.eye = camera.target - camera.Flatten(camera.forward * distance);
    camera.unitsPerPixel = SoundScale(camera, distance * (1.0 + 1e-9) * scaleOfDistance);
    camera.eye = camera.target - camera.Flatten(camera.forward * (camera.unitsPerPixel / scaleOfDistance));
    return IsSound(camera) ? std::optional(camera) : std::nullopt;
}

ViewCamera Panned(const ViewCamera& camera, double rightPixels, double downPixels) {
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 shift = camera.Flatten((axes.up * downPixels - axes.right * rightPixels) * camera.unitsPerPixel);
    ViewCamera moved = camera;
    moved.target += shift;
    moved.eye += shift;
    return IsSound(moved) ? moved : camera;
}

ViewCamera ZoomedAbout(const ViewCamera& camera, double factor, const glm::dvec3& place) {
    if (!(factor > 0.0) || !std::isfinite(factor) || !IsPlace(place)) {
        return camera;
    }
    // What is nearer than the target is drawn larger: there rounding shows first.
    const double nearness =
        camera.IsPerspective() ? std::min(camera.DistanceTo(place) / camera.DistanceTo(camera.target), 1.0) : 1.0;
    if (!(nearness > 0.0)) {
        return camera;
    }
    const double before = camera.unitsPerPixel;
    const double scale = factor > 1.0 ? std::max(before / factor, std::min(before, SmallestScale(camera) / nearness))
                                      : std::min(before / factor, std::max(before, LargestScale(camera)));
    const double way = 1.0 - scale / before;
    if (way == 0.0) {
        return camera;
    }
    ViewCamera moved = camera;
    moved.unitsPerPixel = scale;
    if (camera.IsPerspective()) {
        moved.target += (place - camera.target) * way;
        moved.eye += (place - camera.eye) * way;
    } else {
        // Only sideways: a map does not leave its plane.
        moved.target += Sideways(camera, place - camera.target) * way;
        moved.eye += Sideways(camera, place - camera.eye) * way;
    }
    return IsSound(moved) ? moved : camera;
}

ViewCamera Centred(const ViewCamera& camera, const glm::dvec3& place) {
    const glm::dvec3 shift = Sideways(camera, place - camera.eye);
    ViewCamera moved = camera;
    moved.eye += shift;
    moved.target += shift;
    return IsSound(moved) ? moved : camera;
}

std::optional<ViewCamera> Showing(const ViewCamera& camera, const ViewExtents& extents, const glm::dvec2& size) {
    const double width = extents.right - extents.left;
    const double height = extents.top - extents.bottom;
    if (!camera.IsSetUp() || !(width > 0.0) || !(height > 0.0) || !std::isfinite(width) || !std::isfinite(height)) {
        return std::nullopt;
    }
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 target = camera.Exaggerate(camera.target);
    const double right = extents.left * 0.5 + extents.right * 0.5 - glm::dot(axes.right, target);
    const double up = extents.bottom * 0.5 + extents.top * 0.5 - glm::dot(axes.up, target);
    ViewCamera shown = camera;
    shown.target += camera.Flatten(axes.right * right + axes.up * up);
    // The target comes to the middle, and in perspective as near as the new scale wants it.
    double distance = camera.DistanceTo(camera.target);
    shown.unitsPerPixel = SoundScale(shown, std::max(width / size.x, height / size.y));
    if (camera.IsPerspective()) {
        distance *= shown.unitsPerPixel / camera.unitsPerPixel;
    }
    shown.eye = shown.target - camera.Flatten(axes.forward * distance);
    return IsSound(shown) ? std::optional(shown) : std::nullopt;
}

ViewCamera Orbited(const ViewCamera& camera, double azimuthDegrees, double elevationDegrees) {
    if (!camera.IsPerspective() || !std::isfinite(azimuthDegrees) || !std::isfinite(elevationDegrees)) {
        return camera;
    }
    const glm::dvec3 zenith(0.0, 0.0, 1.0);
    const ScreenAxes axes = camera.Axes();
    const double rise = AllowedRise(axes, Radians(elevationDegrees));
    const double turn = -Radians(std::fmod(azimuthDegrees, 360.0));
    // First upwards about the screen's right, then about the zenith: that one never depends on the elevation.
    const auto rotated = [&](const glm::dvec3& vector) {
        return Rotated(Rotated(vector, axes.right, -rise), zenith, turn);
    };
    ViewCamera moved = camera;
    moved.forward = glm::normalize(rotated(axes.forward));
    moved.up = ScreenUp(moved.forward, rotated(axes.up));
    moved.eye = camera.target + camera.Flatten(rotated(camera.Exaggerate(camera.eye - camera.target)));
    return IsSound(moved) ? moved : camera;
}

ViewCamera WithTarget(const ViewCamera& camera, const glm::dvec3& place) {
    ViewCamera moved = camera;
    moved.target = place;
    if (camera.IsPerspective()) {
        moved.unitsPerPixel *= camera.DistanceTo(place) / camera.DistanceTo(camera.target);
    }
    return IsSound(moved) ? moved : camera;
}

bool IsSound(const ViewCamera& camera) {
    const bool isFinite = IsPlace(camera.target) && IsPlace(camera.eye) && IsFinite(camera.forward) &&
                          IsFinite(camera.up) && camera.unitsPerPixel <= kFarthestCoordinate;
    return isFinite && camera.unitsPerPixel > RoundingOf(camera) * kSoundRoundings &&
           camera.DistanceTo(camera.target) > 0.0;
}

ViewExtents VisibleExtents(const ViewCamera& camera, const glm::dvec2& size) {
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 target = camera.Exaggerate(camera.target);
    const glm::dvec3 aside = camera.Exaggerate(camera.target - camera.eye);
    const double middleRight = glm::dot(axes.right, target) - glm::dot(axes.right, aside);
    const double middleUp = glm::dot(axes.up, target) - glm::dot(axes.up, aside);
    const glm::dvec2 half = size * (camera.unitsPerPixel * 0.5);
    return {middleRight - half.x, middleUp - half.y, middleRight + half.x, middleUp + half.y};
}

DepthRange FindDepthRange(const ViewCamera& camera, const glm::dvec2& size) {
    if (!camera.IsPerspective()) {
        const double radius = DiagonalOf(camera) * 0.5 * (1.0 + kDepthMargin) + camera.unitsPerPixel;
        const double middle = camera.DistanceTo(MiddleOf(camera.model));
        return {middle - radius, middle + radius};
    }
    double nearest = std::numeric_limits<double>::infinity();
    double farthest = 0.0;
    for (const glm::dvec3& corner : CornersOf(camera.model)) {
        nearest = std::min(nearest, camera.DistanceTo(corner));
        farthest = std::max(farthest, camera.DistanceTo(corner));
    }
    // Where corners are behind the eye, what is visible of the box is still no nearer than the box's nearest place, and
    // lies within the picture's corners.
    const glm::dvec3 nearestPlace = glm::clamp(camera.eye, camera.model.low, camera.model.high);
    const double targetDistance = camera.DistanceTo(camera.target);
    const double cornerTangent = glm::length(size) * camera.unitsPerPixel * 0.5 / targetDistance;
    const double gap =
        glm::length(camera.Exaggerate(nearestPlace - camera.eye)) / std::sqrt(1.0 + cornerTangent * cornerTangent);
    nearest = std::max(nearest, gap) * (1.0 - kDepthMargin);
    farthest *= 1.0 + kDepthMargin;
    if (farthest == 0.0) {
        farthest = 2.0 * targetDistance; // all of it is behind the eye
    }
    return {std::max(std::min(nearest, farthest * (1.0 - kDepthMargin)), farthest / kGreatestDepthRatio), farthest};
}

glm::dmat4 ProjectionMatrix(const ViewCamera& camera, const glm::dvec2& size) {
    const DepthRange range = FindDepthRange(camera, size);
    const glm::dvec2 half = size * (camera.unitsPerPixel * 0.5);
    if (!camera.IsPerspective()) {
        return COpenGLMath::OrthoMatrix(-half.x, half.x, -half.y, half.y, range.nearest, range.farthest);
    }
    const double fovyDegrees = 2.0 * std::atan(half.y / camera.DistanceTo(camera.target)) / Radians(1.0);
    return COpenGLMath::PerspectiveMatrix(fovyDegrees, size.x / size.y, range.nearest, range.farthest);
}

glm::dmat4 ModelviewMatrix(const ViewCamera& camera, const glm::dvec2& offset) {
    const ScreenAxes axes = camera.Axes();
    const glm::dvec3 rows[] = {camera.Exaggerate(axes.right), camera.Exaggerate(axes.up),
                               camera.Exaggerate(-axes.forward)};
    // The offset is near the model and so, mostly, is the eye: their difference loses nothing.
    const glm::dvec3 toEye = glm::dvec3(offset, 0.0) - camera.eye;
    glm::dmat4 matrix(1.0);
    for (int row = 0; row < 3; ++row) {
        matrix[0][row] = rows[row].x;
        matrix[1][row] = rows[row].y;
        matrix[2][row] = rows[row].z;
        matrix[3][row] = glm::dot(rows[row], toEye);
    }
    return matrix;
}

glm::dvec2 FindCoordinateOffsets(const ModelBox& box) {
    constexpr double kThousand = 1000.0;
    return glm::round(glm::dvec2(MiddleOf(box)) / kThousand) * kThousand;
}

bool AreFloatsExact(const ModelBox& box, const glm::dvec2& offset) {
    // From there on neighbouring floats are more than two thousandths apart.
    constexpr double kLargest = 32'768.0;
    const glm::dvec2 low = glm::abs(glm::dvec2(box.low) - offset);
    const glm::dvec2 high = glm::abs(glm::dvec2(box.high) - offset);
    return std::max({low.x, low.y, high.x, high.y}) <= kLargest;
}

} // namespace KTR
