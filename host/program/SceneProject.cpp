#include "SceneProject.h"

#include <cmath>
#include <numbers>

namespace OrrinViewer {

namespace {

Camera CameraOf(KTR::GLViewOrientation orientation) {
    return orientation == KTR::GLViewOrientationPerspective ? Camera::Perspective : static_cast<Camera>(orientation);
}

// Those along axes are in the library's order.
static_assert(static_cast<int>(Camera::Map) == KTR::GLViewOrientationTop);
static_assert(static_cast<int>(Camera::Right) == KTR::GLViewOrientationRight);

PointXYZ PointOf(const Position& position) {
    return {position.x, position.y, position.z};
}

Position PositionOf(const glm::dvec3& vector) {
    return {vector.x, vector.y, vector.z};
}

std::filesystem::path Absolute(const std::filesystem::path& file) {
    return std::filesystem::absolute(file).lexically_normal();
}

} // namespace

Project DescribeScene(const Scene& scene) {
    Project project;
    if (const int code = scene.GetSystemCode(); code != 0) {
        project.settings.coordinateSystem = "EPSG:" + std::to_string(code);
    }
    project.settings.units = scene.GetUnitsSet();
    project.settings.exaggeration = scene.GetExaggeration();
    project.settings.sunAzimuthDegrees = scene.GetSunAzimuth();
    project.settings.sunAltitudeDegrees = scene.GetSunAltitude();
    project.settings.shadesClouds = scene.ShadesClouds();
    project.settings.labelProperty = scene.GetLabelProperty();
    for (const LayerInfo& layer : scene.ListLayers()) {
        if (!layer.source.file.empty()) {
            project.layers.push_back(
                {Absolute(layer.source.file), layer.source.part, layer.source.cellSize, layer.kind, layer.style});
        }
    }
    if (const std::optional<Scene::Shade>& shade = scene.GetShade(); shade && !shade->source.file.empty()) {
        project.hillshade = {Absolute(shade->source.file), shade->source.cellSize, shade->strength};
    }
    return project;
}

void ApplySettings(Scene& scene, const ProjectSettings& settings) {
    scene.SetUnits(settings.units);
    scene.SetExaggeration(settings.exaggeration);
    scene.SetSun(settings.sunAzimuthDegrees, settings.sunAltitudeDegrees);
    scene.ShadeClouds(settings.shadesClouds);
    scene.SetLabelProperty(settings.labelProperty);
}

std::optional<ProjectView> DescribeView(const KTR::COpenGLView& view, const Extent& box) {
    const KTR::ViewCamera& camera = view.GetContextRecord(KTR::GLContextMain).camera;
    if (!camera.IsSetUp() || camera.orientation == KTR::GLViewOrientationProfile) {
        return std::nullopt;
    }
    ProjectView shown;
    shown.camera = CameraOf(camera.orientation);
    shown.box = box;
    shown.zExaggeration = camera.zExaggeration;
    if (!camera.IsPerspective()) {
        std::array<double, 4> extents{};
        view.GetViewExtents(extents[0], extents[1], extents[2], extents[3]);
        shown.extents = extents;
        return shown;
    }
    const double distance = camera.DistanceTo(camera.target);
    const double height = camera.unitsPerPixel * view.GetViewport().w;
    ProjectEye eye;
    eye.position = PositionOf(camera.eye);
    // What the eye circles may be elsewhere in the window.
    eye.target = PositionOf(camera.eye + camera.Flatten(camera.forward * distance));
    eye.up = PositionOf(camera.up);
    eye.fieldOfViewDegrees = 2.0 * std::atan(height * 0.5 / distance) * 180.0 / std::numbers::pi;
    shown.eye = eye;
    return shown;
}

void ShowProjectView(KTR::COpenGLView& view, const ProjectView& shown) {
    const Extent box = shown.box.WithHeights();
    const PointXYZ low = box.IsEmpty() ? PointXYZ{} : PointOf(box.low);
    const PointXYZ high = box.IsEmpty() ? PointXYZ{} : PointOf(box.high);
    view.BeginViewChange();
    view.ChooseCoordinateOffsets(low, high);
    if (shown.eye) {
        view.SetUpPerspectiveScene(PointOf(shown.eye->position), PointOf(shown.eye->target), PointOf(shown.eye->up),
                                   shown.eye->fieldOfViewDegrees, low, high, shown.zExaggeration);
    } else if (shown.camera != Camera::Perspective) {
        view.SetUpOrthoFromModelExtents(static_cast<KTR::GLViewOrientation>(shown.camera), low, high,
                                        shown.zExaggeration);
        if (shown.extents) {
            view.SetViewExtents((*shown.extents)[0], (*shown.extents)[1], (*shown.extents)[2], (*shown.extents)[3]);
        }
    }
    view.EndViewChange();
}

} // namespace OrrinViewer
