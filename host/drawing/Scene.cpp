#include "Scene.h"

#include "StyledFeatures.h"
#include "data/PathSubdivision.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(44, 49, 58); // neither black nor white points vanish on it
constexpr double kSizeOfSpacing = 1.3;
constexpr double kSmallestAdapted = 2.0;
constexpr double kLargestClosed = 9.0; ///< without gaps to the next
constexpr double kLargestAdapted = 18.0;
constexpr double kGrowthOfSparse = 2.0; ///< pixels, each time that the spacing doubles
constexpr double kAzimuthDegrees = 200.0;
constexpr double kElevationDegrees = 35.0;
constexpr double kFieldOfViewDegrees = 40.0;
constexpr float kShadeStrength = 0.2F;
constexpr float kShadeRadiusPixels = 2.0F;

PointXYZ PointOf(const Position& position) {
    return {position.x, position.y, position.z};
}

void Join(CloudsFrame& frame, const KTR::PointCloudFrame& cloud) {
    frame.complete = frame.complete && cloud.complete;
    frame.outdated = frame.outdated || cloud.outdated;
    frame.enlarged = frame.enlarged || cloud.enlarged;
    frame.drawn += cloud.drawn;
    frame.spacingPixels = std::max(frame.spacingPixels, cloud.spacingPixels);
}

} // namespace

void Scene::AddCloud(std::unique_ptr<CloudReader> reader, CloudOpener again, LayerSource source) {
    m_clouds.push_back(std::make_unique<CloudLayer>(std::move(reader), source.name));
    m_cloudOpeners.push_back(std::move(again));
    m_placedClouds.push_back({std::move(source), {}});
    m_extent.Include(m_clouds.back()->GetExtent());
}

void Scene::AddSurface(ElevationGrid grid, LayerSource source) {
    Place({std::move(source), grid.FindExtent(), grid.MaybeInDegrees()});
    m_surfaces.emplace_back(std::move(grid));
}

void Scene::AddMesh(Mesh mesh, LayerSource source) {
    Place({std::move(source), mesh.extent});
    m_meshes.emplace_back(std::move(mesh));
}

void Scene::AddRaster(RasterLayer raster, LayerSource source) {
    Place({std::move(source), raster.FindExtent().Flat()});
    m_rasters.push_back(std::move(raster));
}

void Scene::ShadeRasters(RasterLayer shade, double strength) {
    m_shade.emplace(std::move(shade));
    m_shadeStrength = strength;
}

void Scene::AddVectorLayer(VectorLayer layer, LayerSource source) {
    Place({std::move(source), layer.HasHeights() ? layer.extent : layer.extent.Flat(), true});
    m_layers.push_back(std::move(layer));
    m_featureGeometry.emplace_back();
}

std::size_t Scene::CountPoints() const {
    std::uint64_t count = 0;
    for (const auto& cloud : m_clouds) {
        count += cloud->CountPoints();
    }
    return static_cast<std::size_t>(count);
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

std::size_t Scene::CountFaces() const {
    std::size_t count = 0;
    for (const MeshLayer& mesh : m_meshes) {
        count += mesh.CountFaces();
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

void Scene::Update() {
    bool isChanged = false;
    for (const auto& cloud : m_clouds) {
        isChanged = cloud->Update() || isChanged;
    }
    if (!isChanged) {
        return;
    }
    const double ground = GroundHeight();
    m_extent = m_extentWithoutClouds;
    for (const auto& cloud : m_clouds) {
        m_extent.Include(cloud->GetExtent());
    }
    if (GroundHeight() != ground) {
        ReleaseShapes();
    }
    if (!m_isColorModeChosen) {
        m_colorMode = ChooseColorMode(m_clouds.front()->Traits());
    }
    ColorAllClouds();
    ++m_version;
}

bool Scene::IsReading() const {
    return std::any_of(m_clouds.begin(), m_clouds.end(), [](const auto& cloud) { return cloud->IsReading(); });
}

void Scene::WaitUntilRead() {
    while (IsReading()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Update();
}

std::string Scene::GetProblem() const {
    const std::vector<std::string> problems = GetProblems();
    return problems.empty() ? std::string() : problems.front();
}

std::vector<std::string> Scene::GetProblems() const {
    std::vector<std::string> problems;
    for (const auto& cloud : m_clouds) {
        if (std::string problem = cloud->GetProblem(); !problem.empty()) {
            problems.push_back(std::move(problem));
        }
    }
    return problems;
}

std::vector<std::string> Scene::GetRemarks() const {
    std::vector<std::string> remarks = m_remarks;
    for (const auto& cloud : m_clouds) {
        const std::vector<std::string> ofCloud = cloud->GetRemarks();
        remarks.insert(remarks.end(), ofCloud.begin(), ofCloud.end());
    }
    const std::vector<std::string> apart = FindLayersApart(ListPlaced());
    remarks.insert(remarks.end(), apart.begin(), apart.end());
    return remarks;
}

MapUnits Scene::GetUnits() const {
    return m_units.value_or(*FindUnits(ListPlaced()).units);
}

double Scene::GetHeightScale() const {
    return FindHeightScale(GetUnits(), FindUnits(ListPlaced()).heightMetres, m_extent.Center().y);
}

void Scene::ColorClouds(std::optional<ColorMode> mode) {
    m_isColorModeChosen = mode.has_value();
    m_colorMode = mode.value_or(m_colorMode);
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
    m_isColorModeChosen = true;
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
    const Extent box = m_extent.WithHeights();
    const PointXYZ low = box.IsEmpty() ? PointXYZ{} : PointOf(box.low);
    const PointXYZ high = box.IsEmpty() ? PointXYZ{} : PointOf(box.high);
    view.ChooseCoordinateOffsets(low, high);
    if (orientation == KTR::GLViewOrientationPerspective) {
        view.SetUpPerspectiveFromModelExtents(low, high, kAzimuthDegrees, kElevationDegrees, kFieldOfViewDegrees,
                                              m_exaggeration * GetHeightScale());
    } else {
        view.SetUpOrthoFromModelExtents(orientation, low, high, m_exaggeration * GetHeightScale());
    }
}

void Scene::HoldEverything(KTR::COpenGLView& view) const {
    if (!m_extent.IsEmpty()) {
        view.SetViewModelExtents(PointOf(m_extent.low), PointOf(m_extent.high));
    }
}

CloudsFrame Scene::Begin(KTR::COpenGLView& view, const CloudBudget& budget) {
    LoadCamera(view);
    CloudsFrame frame;
    frame.groundIsRead = DrawGround(view);
    frame.complete = frame.groundIsRead;
    const auto clouds = std::max<std::size_t>(m_clouds.size(), 1);
    const CloudBudget share{budget.points == 0 ? 0 : std::max<std::uint64_t>(budget.points / clouds, 1),
                            budget.milliseconds / static_cast<double>(clouds)};
    for (const auto& cloud : m_clouds) {
        Join(frame, cloud->Draw(view, PointSizeOf(*cloud, view), share));
    }
    return frame;
}

CloudsFrame Scene::Refine(KTR::COpenGLView& view) {
    LoadCamera(view);
    view.Enable(GL_DEPTH_TEST);
    CloudsFrame frame;
    for (const auto& cloud : m_clouds) {
        Join(frame, cloud->Refine(view));
    }
    return frame;
}

void Scene::DrawShapes(KTR::COpenGLView& view) {
    LoadCamera(view);
    // The clouds are complete, or as far as they will be in this frame.
    const bool shades = m_shadesClouds && !m_clouds.empty() && view.IsPerspectiveSideView();
    view.SetUpEyeDomeLighting(shades, kShadeStrength, kShadeRadiusPixels);
    view.DrawEyeDomeLighting();
    // Areas and outlines lie on top of everything, whatever their elevation.
    view.Disable(GL_DEPTH_TEST);
    if (m_fillOpacity > 0.0) {
        const auto opacity = static_cast<std::uint8_t>(std::lround(m_fillOpacity * 255.0));
        const Extent area = FindAreaToFill(view);
        for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
            m_featureGeometry[layer].DrawAreas(view, m_layers[layer], area, opacity,
                                               GroundOf(m_layers[layer], m_origin));
        }
    }
    for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
        if (m_featureStyle.IsPlain()) {
            m_featureGeometry[layer].DrawOutlines(view, m_layers[layer], GroundOf(m_layers[layer], m_origin));
        } else {
            // The library subtracts the offsets of shapes itself.
            DrawStyledFeatures(view, m_layers[layer], m_featureStyle, GroundOf(m_layers[layer], {}));
        }
    }
}

bool Scene::DrawRasters(KTR::COpenGLView& view) {
    const double lowestZ = GroundHeight();
    bool isComplete = true;
    for (std::size_t index = 0; index < m_rasters.size(); ++index) {
        if (m_coveredRasters[index]) {
            continue;
        }
        RasterLayer& raster = m_rasters[index];
        const bool isRead = m_shade ? raster.DrawShaded(view, *m_shade, m_shadeStrength, m_origin, lowestZ)
                                    : raster.Draw(view, m_origin, lowestZ);
        isComplete = isComplete && isRead;
    }
    return isComplete;
}

void Scene::Draw(KTR::COpenGLView& view) {
    LoadCamera(view);
    DrawGround(view);
    // One cloud after the other: of two points at one place and height the first one shows.
    for (const auto& cloud : m_clouds) {
        KTR::PointCloudFrame frame = cloud->Draw(view, PointSizeOf(*cloud, view), {});
        while (!frame.complete && frame.result == S_OK) {
            if (frame.drawn == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            frame = cloud->Refine(view);
        }
    }
    DrawShapes(view);
}

void Scene::Forget(const KTR::COpenGLView& view) {
    for (const auto& cloud : m_clouds) {
        cloud->Forget(view);
    }
}

void Scene::RaiseSun(double degrees) {
    m_sunAltitudeDegrees = std::clamp(m_sunAltitudeDegrees + degrees, 0.0, 90.0);
}

void Scene::ReleaseGeometry() {
    for (const auto& cloud : m_clouds) {
        cloud->ReleaseGeometry();
    }
    for (Surface& surface : m_surfaces) {
        surface.ReleaseGeometry();
    }
    for (MeshLayer& mesh : m_meshes) {
        mesh.ReleaseGeometry();
    }
    ReleaseShapes();
}

/// They have been added at heights of which the scene may have others now.
void Scene::ReleaseShapes() {
    for (FeatureGeometry& geometry : m_featureGeometry) {
        geometry.Release();
    }
}

void Scene::Place(PlacedLayer placed) {
    const Extent extent = placed.extent;
    m_placed.push_back(std::move(placed));
    m_extentWithoutClouds.Include(extent);
    m_extent.Include(extent);
}

/// All layers in the order in which they are drawn, the clouds as far as they have been read.
std::vector<PlacedLayer> Scene::ListPlaced() const {
    std::vector<PlacedLayer> placed = m_placedClouds;
    for (std::size_t cloud = 0; cloud < m_clouds.size(); ++cloud) {
        placed[cloud].extent = m_clouds[cloud]->GetExtent();
    }
    placed.insert(placed.end(), m_placed.begin(), m_placed.end());
    return placed;
}

/// Other views may have other coordinate offsets. What has been added with those is shifted by the library.
void Scene::LoadCamera(KTR::COpenGLView& view) {
    view.LoadViewMatrices();
    view.GetCurrentCoordinateOffset(m_origin.x, m_origin.y);
}

/// Gives the lines of layers without heights as many positions as it takes to follow the reliefs.
void Scene::BendLayers() {
    std::size_t left = 2'000'000; // positions to add, of all layers
    for (const Surface& surface : m_surfaces) {
        const Extent area = surface.Grid().FindExtent();
        const auto bend = [&](Path& path, bool closed) {
            const std::size_t before = path.size();
            path = Subdivide(path, closed, area, surface.Grid().cellSize, left);
            left -= path.size() - before;
        };
        for (VectorLayer& layer : m_layers) {
            const bool isFlat = !layer.HasHeights();
            for (std::size_t index = 0; isFlat && index < layer.features.size(); ++index) {
                VectorFeature& feature = layer.features[index];
                for (Path& line : feature.lines) {
                    bend(line, false);
                }
                for (Polygon& polygon : feature.polygons) {
                    for (Path& ring : polygon.rings) {
                        bend(ring, true);
                    }
                }
            }
        }
    }
}

/// Lays the images over the reliefs, the last one uppermost.
void Scene::DrapeSurfaces() {
    constexpr int kLargestSide = 2048;
    m_isDraped = true;
    m_coveredRasters.assign(m_rasters.size(), false);
    if (m_surfaces.empty()) {
        return;
    }
    for (std::size_t index = m_rasters.size(); index-- > 0;) {
        const std::optional<Raster> image = m_rasters[index].MakeImage(kLargestSide);
        for (std::size_t surface = 0; image && surface < m_surfaces.size(); ++surface) {
            m_surfaces[surface].Drape(*image,
                                      L"image " + std::to_wstring(index) + L" on relief " + std::to_wstring(surface));
            m_coveredRasters[index] = m_coveredRasters[index] || m_surfaces[surface].Reaches(*image);
        }
    }
}

/// Clears the frame and draws what lies below the clouds. False while rasters are read.
bool Scene::DrawGround(KTR::COpenGLView& view) {
    if (!m_isDraped) {
        DrapeSurfaces();
        BendLayers();
    }
    view.SetBackgroundColor(kBackground, true);
    view.SetSun(m_sunAzimuthDegrees, m_sunAltitudeDegrees);
    // Rasters are the ground below everything.
    view.Disable(GL_DEPTH_TEST);
    const bool isRead = DrawRasters(view);
    // What is nearer hides what is farther; seen from above, what is higher what is lower.
    view.Enable(GL_DEPTH_TEST);
    for (Surface& surface : m_surfaces) {
        surface.Draw(view, m_origin);
    }
    for (MeshLayer& mesh : m_meshes) {
        mesh.Draw(view, m_origin);
    }
    return isRead;
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

std::vector<PointColors> Scene::GetCloudColors() const {
    std::vector<PointColors> colors;
    for (const auto& cloud : m_clouds) {
        colors.emplace_back(cloud->Traits(), m_colorMode);
    }
    return colors;
}

double Scene::ElevationAt(double x, double y) const {
    double elevation = kNoElevation;
    for (const Surface& surface : m_surfaces) {
        elevation = std::isnan(elevation) ? surface.Grid().ElevationAt(x, y) : elevation;
    }
    return elevation;
}

void Scene::SetPointSize(double pixels) {
    m_pointSizePixels = pixels;
    m_adaptsPointSize = false;
}

double Scene::FindPointSize(const KTR::COpenGLView& view) const {
    double largest = m_pointSizePixels;
    for (const auto& cloud : m_clouds) {
        largest = std::max(largest, PointSizeOf(*cloud, view));
    }
    return largest;
}

double Scene::PointSizeOf(const CloudLayer& cloud, const KTR::COpenGLView& view) const {
    const Extent extent = cloud.GetExtent();
    const auto count = static_cast<double>(cloud.CountPoints());
    const double unitsPerPixel = view.GetUnitsPerPixel();
    if (!m_adaptsPointSize || extent.IsEmpty() || count < 2.0 || !(unitsPerPixel > 0.0)) {
        return m_pointSizePixels;
    }
    // As if the points lay evenly over the ground. Squares of exactly that size would leave gaps, since they do not.
    const double area = (extent.high.x - extent.low.x) * (extent.high.y - extent.low.y);
    const double spacing = std::sqrt(area / count) / unitsPerPixel;
    const double wanted = std::max(kSizeOfSpacing * spacing, kSmallestAdapted);
    if (wanted <= kLargestClosed) {
        return wanted;
    }
    // Gaps are what there is between the points. But a few points must not get lost in a large window.
    return std::min(kLargestClosed + kGrowthOfSparse * std::log2(wanted / kLargestClosed), kLargestAdapted);
}

void Scene::ColorAllClouds() {
    for (const auto& cloud : m_clouds) {
        cloud->Color(m_colorMode);
    }
}

/// Where positions of a layer are drawn, relative to an origin: at their own heights where they have some, otherwise on
/// the ground.
GroundPosition Scene::GroundOf(const VectorLayer& layer, const Position& origin) const {
    if (layer.HasHeights()) {
        return [origin](const Position& position) {
            return Position{position.x - origin.x, position.y - origin.y, position.z};
        };
    }
    return [this, origin](const Position& position) {
        return Position{position.x - origin.x, position.y - origin.y, HeightOfGround(position)};
    };
}

/// Of the relief where there is one.
double Scene::HeightOfGround(const Position& position) const {
    const double elevation = ElevationAt(position.x, position.y);
    return std::isnan(elevation) ? GroundHeight() : elevation;
}

/// What is flat lies here: below everything that has heights, or at 0. Of a cloud the lowest points are no ground, but
/// echoes from below it.
double Scene::GroundHeight() const {
    if (!m_extent.HasHeights()) {
        return 0.0;
    }
    double ground = m_extentWithoutClouds.HasHeights() ? m_extentWithoutClouds.low.z : m_extent.high.z;
    for (const auto& cloud : m_clouds) {
        if (cloud->Traits().count > 0) {
            ground = std::min(ground, cloud->Traits().elevations.low);
        }
    }
    return ground;
}

} // namespace OrrinViewer
