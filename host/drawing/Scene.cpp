#include "Scene.h"

#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(74, 82, 94); // neither black nor white points vanish on it

} // namespace

void Scene::AddCloud(PointCloud cloud) {
    Include(cloud.extent);
    m_clouds.emplace_back(std::move(cloud));
}

void Scene::AddSurface(ElevationGrid grid) {
    Include(grid.FindExtent());
    m_surfaces.emplace_back(std::move(grid));
}

void Scene::AddRaster(RasterLayer raster) {
    Include(raster.FindExtent());
    m_rasters.push_back(std::move(raster));
}

void Scene::ShadeRasters(RasterLayer shade, double strength) {
    m_shade.emplace(std::move(shade));
    m_shadeStrength = strength;
}

void Scene::AddVectorLayer(VectorLayer layer) {
    Include(layer.extent);
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

bool Scene::Draw(KTR::COpenGLView& view, const MapNavigator& navigator) {
    view.SetBackgroundColor(kBackground, true);
    view.SetUpViewport(0, 0, navigator.Width(), navigator.Height());
    SetUpCamera(view, navigator);
    return DrawContent(view, navigator.VisibleArea());
}

bool Scene::Draw(KTR::COpenGLView& view, const OrbitNavigator& navigator, int widthPixels, int heightPixels) {
    view.SetBackgroundColor(kBackground, true);
    view.SetUpViewport(0, 0, widthPixels, heightPixels);
    SetUpCamera(view, navigator);
    // On a relief an area would have to bend with it, where its triangles are flat.
    return DrawContent(view, m_surfaces.empty() ? m_extent : Extent());
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

void Scene::Include(const Extent& extent) {
    m_extent.Include(extent);
    m_origin = m_extent.Center();
}

/// Draws everything with the camera that is set up. Of the areas to be filled those in `area` are drawn. False when
/// there is more to read.
bool Scene::DrawContent(KTR::COpenGLView& view, const Extent& area) {
    SetUpSun(view);
    view.Scale(1.0, 1.0, m_exaggeration);

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
    const double lowestZ = m_extent.low.z - m_origin.z;
    bool isComplete = true;
    for (RasterLayer& raster : m_rasters) {
        const bool isRead = m_shade ? raster.DrawShaded(view, *m_shade, m_shadeStrength, m_origin, lowestZ)
                                    : raster.Draw(view, m_origin, lowestZ);
        isComplete = isComplete && isRead;
    }
    return isComplete;
}

void Scene::ColorAllClouds() {
    for (CloudLayer& cloud : m_clouds) {
        cloud.Color(m_colorMode);
    }
}

/// A parallel projection from above onto the visible area. Everything is relative to the origin, and stays in double
/// precision until the library hands the product of the matrices to OpenGL.
void Scene::SetUpCamera(KTR::COpenGLView& view, const MapNavigator& navigator) const {
    const Extent area = navigator.VisibleArea();
    const double heightRange = m_extent.IsEmpty() ? 0.0 : m_extent.high.z - m_extent.low.z;
    const double depth = heightRange * m_exaggeration + 1.0;
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(area.low.x - m_origin.x, area.high.x - m_origin.x, area.low.y - m_origin.y, area.high.y - m_origin.y,
               -depth, depth);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
}

/// A perspective of the scene's middle, which is the origin.
void Scene::SetUpCamera(KTR::COpenGLView& view, const OrbitNavigator& navigator) const {
    view.MatrixMode(GL_PROJECTION);
    view.Perspective(OrbitNavigator::kFieldOfViewDegrees, navigator.AspectRatio(), navigator.NearDistance(),
                     navigator.FarDistance());
    view.MatrixMode(GL_MODELVIEW);
    const Position eye = navigator.Eye();
    view.LookAt(eye.x, eye.y, eye.z, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0);
}

/// Where a position of a layer is drawn, relative to the origin: on the relief where there is one, elsewhere at half
/// the scene's height. Elevations of the layer's own are not used; most layers have none, and others hold 0.
Position Scene::OnTheGround(const Position& position) const {
    double elevation = kNoElevation;
    for (const Surface& surface : m_surfaces) {
        elevation = std::isnan(elevation) ? surface.Grid().ElevationAt(position.x, position.y) : elevation;
    }
    const double z = std::isnan(elevation) ? 0.0 : elevation - m_origin.z;
    return {position.x - m_origin.x, position.y - m_origin.y, z};
}

} // namespace OrrinViewer
