#include "Scene.h"

#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(74, 82, 94); // neither black nor white points vanish on it
constexpr double kAzimuthDegrees = 200.0;
constexpr double kElevationDegrees = 35.0;
constexpr double kFieldOfViewDegrees = 40.0;

PointXYZ PointOf(const Position& position) {
    return {position.x, position.y, position.z};
}

} // namespace

void Scene::AddCloud(PointCloud cloud) {
    m_extent.Include(cloud.extent);
    m_clouds.emplace_back(std::move(cloud));
}

void Scene::AddSurface(ElevationGrid grid) {
    m_extent.Include(grid.FindExtent());
    m_surfaces.emplace_back(std::move(grid));
}

void Scene::AddRaster(RasterLayer raster) {
    m_extent.Include(raster.FindExtent());
    m_rasters.push_back(std::move(raster));
}

void Scene::ShadeRasters(RasterLayer shade, double strength) {
    m_shade.emplace(std::move(shade));
    m_shadeStrength = strength;
}

void Scene::AddVectorLayer(VectorLayer layer) {
    m_extent.Include(layer.extent);
    m_layers.push_back(std::move(layer));
    m_featureGeometry.emplace_back();
}

std::size_t Scene::CountPoints() const {
    std::size_t count = 0;
    for (const CloudLayer& cloud : m_clouds) {
        count += cloud.Cloud().Count();
    }
    return count;
}

std::size_t Scene::CountFeatures() const {
    std::size_t count = 0;
    for (const VectorLayer& layer : m_layers) {
        count += layer.features.size();
    }
    return count;
}

std::size_t Scene::CountCells() const {
    std::size_t count = 0;
    for (const Surface& surface : m_surfaces) {
        count += surface.Grid().CountCellsWithData();
    }
    return count;
}

std::size_t Scene::CountPixels() const {
    std::size_t count = 0;
    for (const RasterLayer& raster : m_rasters) {
        count += raster.CountPixels();
    }
    return count;
}

void Scene::ColorClouds(std::optional<ColorMode> mode) {
    if (!m_clouds.empty()) {
        m_colorMode = mode.value_or(ChooseColorMode(m_clouds.front().Cloud()));
    }
    ColorAllClouds();
}

const char* Scene::SwitchColors() {
    switch (m_colorMode) {
    case ColorMode::Recorded:
        m_colorMode = ColorMode::Elevation;
        break;
    case ColorMode::Elevation:
        m_colorMode = ColorMode::Class;
        break;
    case ColorMode::Class:
        m_colorMode = ColorMode::Intensity;
        break;
    case ColorMode::Intensity:
        m_colorMode = ColorMode::Recorded;
        break;
    }
    ColorAllClouds();
    return NameOfColors();
}

const char* Scene::NameOfColors() const {
    switch (m_colorMode) {
    case ColorMode::Recorded:
        return "recorded colours";
    case ColorMode::Elevation:
        return "elevation";
    case ColorMode::Class:
        return "class";
    case ColorMode::Intensity:
        return "intensity";
    }
    return "";
}

void Scene::ReadRastersAtOnce() {
    for (RasterLayer& raster : m_rasters) {
        raster.ReadAtOnce();
    }
    if (m_shade) {
        m_shade->ReadAtOnce();
    }
}

void Scene::ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const {
    // A scene without anything is shown as one position is.
    const PointXYZ low = m_extent.IsEmpty() ? PointXYZ{} : PointOf(m_extent.low);
    const PointXYZ high = m_extent.IsEmpty() ? PointXYZ{} : PointOf(m_extent.high);
    view.ChooseCoordinateOffsets(low, high);
    if (orientation == KTR::GLViewOrientationPerspective) {
        view.SetUpPerspectiveFromModelExtents(low, high, kAzimuthDegrees, kElevationDegrees, kFieldOfViewDegrees,
                                              m_exaggeration);
    } else {
        view.SetUpOrthoFromModelExtents(orientation, low, high, m_exaggeration);
    }
}

bool Scene::Draw(KTR::COpenGLView& view) {
    view.SetBackgroundColor(kBackground, true);
    view.LoadViewMatrices();
    view.GetCurrentCoordinateOffset(m_origin.x, m_origin.y);
    SetUpSun(view, m_exaggeration);

    // Rasters are the ground below everything.
    view.Disable(GL_DEPTH_TEST);
    const bool isComplete = DrawRasters(view);
    // What is nearer hides what is farther; seen from above, what is higher what is lower.
    view.Enable(GL_DEPTH_TEST);
    for (Surface& surface : m_surfaces) {
        surface.Draw(view, m_origin);
    }
    for (CloudLayer& cloud : m_clouds) {
        cloud.Draw(view, m_origin, m_pointSizePixels);
    }
    // Areas and outlines lie on top of everything, whatever their elevation.
    view.Disable(GL_DEPTH_TEST);
    const auto onTheGround = [this](const Position& position) { return OnTheGround(position); };
    if (m_fillOpacity > 0.0) {
        const auto opacity = static_cast<std::uint8_t>(std::lround(m_fillOpacity * 255.0));
        const Extent area = FindAreaToFill(view);
        for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
            m_featureGeometry[layer].DrawAreas(view, m_layers[layer], area, opacity, onTheGround);
        }
    }
    for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
        m_featureGeometry[layer].DrawOutlines(view, m_layers[layer], onTheGround);
    }
    return isComplete;
}

bool Scene::DrawRasters(KTR::COpenGLView& view) {
    const double lowestZ = m_extent.low.z;
    bool isComplete = true;
    for (RasterLayer& raster : m_rasters) {
        const bool isRead = m_shade ? raster.DrawShaded(view, *m_shade, m_shadeStrength, m_origin, lowestZ)
                                    : raster.Draw(view, m_origin, lowestZ);
        isComplete = isComplete && isRead;
    }
    return isComplete;
}

void Scene::ReleaseGeometry() {
    for (CloudLayer& cloud : m_clouds) {
        cloud.ReleaseGeometry();
    }
    for (Surface& surface : m_surfaces) {
        surface.ReleaseGeometry();
    }
    for (FeatureGeometry& geometry : m_featureGeometry) {
        geometry.Release();
    }
}

/// On a map what it shows of it.
Extent Scene::FindAreaToFill(const KTR::COpenGLView& view) const {
    if (view.GetCurrentViewOrientation() != KTR::GLViewOrientationTop) {
        // On a relief an area would have to bend with it, where its triangles are flat.
        return m_surfaces.empty() ? m_extent : Extent();
    }
    Extent area;
    Position low;
    Position high;
    view.GetViewExtents(low.x, low.y, high.x, high.y);
    area.Include(low);
    area.Include(high);
    return area;
}

void Scene::ColorAllClouds() {
    for (CloudLayer& cloud : m_clouds) {
        cloud.Color(m_colorMode);
    }
}

/// Where a position of a layer is drawn, relative to the origin: on the relief where there is one, elsewhere at half
/// the scene's height. Elevations of the layer's own are not used; most layers have none, and others hold 0.
Position Scene::OnTheGround(const Position& position) const {
    double elevation = kNoElevation;
    for (const Surface& surface : m_surfaces) {
        elevation = std::isnan(elevation) ? surface.Grid().ElevationAt(position.x, position.y) : elevation;
    }
    const double z = std::isnan(elevation) ? m_extent.Center().z : elevation;
    return {position.x - m_origin.x, position.y - m_origin.y, z};
}

} // namespace OrrinViewer
