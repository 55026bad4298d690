// The arithmetic of cameras and conversions, without OpenGL: against numbers worked out by hand and against the
// formulas of GLU, written down once more in long doubles.

#include <OrrinDisplay.h>

#include "values/ViewMapping.h"

#include <gtest/gtest.h>

#include <glm/geometric.hpp>

#include <cmath>
#include <limits>
#include <random>
#include <string>

using namespace KTR;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr glm::dvec2 kSize(1000.0, 700.0);
const ModelBox kBox{{10, 20, 30}, {50, 40, 130}};

ViewMapping MapTo(const ViewCamera& camera, const glm::dvec2& size = kSize) {
    return ViewMapping(camera, {0.0, 0.0, size.x, size.y}, size.y);
}

PointXYZ Point(const glm::dvec3& place) {
    return {place.x, place.y, place.z};
}

PointXY ClientOf(const ViewMapping& mapping, const glm::dvec3& place) {
    PointXY client{kNaN, kNaN};
    mapping.ToClient(Point(place), client);
    return client;
}

double PixelsBetween(const PointXY& one, const PointXY& other) {
    return std::hypot(one.x - other.x, one.y - other.y);
}

double PixelsBetween(const PointXY& one, double x, double y) {
    return PixelsBetween(one, {x, y});
}

/// A camera at metres of a national grid that looks any way, with about the wished scale.
class RandomCameras {
public:
    double Between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_random); }

    ViewCamera Next(double unitsPerPixel) {
        const double exaggeration = Between(0.0, 1.0) < 0.5 ? 1.0 : Between(0.3, 3.0);
        const glm::dvec3 target(Between(490'000, 510'000), Between(4'490'000, 4'510'000), Between(-100, 2000));
        const ModelBox box{target - Between(1.0, 5000.0), target + Between(1.0, 5000.0)};
        if (Between(0.0, 1.0) < 0.5) {
            const auto orientation = static_cast<GLViewOrientation>(static_cast<int>(Between(0.0, 5.999)));
            ViewCamera camera = *OrthoCamera(orientation, box, exaggeration, kSize);
            camera.target = target;
            camera.unitsPerPixel = unitsPerPixel;
            return camera;
        }
        const double fovy = Between(10.0, 100.0);
        const double distance = unitsPerPixel * kSize.y * 0.5 / std::tan(fovy * 3.14159265358979 / 360.0);
        const glm::dvec3 way = glm::normalize(glm::dvec3(Between(-1, 1), Between(-1, 1), Between(-1, 1)));
        const glm::dvec3 up(Between(-1, 1), Between(-1, 1), Between(-1, 1));
        const glm::dvec3 aside = glm::dvec3(way.x, way.y, way.z / exaggeration) * distance;
        return *PerspectiveCamera(target + aside, target, up, fovy, box, exaggeration, kSize);
    }

private:
    std::mt19937 m_random{11};
};

struct Seen {
    const char* name;
    GLViewOrientation orientation;
    ViewExtents extents;
    glm::dvec3 toRight, toTop; ///< ways in the model
};

// The box is 40 x 20 x 100, its heights doubled; the viewport is 200 x 100, and a fiftieth is free.
TEST(ViewCamera, OrthoViewsShowTheWholeBoxAsWorkedOutByHand) {
    const Seen views[] = {
        {"top", GLViewOrientationTop, {9.6, 19.8, 50.4, 40.2}, {1, 0, 0}, {0, 1, 0}},
        {"bottom", GLViewOrientationBottom, {-50.4, 19.8, -9.6, 40.2}, {-1, 0, 0}, {0, 1, 0}},
        {"front", GLViewOrientationFront, {-174, 58, 234, 262}, {1, 0, 0}, {0, 0, 1}},
        {"back", GLViewOrientationBack, {-234, 58, 174, 262}, {-1, 0, 0}, {0, 0, 1}},
        {"left", GLViewOrientationLeft, {-234, 58, 174, 262}, {0, -1, 0}, {0, 0, 1}},
        {"right", GLViewOrientationRight, {-174, 58, 234, 262}, {0, 1, 0}, {0, 0, 1}},
    };
    const glm::dvec2 size(200, 100);
    for (const Seen& view : views) {
        SCOPED_TRACE(view.name);
        const auto camera = OrthoCamera(view.orientation, kBox, 2.0, size);
        ASSERT_TRUE(camera);
        const ViewExtents extents = VisibleExtents(*camera, size);
        EXPECT_NEAR(extents.left, view.extents.left, 1e-9);
        EXPECT_NEAR(extents.bottom, view.extents.bottom, 1e-9);
        EXPECT_NEAR(extents.right, view.extents.right, 1e-9);
        EXPECT_NEAR(extents.top, view.extents.top, 1e-9);
        EXPECT_EQ(camera->target, glm::dvec3(30, 30, 80));
        const ViewMapping mapping = MapTo(*camera, size);
        const glm::dvec3 middle(30, 30, 80);
        const double unit = 1.0 / camera->unitsPerPixel;
        const double rise = view.toTop.z > 0.0 ? 2.0 * unit : unit; // heights are doubled
        EXPECT_LT(PixelsBetween(ClientOf(mapping, middle), 100, 50), 1e-9);
        EXPECT_LT(PixelsBetween(ClientOf(mapping, middle + view.toRight), 100 + unit, 50), 1e-9);
        EXPECT_LT(PixelsBetween(ClientOf(mapping, middle + view.toTop), 100, 50 - rise), 1e-9);
        EXPECT_LT(glm::dot(glm::cross(view.toRight, view.toTop), camera->target - camera->eye), 0.0)
            << "it looks the other way";
    }
}

TEST(ViewCamera, InputThatMakesNoSenseIsRefused) {
    const auto ortho = [](const ModelBox& box, double exaggeration, int orientation = 0) {
        return OrthoCamera(static_cast<GLViewOrientation>(orientation), box, exaggeration, kSize).has_value();
    };
    EXPECT_TRUE(ortho(kBox, 1.0));
    for (const int orientation : {-1, 6, 7, 8, 99}) {
        EXPECT_FALSE(ortho(kBox, 1.0, orientation)) << orientation;
    }
    for (const double exaggeration : {0.0, -1.0, kNaN, kInfinity}) {
        EXPECT_FALSE(ortho(kBox, exaggeration)) << exaggeration;
        EXPECT_FALSE(PerspectiveCamera(kBox, 0, 45, 40, exaggeration, kSize)) << exaggeration;
    }
    for (int axis = 0; axis < 3; ++axis) {
        for (const double wrong : {kNaN, kInfinity, -kInfinity, 2e30, 1e6}) {
            ModelBox box = kBox;
            box.low[axis] = wrong; // the last one is above the box's high
            EXPECT_FALSE(ortho(box, 1.0)) << axis << " " << wrong;
            EXPECT_FALSE(PerspectiveCamera(box, 0, 45, 40, 1.0, kSize)) << axis << " " << wrong;
        }
    }
    const glm::dvec3 eye(0, 0, 100);
    const glm::dvec3 target(1, 2, 3);
    const glm::dvec3 up(0, 0, 1);
    EXPECT_TRUE(PerspectiveCamera(eye, target, up, 40, kBox, 1.0, kSize));
    EXPECT_FALSE(PerspectiveCamera(eye, eye, up, 40, kBox, 1.0, kSize));
    EXPECT_FALSE(PerspectiveCamera({kNaN, 0, 0}, target, up, 40, kBox, 1.0, kSize));
    EXPECT_FALSE(PerspectiveCamera(eye, {0, kInfinity, 0}, up, 40, kBox, 1.0, kSize));
    EXPECT_FALSE(PerspectiveCamera(eye, target, {0, kNaN, 0}, 40, kBox, 1.0, kSize));
    for (const double fovy : {0.0, -40.0, 180.0, kNaN}) {
        EXPECT_FALSE(PerspectiveCamera(eye, target, up, fovy, kBox, 1.0, kSize)) << fovy;
        EXPECT_FALSE(PerspectiveCamera(kBox, 0, 45, fovy, 1.0, kSize)) << fovy;
    }
    EXPECT_FALSE(PerspectiveCamera(kBox, kNaN, 45, 40, 1.0, kSize));
    EXPECT_FALSE(PerspectiveCamera(kBox, 0, 90.5, 40, 1.0, kSize));
}

// A file of one point, a straight road, a wall seen from above, a point farther out than doubles have decimals.
TEST(ViewCamera, BoxesWithoutWidthOrHeightGiveUsableViews) {
    const ModelBox boxes[] = {{{0, 0, 0}, {0, 0, 0}},
                              {{5e5, 4.5e6, 10}, {5e5, 4.5e6, 10}},
                              {{5e5, 4.5e6, 10}, {6e5, 4.5e6, 10}},
                              {{5e5, 4.5e6, 10}, {5e5, 4.5e6, 90}},
                              {{1e17, -1e17, 0}, {1e17, -1e17, 0}},
                              {{0, 0, 0}, {1e-13, 1e-13, 1e-13}}};
    for (const ModelBox& box : boxes) {
        for (int orientation = 0; orientation < 7; ++orientation) {
            SCOPED_TRACE(std::to_string(orientation) + " " + std::to_string(box.low.x));
            const auto camera = orientation < 6
                                    ? OrthoCamera(static_cast<GLViewOrientation>(orientation), box, 1.0, kSize)
                                    : PerspectiveCamera(box, 30, 20, 40, 1.0, kSize);
            ASSERT_TRUE(camera);
            const ViewMapping mapping = MapTo(*camera);
            EXPECT_LT(PixelsBetween(ClientOf(mapping, box.low), kSize.x / 2, kSize.y / 2), 610);
            EXPECT_LT(PixelsBetween(ClientOf(mapping, box.high), kSize.x / 2, kSize.y / 2), 610);
            EXPECT_NE(glm::determinant(ProjectionMatrix(*camera, kSize)), 0.0);
            const auto place = mapping.OnTargetPlane(0.0, 0.0);
            ASSERT_TRUE(place);
            EXPECT_LT(PixelsBetween(ClientOf(mapping, *place), 0.0, 0.0), 1e-3);
        }
    }
}

/// gluPerspective, gluLookAt and gluProject in one, with the window's y downwards.
PointXY ProjectAsGluDoes(const glm::dvec3& place, const glm::dvec3& eye, const glm::dvec3& target, const glm::dvec3& up,
                         double fovyDegrees, double zExaggeration) {
    using Number = long double;
    struct Vector {
        Number x, y, z;
        Number Dot(const Vector& other) const { return x * other.x + y * other.y + z * other.z; }
        Vector Cross(const Vector& other) const {
            return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
        }
        Vector Unit() const {
            const Number length = std::sqrt(Dot(*this));
            return {x / length, y / length, z / length};
        }
    };
    const auto between = [&](const glm::dvec3& from, const glm::dvec3& to) {
        return Vector{Number(to.x) - from.x, Number(to.y) - from.y, (Number(to.z) - from.z) * zExaggeration};
    };
    const Vector forward = between(eye, target).Unit();
    const Vector side = forward.Cross({up.x, up.y, up.z}).Unit();
    const Vector upright = side.Cross(forward);
    const Vector sight = between(eye, place);
    const Number cotangent = 1 / std::tan(Number(fovyDegrees) * std::acos(Number(-1)) / 360);
    const Number x = sight.Dot(side) / sight.Dot(forward) * cotangent * kSize.y / kSize.x;
    const Number y = sight.Dot(upright) / sight.Dot(forward) * cotangent;
    return {static_cast<double>((x + 1) / 2 * kSize.x), static_cast<double>((1 - y) / 2 * kSize.y)};
}

TEST(ViewCamera, PerspectiveIsThatOfGlu) {
    RandomCameras random;
    double farthest = 0.0;
    for (int index = 0; index < 10'000; ++index) {
        const glm::dvec3 target(random.Between(4e6, 5e6), random.Between(4e6, 5e6), random.Between(0, 3000));
        const glm::dvec3 eye = target + glm::dvec3(random.Between(-900, 900), random.Between(-900, 900), 50.0);
        const glm::dvec3 up(random.Between(-1, 1), random.Between(-1, 1), 1.5);
        const double fovy = random.Between(5, 120);
        const double exaggeration = random.Between(0.5, 4.0);
        const auto camera = PerspectiveCamera(eye, target, up, fovy, {target - 1e3, target + 1e3}, exaggeration, kSize);
        ASSERT_TRUE(camera);
        const glm::dvec3 place =
            target + glm::dvec3(random.Between(-90, 90), random.Between(-90, 90), random.Between(-9, 9));
        const double ahead = camera->DistanceTo(place);
        if (ahead < 1.0) {
            PointXY untouched{-1.0, -2.0};
            EXPECT_EQ(MapTo(*camera).ToClient(Point(place), untouched), ahead > 0.0);
            EXPECT_TRUE(ahead > 0.0 || (untouched.x == -1.0 && untouched.y == -2.0));
            continue;
        }
        const PointXY expected = ProjectAsGluDoes(place, eye, target, up, fovy, exaggeration);
        farthest = std::max(farthest, PixelsBetween(ClientOf(MapTo(*camera), place), expected) /
                                          std::max(1.0, std::hypot(expected.x, expected.y)));
    }
    EXPECT_LT(farthest, 1e-11) << "relative to the pixels' numbers";
}

// What is picked has to be what was drawn: the same camera by two ways.
TEST(ViewCamera, MatricesDrawWhereConversionsSay) {
    RandomCameras random;
    const glm::dvec4 viewport(0.0, 0.0, kSize.x, kSize.y);
    for (int index = 0; index < 10'000; ++index) {
        ViewCamera camera = random.Next(random.Between(0.01, 5.0));
        camera = WithTarget(camera, camera.target + camera.Flatten(camera.forward) * camera.unitsPerPixel * 90.0 +
                                        camera.unitsPerPixel * 50.0);
        const glm::dvec2 offset = FindCoordinateOffsets(camera.model);
        const ViewMapping mapping = MapTo(camera);
        const double clientX = random.Between(0.0, kSize.x);
        const double clientY = random.Between(0.0, kSize.y);
        const double depth = random.Between(0.0, 1.0);
        const auto place = mapping.AtDepth(clientX, clientY, depth);
        ASSERT_TRUE(place);
        glm::dvec3 window;
        ASSERT_TRUE(COpenGLMath::Project(*place - glm::dvec3(offset, 0.0), ModelviewMatrix(camera, offset),
                                         ProjectionMatrix(camera, kSize), viewport, window));
        ASSERT_NEAR(window.x, clientX, 1e-4) << index;
        ASSERT_NEAR(kSize.y - window.y, clientY, 1e-4) << index;
        ASSERT_NEAR(window.z, depth, 1e-6) << index;
    }
}

TEST(ViewCamera, ThereAndBackIsWithinAMillionthOfAPixelAtAMillimetreAPixel) {
    RandomCameras random;
    double farthest = 0.0;
    double farthestRay = 0.0;
    for (int index = 0; index < 10'000; ++index) {
        const ViewCamera camera = random.Next(0.001);
        const ViewMapping mapping = MapTo(camera);
        const PointXY client{random.Between(0.0, kSize.x), random.Between(0.0, kSize.y)};
        const auto onPlane = mapping.OnTargetPlane(client.x, client.y);
        const double distance = camera.DistanceTo(camera.target) * random.Between(1.0, 3.0);
        const auto behind = mapping.AtDistance(client.x, client.y, distance);
        ASSERT_TRUE(onPlane && behind);
        farthest = std::max({farthest, PixelsBetween(ClientOf(mapping, *onPlane), client),
                             PixelsBetween(ClientOf(mapping, *behind), client)});
        const auto ray = mapping.RayAt(client.x, client.y);
        ASSERT_TRUE(ray);
        EXPECT_NEAR(glm::length(ray->direction), 1.0, 1e-12);
        const double way = glm::length(*behind - ray->origin);
        farthestRay = std::max(farthestRay, glm::length(ray->origin + ray->direction * way - *behind));
    }
    EXPECT_LE(farthest, 1e-6);
    EXPECT_LE(farthestRay, 1e-8) << "metres";
}

TEST(ViewMapping, PlanesAreMetInFrontOfTheEyeOnly) {
    const ModelBox box{{-50, -50, 0}, {50, 50, 20}};
    const auto camera = PerspectiveCamera({0, -100, 100}, {0, 0, 0}, {0, 0, 1}, 60, box, 2.0, kSize);
    ASSERT_TRUE(camera);
    const ViewMapping mapping = MapTo(*camera);
    const auto middle = mapping.AtHeight(500, 350, 0.0);
    ASSERT_TRUE(middle);
    EXPECT_LT(glm::length(*middle), 1e-9);
    EXPECT_NEAR(mapping.AtHeight(500, 350, 50.0)->y, -50.0, 1e-9) << "half the way down";
    EXPECT_FALSE(mapping.AtHeight(500, 350, 101.0)) << "above the eye, looking down";
    const auto level = PerspectiveCamera({0, -100, 10}, {0, 0, 10}, {0, 0, 1}, 60, box, 1.0, kSize);
    EXPECT_FALSE(MapTo(*level).AtHeight(500, 350, 0.0)) << "parallel to the plane";
    EXPECT_FALSE(MapTo(*level).AtHeight(500, 100, 0.0)) << "up into the sky";
    EXPECT_TRUE(MapTo(*level).AtHeight(500, 600, 0.0));
    const auto top = OrthoCamera(GLViewOrientationTop, box, 1.0, kSize);
    EXPECT_EQ(MapTo(*top).OnTargetPlane(3, 4)->z, 10.0);
    EXPECT_EQ(MapTo(*top).AtHeight(3, 4, 7.0)->z, 7.0);
    const auto front = OrthoCamera(GLViewOrientationFront, box, 1.0, kSize);
    EXPECT_FALSE(MapTo(*front).AtHeight(500, 350, 7.0));
    for (const double depth : {-0.1, 1.1, kNaN}) {
        EXPECT_FALSE(mapping.AtDepth(500, 350, depth)) << depth;
    }
    EXPECT_FALSE(mapping.OnTargetPlane(kNaN, 0.0));
    PointXY client{7, 8};
    EXPECT_FALSE(mapping.ToClient({0, kNaN, 0}, client));
    EXPECT_FALSE(mapping.ToClient({kInfinity, 0, 0}, client));
    EXPECT_FALSE(MapTo(ViewCamera{}).ToClient({0, 0, 0}, client)) << "nothing was set up";
    EXPECT_EQ(client.x, 7);
}

TEST(ViewMapping, ArraysGiveWhatSinglePlacesGive) {
    RandomCameras random;
    const ViewMapping mapping = MapTo(random.Next(0.5));
    std::vector<PointXYZ> places;
    for (int index = 0; index < 1000; ++index) {
        places.push_back(
            {random.Between(489'000, 511'000), random.Between(4'489'000, 4'511'000), random.Between(-10'000, 10'000)});
    }
    places[5].x = kNaN;
    std::vector<PointXY> clients(places.size(), PointXY{-1, -1});
    const auto hasImage = std::make_unique<bool[]>(places.size());
    std::size_t expectedCount = 0;
    EXPECT_EQ(mapping.ToClient(places.data(), 0, nullptr, nullptr), 0U);
    const std::size_t count = mapping.ToClient(places.data(), places.size(), clients.data(), hasImage.get());
    for (std::size_t index = 0; index < places.size(); ++index) {
        PointXY client{-1, -1};
        EXPECT_EQ(hasImage[index], mapping.ToClient(places[index], client));
        EXPECT_EQ(clients[index].x, client.x);
        EXPECT_EQ(clients[index].y, client.y);
        expectedCount += hasImage[index] ? 1 : 0;
    }
    EXPECT_EQ(count, expectedCount);
}

// The map must not slip away under the cursor while the wheel turns, and the wheel must not break anything.
TEST(ViewCamera, ZoomingKeepsThePlaceUnderTheCursorAndEnds) {
    RandomCameras random;
    for (int index = 0; index < 200; ++index) {
        ViewCamera camera = random.Next(random.Between(0.1, 5.0));
        const PointXY cursor{random.Between(0.0, kSize.x), random.Between(0.0, kSize.y)};
        const double away = camera.IsPerspective() ? random.Between(0.2, 3.0) : 1.0;
        const auto place = MapTo(camera).AtDistance(cursor.x, cursor.y, camera.DistanceTo(camera.target) * away);
        ASSERT_TRUE(place);
        for (const double factor : {1.25, 0.8}) {
            for (int notch = 0; notch < 300; ++notch) {
                camera = ZoomedAbout(camera, factor, *place);
                ASSERT_TRUE(IsSound(camera));
                ASSERT_LT(PixelsBetween(ClientOf(MapTo(camera), *place), cursor), 1e-3) << index << " " << notch;
            }
            EXPECT_NEAR(ZoomedAbout(camera, factor, *place).unitsPerPixel / camera.unitsPerPixel, 1.0, 1e-6);
            EXPECT_NE(ZoomedAbout(camera, 1.0 / factor, *place).unitsPerPixel, camera.unitsPerPixel)
                << "there is a way back";
        }
        for (const double factor : {0.0, -2.0, kNaN, kInfinity}) {
            EXPECT_EQ(ZoomedAbout(camera, factor, *place), camera) << factor;
        }
    }
}

TEST(ViewCamera, PanningMovesThePictureWithTheMouse) {
    RandomCameras random;
    for (int index = 0; index < 1000; ++index) {
        const ViewCamera camera = random.Next(0.01);
        const auto grabbed = MapTo(camera).OnTargetPlane(300, 400);
        const ViewCamera moved = Panned(camera, 15.5, -7.25);
        ASSERT_LT(PixelsBetween(ClientOf(MapTo(moved), *grabbed), 315.5, 392.75), 1e-5);
        EXPECT_EQ(moved.unitsPerPixel, camera.unitsPerPixel);
    }
    const ViewCamera camera = random.Next(0.01);
    EXPECT_EQ(Panned(camera, kNaN, 0.0), camera);
    EXPECT_EQ(Panned(camera, 1e300, 0.0), camera) << "beyond what numbers hold";
}

TEST(ViewCamera, OrbitingKeepsDistanceAndTargetAndIsSmoothAtThePoles) {
    const ModelBox box{{4.5e6, 4.5e6, 0}, {4.5e6 + 800, 4.5e6 + 500, 120}};
    ViewCamera camera = *PerspectiveCamera(box, 200, 35, 40, 1.5, kSize);
    const ViewCamera first = camera;
    const auto pivot = MapTo(camera).AtDistance(200, 500, camera.DistanceTo(camera.target) * 1.1);
    camera = WithTarget(camera, *pivot);
    const double distance = glm::length(camera.Exaggerate(camera.eye - *pivot));
    for (int step = 0; step < 400; ++step) {
        const ScreenAxes before = camera.Axes();
        camera = Orbited(camera, 0.9, step < 200 ? 0.7 : -0.7); // over half of the way it is stuck at a pole
        const ScreenAxes after = camera.Axes();
        ASSERT_LT(PixelsBetween(ClientOf(MapTo(camera), *pivot), 200, 500), 1e-4) << step;
        ASSERT_NEAR(glm::length(camera.Exaggerate(camera.eye - *pivot)), distance, 1e-5) << step;
        ASSERT_LT(glm::length(after.right - before.right), 0.03) << "a jump at step " << step;
        ASSERT_LT(glm::length(after.forward - before.forward), 0.03) << "a jump at step " << step;
        ASSERT_NEAR(after.right.z, 0.0, 1e-9) << "the horizon stays level";
        ASSERT_GE(after.up.z, -1e-9) << "it never tips over";
    }
    EXPECT_NEAR(camera.forward.z, std::sin(50.0 * 3.14159265358979 / 180.0), 1e-6)
        << "140 degrees down again from the upper pole: below the ground";

    // A whole turn in any number of steps comes back; a quarter turn from the south looks from the west.
    ViewCamera turned = first;
    for (int step = 0; step < 36; ++step) {
        turned = Orbited(turned, 10.0, 0.0);
    }
    EXPECT_LT(glm::length(turned.eye - first.eye), 1e-6);
    const ViewCamera south = *PerspectiveCamera(box, 180, 0, 40, 1.0, kSize);
    EXPECT_LT(south.eye.y, box.low.y);
    EXPECT_LT(Orbited(south, 90.0, 0.0).eye.x, box.low.x);
    EXPECT_GT(Orbited(south, 0.0, 20.0).eye.z, south.eye.z);
    const ViewCamera top = *OrthoCamera(GLViewOrientationTop, box, 1.0, kSize);
    EXPECT_EQ(Orbited(top, 30.0, 30.0), top) << "a map stays a map";
    // Upside down on purpose: no jump upright.
    const ViewCamera hanging = *PerspectiveCamera(south.eye, south.target, {0, 0, -1}, 40, box, 1.0, kSize);
    EXPECT_LT(glm::length(Orbited(hanging, 1.0, 1.0).up - hanging.up), 0.05);
}

TEST(ViewCamera, UpAlongTheLineOfSightIsReplaced) {
    const ModelBox box{{-10, -10, -10}, {10, 10, 10}};
    for (const glm::dvec3& up :
         {glm::dvec3(0, 0, 1), glm::dvec3(0, 0, -3), glm::dvec3(0.0), glm::dvec3(1e-300, 0, 1e-280)}) {
        const auto down = PerspectiveCamera({0, 0, 100}, {0, 0, 0}, up, 40, box, 1.0, kSize);
        ASSERT_TRUE(down);
        EXPECT_LT(glm::length(down->Axes().up - glm::dvec3(0, 1, 0)), 1e-12);
    }
    const auto level = PerspectiveCamera({0, -100, 0}, {0, 0, 0}, {0, 5, 0}, 40, box, 1.0, kSize);
    EXPECT_LT(glm::length(level->Axes().up - glm::dvec3(0, 0, 1)), 1e-12);
    // Straight from above, the azimuth says what is up.
    const auto fromEast = PerspectiveCamera(box, 90, 90, 40, 1.0, kSize);
    EXPECT_LT(glm::length(fromEast->Axes().up - glm::dvec3(-1, 0, 0)), 1e-9);
}

/// How much of the half picture the farthest corner needs; above 1 it is outside.
double ShareNeeded(const ViewCamera& camera, const ModelBox& box) {
    const ViewMapping mapping = MapTo(camera);
    double share = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
        const glm::dvec3 place((corner & 1) ? box.high.x : box.low.x, (corner & 2) ? box.high.y : box.low.y,
                               (corner & 4) ? box.high.z : box.low.z);
        const PointXY client = ClientOf(mapping, place);
        share = std::max({share, std::abs(client.x / kSize.x * 2 - 1), std::abs(client.y / kSize.y * 2 - 1)});
    }
    return share;
}

TEST(ViewCamera, PerspectiveOfABoxStandsAsNearAsTheBoxAllows) {
    RandomCameras random;
    for (int index = 0; index < 1000; ++index) {
        const glm::dvec3 low(random.Between(4e5, 5e5), random.Between(4e6, 5e6), random.Between(0, 100));
        const ModelBox box{low,
                           low + glm::dvec3(random.Between(1, 3000), random.Between(1, 3000), random.Between(0, 400))};
        const ViewCamera camera = *PerspectiveCamera(box, random.Between(-400, 400), random.Between(-90, 90),
                                                     random.Between(10, 120), random.Between(0.5, 3), kSize);
        EXPECT_LE(ShareNeeded(camera, box), 1.0);
        EXPECT_GT(ShareNeeded(ZoomedAbout(camera, 1.001, camera.target), box), 1.0);
        const DepthRange depths = FindDepthRange(camera, kSize);
        EXPECT_GT(depths.nearest, 0.0);
        EXPECT_LE(depths.farthest / depths.nearest, 20'000 * (1 + 1e-12));
    }
}

// What is cut off by near or far is missing from the picture; what is far apart flickers.
TEST(ViewCamera, NearAndFarAreTightAroundTheBox) {
    const ModelBox box{{0, 0, 0}, {1000, 1000, 100}};
    const auto from = [&](glm::dvec3 eye, glm::dvec3 target) {
        return FindDepthRange(*PerspectiveCamera(eye, target, {0, 0, 1}, 40, box, 1.0, kSize), kSize);
    };
    const DepthRange outside = from({500, -2000, 50}, {500, 500, 50});
    EXPECT_NEAR(outside.nearest, 2000, 10);
    EXPECT_NEAR(outside.farthest, 3000, 10);
    const DepthRange inside = from({500, 500, 50}, {500, 900, 50});
    EXPECT_NEAR(inside.farthest, 500, 5);
    EXPECT_NEAR(inside.farthest / inside.nearest, 20'000, 1);
    const DepthRange overIt = from({500, 500, 400}, {500, 900, 350});
    EXPECT_GT(overIt.nearest, 200) << "300 above the box nothing is nearer than that";
    EXPECT_LT(overIt.nearest, 300);
    const DepthRange lookingAway = from({500, -10, 50}, {500, -500, 50});
    EXPECT_GT(lookingAway.nearest, 0.0);
    EXPECT_GT(lookingAway.farthest, lookingAway.nearest);

    // Rotated about its middle by the host, too.
    const ViewCamera top = *OrthoCamera(GLViewOrientationTop, box, 3.0, kSize);
    const DepthRange depths = FindDepthRange(Panned(top, 5000.0, 300.0), kSize);
    const double halfDiagonal = std::sqrt(1000.0 * 1000.0 + 1000.0 * 1000.0 + 300.0 * 300.0) / 2;
    EXPECT_GT(depths.nearest, 0.0);
    EXPECT_GE((depths.farthest - depths.nearest) / 2, halfDiagonal);
    EXPECT_LE((depths.farthest - depths.nearest) / 2, halfDiagonal * 1.01);
    EXPECT_NEAR((depths.farthest + depths.nearest) / 2, top.DistanceTo({500, 500, 50}), 1e-6);
}

TEST(ViewCamera, ARectangleIsShownInTheMiddleAsLargeAsItFits) {
    for (const bool perspective : {false, true}) {
        const ViewCamera camera = perspective ? *PerspectiveCamera(kBox, 33, 50, 40, 2.0, kSize)
                                              : *OrthoCamera(GLViewOrientationBack, kBox, 2.0, kSize);
        const ViewExtents before = VisibleExtents(camera, kSize);
        const auto same = Showing(camera, before, kSize);
        ASSERT_TRUE(same);
        EXPECT_LT(glm::length(same->eye - camera.eye), 1e-9);
        EXPECT_NEAR(same->unitsPerPixel, camera.unitsPerPixel, 1e-12);
        const auto shown = Showing(camera, {before.left + 3, before.bottom + 1, before.left + 4, before.top}, kSize);
        ASSERT_TRUE(shown);
        const ViewExtents after = VisibleExtents(*shown, kSize);
        EXPECT_NEAR(after.bottom, before.bottom + 1, 1e-9);
        EXPECT_NEAR(after.top, before.top, 1e-9);
        EXPECT_NEAR(after.left + after.right, before.left * 2 + 7, 1e-9);
        const double angle = shown->unitsPerPixel / shown->DistanceTo(shown->target);
        EXPECT_TRUE(!perspective ||
                    std::abs(angle / (camera.unitsPerPixel / camera.DistanceTo(camera.target)) - 1) < 1e-9)
            << "the angle of view stays";
        EXPECT_FALSE(Showing(camera, {1, 1, 1, 2}, kSize));
        EXPECT_FALSE(Showing(camera, {2, 1, 1, 2}, kSize));
        EXPECT_FALSE(Showing(camera, {0, 0, kNaN, 2}, kSize));
    }
}

TEST(ViewCamera, OffsetsAreWholeThousandsAndSayWhetherFloatsSuffice) {
    const struct {
        double lowX, lowY, highX, highY;
        glm::dvec2 offset;
        bool exact;
    } cases[] = {{0, 0, 100, 100, {0, 0}, true},
                 {500'000, 4'500'000, 501'000, 4'500'900, {501'000, 4'500'000}, true},
                 {-180, -90, 180, 90, {0, 0}, true},
                 {-501'499, 10, -500'000, 20, {-501'000, 0}, true},
                 {400'000, 4'000'000, 465'000, 4'065'000, {433'000, 4'033'000}, false},
                 {400'000, 4'000'000, 464'000, 4'064'000, {432'000, 4'032'000}, true}};
    for (const auto& test : cases) {
        const ModelBox box{{test.lowX, test.lowY, 0}, {test.highX, test.highY, 0}};
        const glm::dvec2 offset = FindCoordinateOffsets(box);
        EXPECT_EQ(offset, test.offset) << test.lowX;
        EXPECT_EQ(AreFloatsExact(box, offset), test.exact) << test.lowX;
        const double farthest = test.highX - offset.x;
        EXPECT_TRUE(!test.exact || std::abs(static_cast<float>(farthest - 0.0007) - (farthest - 0.0007)) < 0.001);
    }
}

} // namespace
