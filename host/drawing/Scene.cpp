#include "Scene.h"

#include "BlendScope.h"
#include "StyledFeatures.h"
#include "data/PathSubdivision.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <type_traits>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr COLORREF kBackground = RGB(44, 49, 58); // neither black nor white points vanish on it
constexpr double kSizeOfSpacing = 1.3;
constexpr double kSmallestAdapted = 2.0;
constexpr double kLargestClosed = 9.0; ///< without gaps to the next
constexpr double kLargestAdapted = 18.0;
constexpr double kGrowthOfSparse = 2.0; ///< pixels, each time that the spacing doubles
/// Of what one frame shows of rasters.
constexpr std::chrono::seconds kLongestReading(60);
constexpr double kAzimuthDegrees = 200.0;
constexpr double kElevationDegrees = 35.0;
constexpr double kFieldOfViewDegrees = 40.0;
constexpr float kShadeStrength = 0.2F;
constexpr float kShadeRadiusPixels = 2.0F;
constexpr float kWidestShadeRadiusPixels = 64.0F; // that the library takes

Extent Widen(Extent area, double margin) {
    area.Include(Position{area.low.x - margin, area.low.y - margin, area.low.z});
    area.Include(Position{area.high.x + margin, area.high.y + margin, area.high.z});
    return area;
}

PointXYZ PointOf(const Position& position) {
    return {position.x, position.y, position.z};
}

void Join(CloudsFrame& frame, const KTR::PointCloudFrame& cloud) {
    frame.complete = frame.complete && cloud.complete;
    frame.outdated = frame.outdated || cloud.outdated;
    frame.enlarged = frame.enlarged || cloud.enlarged;
    frame.drawn += cloud.drawn;
    frame.shown += cloud.shown;
    frame.spacingPixels = std::max(frame.spacingPixels, cloud.spacingPixels);
}

void Fade(Raster& raster, double opacity) {
    const unsigned int share = ByteOf(opacity);
    for (std::size_t alpha = 3; share < 255 && alpha < raster.image.rgba.size(); alpha += 4) {
        raster.image.rgba[alpha] = static_cast<std::uint8_t>(raster.image.rgba[alpha] * share / 255U);
    }
}

} // namespace

template <typename Entry> LayerId Scene::Insert(std::vector<Entry>& layers, Entry entry, LayerSource&& source) {
    entry.id = ++m_lastId;
    entry.source = std::move(source);
    entry.style = m_styleToCome;
    layers.push_back(std::move(entry));
    ApplyStyle(layers.back(), {});
    NoteChange(Entry::kKind);
    return m_lastId;
}

/// A layer of this kind came, went or has another place in the order.
void Scene::NoteChange(LayerKind kind) {
    m_isDraped = m_isDraped && kind != LayerKind::Raster && kind != LayerKind::Relief;
    m_isBent = m_isBent && kind != LayerKind::Relief && kind != LayerKind::Features;
    m_labelVersion += kind == LayerKind::Features ? 1 : 0;
    RefreshExtent();
    ++m_version;
}

LayerId Scene::AddCloud(std::unique_ptr<CloudReader> reader, CloudOpener again, LayerSource source) {
    Cloud cloud;
    cloud.cloud = std::make_unique<CloudLayer>(std::move(reader), source.name);
    cloud.open = std::move(again);
    return Insert(m_clouds, std::move(cloud), std::move(source));
}

LayerId Scene::AddSurface(Surface surface, LayerSource source) {
    Relief relief{{}, std::move(surface)};
    relief.extent = relief.surface.Grid().FindExtent();
    relief.maybeDegrees = relief.surface.Grid().MaybeInDegrees();
    return Insert(m_reliefs, std::move(relief), std::move(source));
}

LayerId Scene::AddMesh(MeshLayer mesh, LayerSource source) {
    Solid solid{{}, std::move(mesh)};
    solid.extent = solid.mesh.GetExtent();
    return Insert(m_solids, std::move(solid), std::move(source));
}

LayerId Scene::AddRaster(RasterLayer raster, LayerSource source) {
    Image image{{}, std::move(raster)};
    image.extent = image.raster.FindExtent().Flat();
    if (m_readsAtOnce) {
        image.raster.ReadAtOnce();
    }
    return Insert(m_images, std::move(image), std::move(source));
}

LayerId Scene::AddVectorLayer(VectorLayer layer, LayerSource source) {
    Features features{{}, std::move(layer), {}, {}, FindFreeNumber()};
    features.extent = features.layer.HasHeights() ? features.layer.extent : features.layer.extent.Flat();
    features.maybeDegrees = true;
    return Insert(m_features, std::move(features), std::move(source));
}

void Scene::ShadeRasters(RasterLayer shade, double strength) {
    m_shade.emplace(std::move(shade));
    m_shadeStrength = strength;
    if (m_readsAtOnce) {
        m_shade->ReadAtOnce();
    }
    ++m_version;
}

void Scene::Clear() {
    m_shade.reset();
    m_remarks.clear();
    VisitKinds(*this, [](auto& layers) { layers.clear(); });
    NoteChange(LayerKind::Features); // with labels, as the one that concerns most
}

bool Scene::RemoveLayer(LayerId id) {
    std::optional<LayerKind> kind;
    VisitKinds(*this, [&](auto& layers) {
        if (std::erase_if(layers, [&](const auto& layer) { return layer.id == id; }) > 0) {
            kind = std::remove_reference_t<decltype(layers)>::value_type::kKind;
        }
    });
    if (kind) {
        NoteChange(*kind);
    }
    return kind.has_value();
}

std::vector<LayerInfo> Scene::ListLayers() const {
    std::vector<LayerInfo> list;
    VisitLayers(*this, [&](const auto& layer) {
        list.push_back({layer.id, layer.kKind, layer.source, ExtentOf(layer), layer.style});
    });
    return list;
}

std::optional<LayerInfo> Scene::FindLayer(LayerId id) const {
    const std::vector<LayerInfo> layers = ListLayers();
    const auto found =
        std::find_if(layers.begin(), layers.end(), [&](const LayerInfo& layer) { return layer.id == id; });
    return found == layers.end() ? std::nullopt : std::optional(*found);
}

bool Scene::SetStyle(LayerId id, const LayerStyle& style) {
    bool isThere = false;
    VisitLayers(*this, [&](auto& layer) {
        if (layer.id != id) {
            return;
        }
        isThere = true;
        if (layer.style == style) {
            return;
        }
        const LayerStyle before = std::exchange(layer.style, style);
        m_labelVersion += before.shown != style.shown ? 1 : 0;
        ApplyStyle(layer, before);
        ++m_version;
    });
    return isThere;
}

/// What the cloud keeps in colours is made anew only where they are others.
void Scene::ApplyStyle(Cloud& cloud, const LayerStyle& before) {
    const LayerStyle& style = cloud.style;
    if (before.colorMode != style.colorMode || before.opacity != style.opacity ||
        before.elevationRamp != style.elevationRamp || before.intensityRamp != style.intensityRamp ||
        before.hiddenClasses != style.hiddenClasses) {
        ColorCloud(cloud);
    }
}

void Scene::ApplyStyle(Relief& relief, const LayerStyle& before) {
    relief.surface.SetRange(relief.style.elevationRamp.Of(relief.surface.GetRange()));
    relief.surface.SetOpacity(relief.style.opacity);
    m_isDraped = m_isDraped && before.shown == relief.style.shown && before.elevationRamp == relief.style.elevationRamp;
    if (before.shown != relief.style.shown) {
        OutdateShapes(); // what lies on the relief
    }
}

void Scene::ApplyStyle(Image& image, const LayerStyle& before) {
    if (image.raster.GetRange() && before.elevationRamp != image.style.elevationRamp) {
        image.raster.SetRange(image.style.elevationRamp.Of(*image.raster.GetRange()));
    }
    m_isDraped = m_isDraped && before.shown == image.style.shown && before.opacity == image.style.opacity;
}

/// The smallest that no layer of features has.
std::size_t Scene::FindFreeNumber() const {
    std::size_t number = 0;
    while (std::any_of(m_features.begin(), m_features.end(),
                       [&](const Features& features) { return features.number == number; })) {
        ++number;
    }
    return number;
}

void Scene::ChangeStyles(const std::function<void(LayerStyle& style)>& change) {
    change(m_styleToCome);
    for (const LayerInfo& layer : ListLayers()) {
        LayerStyle style = layer.style;
        change(style);
        SetStyle(layer.id, style);
    }
}

bool Scene::MoveLayer(LayerId id, LayerId below) {
    bool isMoved = false;
    VisitKinds(*this, [&](auto& layers) {
        const auto find = [&](LayerId wanted) {
            return std::find_if(layers.begin(), layers.end(), [&](const auto& layer) { return layer.id == wanted; });
        };
        const auto moved = find(id);
        const auto under = find(below);
        if (moved == layers.end() || id == below || (below != 0 && under == layers.end())) {
            return;
        }
        const auto target = below == 0 ? layers.begin() : under + 1;
        if (moved < target) {
            std::rotate(moved, moved + 1, target);
        } else {
            std::rotate(target, moved, moved + 1);
        }
        isMoved = true;
        NoteChange(layers.front().kKind);
    });
    return isMoved;
}

const VectorLayer* Scene::FindFeatures(LayerId id) const {
    for (const Features& features : m_features) {
        if (features.id == id) {
            return &features.layer;
        }
    }
    return nullptr;
}

const CloudLayer* Scene::FindCloud(LayerId id) const {
    for (const Cloud& cloud : m_clouds) {
        if (cloud.id == id) {
            return cloud.cloud.get();
        }
    }
    return nullptr;
}

const Surface* Scene::FindRelief(LayerId id) const {
    for (const Relief& relief : m_reliefs) {
        if (relief.id == id) {
            return &relief.surface;
        }
    }
    return nullptr;
}

const RasterLayer* Scene::FindRaster(LayerId id) const {
    for (const Image& image : m_images) {
        if (image.id == id) {
            return &image.raster;
        }
    }
    return nullptr;
}

std::vector<FeatureUnderMouse> Scene::FindFeaturesUnder(const PickBeam& beam) {
    std::vector<FeatureUnderMouse> found;
    for (auto features = m_features.rbegin(); features != m_features.rend(); ++features) {
        if (!features->style.shown) {
            continue;
        }
        if (!features->index) {
            features->index.emplace(features->layer);
        }
        const FeatureStyle& style = features->style.features;
        PickBeam ofLayer = beam;
        ofLayer.lineReach += std::max({style.lineWidthPixels, style.casingWidthPixels, style.borderWidthPixels}) * 0.5;
        for (const FeatureHit& hit : features->index->Find(features->layer, ofLayer, HeightsOf(features->layer))) {
            found.push_back({features->id, hit});
        }
    }
    return found;
}

PickHeights Scene::FindHeights(LayerId id) const {
    const VectorLayer* const layer = FindFeatures(id);
    return layer ? HeightsOf(*layer) : PickHeights();
}

std::optional<ElevationRange> Scene::FindElevations(LayerId id) const {
    std::optional<ElevationRange> range;
    VisitLayers(*this, [&](const auto& layer) {
        using Kind = std::decay_t<decltype(layer)>;
        if (layer.id != id) {
            return;
        }
        if constexpr (std::is_same_v<Kind, Cloud>) {
            range = layer.cloud->Traits().elevations;
        } else if constexpr (std::is_same_v<Kind, Relief>) {
            range = layer.surface.GetRange();
        } else if constexpr (std::is_same_v<Kind, Image>) {
            range = layer.raster.GetRange();
        }
    });
    return range;
}

std::optional<Rgb> Scene::FindColor(LayerId id) const {
    for (const Features& features : m_features) {
        if (features.id == id) {
            return features.Color().value_or(ColorOfLayer(0));
        }
    }
    return std::nullopt;
}

std::size_t Scene::CountPoints() const {
    std::uint64_t count = 0;
    for (const Cloud& cloud : m_clouds) {
        count += cloud.cloud->CountPoints();
    }
    return static_cast<std::size_t>(count);
}

std::size_t Scene::CountFeatures() const {
    std::size_t count = 0;
    for (const Features& features : m_features) {
        count += features.layer.features.size();
    }
    return count;
}

std::size_t Scene::CountCells() const {
    std::size_t count = 0;
    for (const Relief& relief : m_reliefs) {
        count += relief.surface.Grid().CountCellsWithData();
    }
    return count;
}

std::size_t Scene::CountFaces() const {
    std::size_t count = 0;
    for (const Solid& solid : m_solids) {
        count += solid.mesh.CountFaces();
    }
    return count;
}

std::size_t Scene::CountPixels() const {
    std::size_t count = 0;
    for (const Image& image : m_images) {
        count += image.raster.CountPixels();
    }
    return count;
}

void Scene::Update() {
    bool isChanged = false;
    for (const Cloud& cloud : m_clouds) {
        if (cloud.cloud->Update()) {
            ColorCloud(cloud);
            isChanged = true;
        }
    }
    if (isChanged) {
        RefreshExtent();
        ++m_version;
    }
}

void Scene::RefreshExtent() {
    const double ground = GroundHeight();
    m_extent = {};
    VisitLayers(*this, [&](const auto& layer) { m_extent.Include(ExtentOf(layer)); });
    if (GroundHeight() != ground) {
        OutdateShapes();
    }
}

bool Scene::IsReading() const {
    return std::any_of(m_clouds.begin(), m_clouds.end(), [](const Cloud& cloud) { return cloud.cloud->IsReading(); });
}

void Scene::WaitUntilRead() {
    while (IsReading()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Update();
}

void Scene::StopReading() {
    for (const Cloud& cloud : m_clouds) {
        cloud.cloud->StopReading();
    }
}

bool Scene::WasStopped() const {
    return std::any_of(m_clouds.begin(), m_clouds.end(), [](const Cloud& cloud) { return cloud.cloud->WasStopped(); });
}

std::optional<Scene::LayerProgress> Scene::GetReading() const {
    for (const Cloud& cloud : m_clouds) {
        if (cloud.cloud->IsReading()) {
            return LayerProgress{cloud.source.name, cloud.cloud->GetProgress()};
        }
    }
    return std::nullopt;
}

std::optional<Scene::LayerProgress> Scene::GetPreparing() const {
    std::optional<LayerProgress> found;
    const auto tell = [&](const Layer& layer, const std::optional<double>& share) {
        if (share && layer.style.shown && !found) {
            found = {layer.source.name, {"adding to the map", share, 0, ""}};
        }
    };
    for (const Relief& relief : m_reliefs) {
        tell(relief, relief.surface.FindShareReady());
    }
    for (const Solid& solid : m_solids) {
        tell(solid, solid.mesh.FindShareReady());
    }
    for (const Features& features : m_features) {
        tell(features, features.geometry.FindShareReady(features.layer));
    }
    return found;
}

std::string Scene::GetProblem() const {
    const std::vector<std::string> problems = GetProblems();
    return problems.empty() ? std::string() : problems.front();
}

std::vector<std::string> Scene::GetProblems() const {
    std::vector<std::string> problems;
    for (const Cloud& cloud : m_clouds) {
        if (std::string problem = cloud.cloud->GetProblem(); !problem.empty()) {
            problems.push_back(std::move(problem));
        }
    }
    return problems;
}

void Scene::AddRemark(std::string remark) {
    m_remarks.push_back(std::move(remark));
    ++m_version;
}

std::vector<std::string> Scene::GetRemarks() const {
    std::vector<std::string> remarks = m_remarks;
    for (const Cloud& cloud : m_clouds) {
        const std::vector<std::string> ofCloud = cloud.cloud->GetRemarks();
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

void Scene::SetLabelProperty(std::string property) {
    m_labelProperty = std::move(property);
    ++m_labelVersion;
    ++m_version;
}

std::vector<FeatureLabel> Scene::CollectLabels() const {
    if (m_labelProperty.empty()) {
        return {};
    }
    std::vector<const VectorLayer*> layers;
    for (const Features& features : m_features) {
        if (features.style.shown) {
            layers.push_back(&features.layer);
        }
    }
    return OrrinViewer::CollectLabels(layers, m_labelProperty);
}

std::vector<std::string> Scene::ListProperties() const {
    std::vector<const VectorLayer*> layers;
    for (const Features& features : m_features) {
        layers.push_back(&features.layer);
    }
    return OrrinViewer::ListProperties(layers);
}

void Scene::SwitchColors() {
    ChangeStyles([mode = NextAfter(GetColorMode())](LayerStyle& style) { style.colorMode = mode; });
}

const char* Scene::NameOfColors() const {
    return NameOf(GetColorMode());
}

/// Of the first cloud.
ColorMode Scene::GetColorMode() const {
    return m_clouds.empty() ? m_styleToCome.colorMode.value_or(ColorMode::Elevation) : m_clouds.front().Mode();
}

void Scene::ReadRastersAtOnce() {
    m_readsAtOnce = true;
    for (Image& image : m_images) {
        image.raster.ReadAtOnce();
    }
    if (m_shade) {
        m_shade->ReadAtOnce();
    }
}

void Scene::ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const {
    // A scene without anything is shown as one position is.
    const Extent box = m_extent.WithHeights();
    view.ChooseCoordinateOffsets(box.IsEmpty() ? PointXYZ{} : PointOf(box.low),
                                 box.IsEmpty() ? PointXYZ{} : PointOf(box.high));
    ShowExtent(view, orientation, m_extent);
}

void Scene::ShowExtent(KTR::COpenGLView& view, KTR::GLViewOrientation orientation, const Extent& extent) const {
    Extent box = extent.WithHeights();
    if (!extent.HasHeights() && m_extent.HasHeights()) {
        // What is flat lies somewhere on the ground.
        box.low.z = m_extent.low.z;
        box.high.z = m_extent.high.z;
    }
    const PointXYZ low = box.IsEmpty() ? PointXYZ{} : PointOf(box.low);
    const PointXYZ high = box.IsEmpty() ? PointXYZ{} : PointOf(box.high);
    if (orientation == KTR::GLViewOrientationPerspective) {
        view.SetUpPerspectiveFromModelExtents(low, high, kAzimuthDegrees, kElevationDegrees, kFieldOfViewDegrees,
                                              m_exaggeration * GetHeightScale());
    } else {
        view.SetUpOrthoFromModelExtents(orientation, low, high, m_exaggeration * GetHeightScale());
    }
}

void Scene::HoldEverything(KTR::COpenGLView& view) const {
    const Extent box = m_extent.WithHeights();
    if (!box.IsEmpty()) {
        // Until there was data, nobody knew where it would be.
        view.ChooseCoordinateOffsets(PointOf(box.low), PointOf(box.high));
        view.SetViewModelExtents(PointOf(box.low), PointOf(box.high));
    }
}

bool Scene::Prepare(KTR::COpenGLView& view, double milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point until = milliseconds > 0.0
                                        ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                             std::chrono::duration<double, std::milli>(milliseconds))
                                        : Clock::time_point::max();
    LoadCamera(view);
    Drape(view);
    bool isWhole = true;
    for (Relief& relief : m_reliefs) {
        isWhole = (!relief.style.shown || relief.surface.Prepare(view, m_origin, until)) && isWhole;
    }
    for (Solid& solid : m_solids) {
        isWhole =
            (!solid.style.shown || solid.mesh.Prepare(view, m_origin, solid.style.color, solid.style.opacity, until)) &&
            isWhole;
    }
    for (Features& features : m_features) {
        const LayerStyle& style = features.style;
        const GroundPosition ground = GroundOf(features.layer, m_origin);
        if (style.shown && style.features.IsPlain()) {
            const Rgb rgb = features.Color().value_or(ColorOfLayer(0));
            const GLRGBAColor color{rgb.red, rgb.green, rgb.blue, ByteOf(style.opacity)};
            isWhole = features.geometry.PrepareOutlines(view, features.layer, color, ground, until) && isWhole;
        }
        if (style.shown && style.fillOpacity > 0.0) {
            const AreaLook look{style.color, ByteOf(style.fillOpacity * style.opacity)};
            isWhole = features.geometry.PrepareAreas(view, features.layer, look, ground, until) && isWhole;
        }
    }
    return isWhole;
}

CloudsFrame Scene::Begin(KTR::COpenGLView& view, const CloudBudget& budget) {
    LoadCamera(view);
    CloudsFrame frame;
    frame.groundIsRead = DrawGround(view);
    frame.complete = frame.groundIsRead;
    const auto shown =
        std::count_if(m_clouds.begin(), m_clouds.end(), [](const Cloud& cloud) { return cloud.IsDrawn(); });
    const auto clouds = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(shown, 1));
    const CloudBudget share{budget.points == 0 ? 0 : std::max<std::uint64_t>(budget.points / clouds, 1),
                            budget.milliseconds / static_cast<double>(clouds)};
    for (const Cloud& cloud : m_clouds) {
        if (cloud.IsDrawn()) {
            Join(frame, cloud.cloud->Draw(view, Scale() * PointSizeOf(cloud, view), share));
        }
    }
    return frame;
}

CloudsFrame Scene::Refine(KTR::COpenGLView& view) {
    LoadCamera(view);
    view.Enable(GL_DEPTH_TEST);
    CloudsFrame frame;
    for (const Cloud& cloud : m_clouds) {
        if (cloud.IsDrawn()) {
            Join(frame, cloud.cloud->Refine(view));
        }
    }
    return frame;
}

void Scene::DrawShapes(KTR::COpenGLView& view) {
    LoadCamera(view);
    // The clouds are complete, or as far as they will be in this frame.
    const bool shades = m_shadesClouds && !m_clouds.empty() && view.IsPerspectiveSideView();
    view.SetUpEyeDomeLighting(shades, kShadeStrength,
                              std::min(kShadeRadiusPixels * static_cast<float>(Scale()), kWidestShadeRadiusPixels));
    view.DrawEyeDomeLighting();
    // Areas and outlines lie on top of everything, whatever their elevation.
    view.Disable(GL_DEPTH_TEST);
    const Extent area = FindAreaToFill(view);
    for (Features& features : m_features) {
        if (features.style.shown && features.style.fillOpacity > 0.0) {
            features.geometry.DrawAreas(view, features.layer, area);
        }
    }
    std::optional<Extent> seen;
    if (view.GetCurrentViewOrientation() == KTR::GLViewOrientationTop) {
        seen = Widen(area, Scale() * FindReach(view) * view.GetUnitsPerPixel());
    }
    for (Features& features : m_features) {
        const LayerStyle& style = features.style;
        if (!style.shown) {
            continue;
        }
        if (style.features.IsPlain()) {
            features.geometry.DrawOutlines(view, seen, style.features.symbolSizePixels, Scale());
        } else {
            // The library subtracts the offsets of shapes itself.
            DrawStyledFeatures(view, features.layer, style.features, features.Color(), ByteOf(style.opacity), Scale(),
                               GroundOf(features.layer, {}));
        }
    }
}

bool Scene::DrawRasters(KTR::COpenGLView& view) {
    const double lowestZ = GroundHeight();
    bool isComplete = true;
    for (Image& image : m_images) {
        if (image.isCovered || !image.style.shown) {
            continue;
        }
        view.DrawSetupTextureTransparency(ByteOf(image.style.opacity));
        const bool isRead = m_shade ? image.raster.DrawShaded(view, *m_shade, m_shadeStrength, m_origin, lowestZ)
                                    : image.raster.Draw(view, m_origin, lowestZ);
        isComplete = isComplete && isRead;
    }
    view.DrawSetupTextureTransparency(255);
    return isComplete;
}

void Scene::Draw(KTR::COpenGLView& view) {
    Prepare(view, 0.0);
    const auto deadline = std::chrono::steady_clock::now() + kLongestReading;
    while (!DrawGround(view) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // One cloud after the other: of two points at one place and height the first one shows.
    for (const Cloud& cloud : m_clouds) {
        if (!cloud.IsDrawn()) {
            continue;
        }
        KTR::PointCloudFrame frame = cloud.cloud->Draw(view, Scale() * PointSizeOf(cloud, view), {});
        while (!frame.complete && frame.result == S_OK) {
            if (frame.drawn == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            frame = cloud.cloud->Refine(view);
        }
    }
    DrawShapes(view);
}

void Scene::DrawEnlarged(KTR::COpenGLView& view, const EnlargedPart& part) {
    m_part = part;
    Draw(view);
    m_part.reset();
}

double Scene::FindReach(const KTR::COpenGLView& view) const {
    double widest = 14.0; // of outlines, symbols and shades
    for (const Cloud& cloud : m_clouds) {
        widest = std::max(widest, PointSizeOf(cloud, view));
    }
    for (const Features& features : m_features) {
        const FeatureStyle& style = features.style.features;
        widest = std::max(
            {widest, style.lineWidthPixels, style.casingWidthPixels, style.borderWidthPixels, style.symbolSizePixels});
    }
    return widest * 0.5 + 1.0;
}

void Scene::Forget(const KTR::COpenGLView& view) {
    for (const Cloud& cloud : m_clouds) {
        cloud.cloud->Forget(view);
    }
}

void Scene::RaiseSun(double degrees) {
    m_sunAltitudeDegrees = std::clamp(m_sunAltitudeDegrees + degrees, 0.0, 90.0);
}

void Scene::SetSun(double azimuthDegrees, double altitudeDegrees) {
    m_sunAzimuthDegrees = azimuthDegrees;
    m_sunAltitudeDegrees = std::clamp(altitudeDegrees, 0.0, 90.0);
}

void Scene::ReleaseGeometry() {
    for (const Cloud& cloud : m_clouds) {
        cloud.cloud->ReleaseGeometry();
    }
    for (Relief& relief : m_reliefs) {
        relief.surface.ReleaseGeometry();
    }
    for (Solid& solid : m_solids) {
        solid.mesh.ReleaseGeometry();
    }
    for (Features& features : m_features) {
        features.geometry.Release();
    }
}

/// They have been added at heights of which the scene may have others now.
void Scene::OutdateShapes() {
    for (Features& features : m_features) {
        features.geometry.Outdate();
    }
}

/// All layers in the order in which they came, the clouds as far as they have been read.
std::vector<PlacedLayer> Scene::ListPlaced() const {
    std::vector<std::pair<LayerId, PlacedLayer>> layers;
    VisitLayers(*this, [&](const auto& layer) {
        layers.push_back({layer.id, {layer.source, ExtentOf(layer), layer.maybeDegrees}});
    });
    std::sort(layers.begin(), layers.end(), [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<PlacedLayer> placed;
    placed.reserve(layers.size());
    for (auto& layer : layers) {
        placed.push_back(std::move(layer.second));
    }
    return placed;
}

/// Other views may have other coordinate offsets. What has been added with those is shifted by the library.
void Scene::LoadCamera(KTR::COpenGLView& view) {
    view.LoadViewMatrices();
    view.GetCurrentCoordinateOffset(m_origin.x, m_origin.y);
    if (m_part) {
        LoadPartOfCamera(view);
    }
}

/// Makes the part of the window fill it.
void Scene::LoadPartOfCamera(KTR::COpenGLView& view) const {
    const glm::dvec4 viewport = view.GetViewport();
    glm::dmat4 enlarge(1.0);
    enlarge[0][0] = viewport.z / m_part->width;
    enlarge[1][1] = viewport.w / m_part->height;
    enlarge[3][0] = (viewport.z - 2.0 * m_part->left - m_part->width) / m_part->width;
    enlarge[3][1] = (viewport.w - 2.0 * m_part->bottom - m_part->height) / m_part->height;
    const glm::dmat4 projection = enlarge * view.GetMatrix(GL_PROJECTION);
    view.MatrixMode(GL_PROJECTION);
    view.ReplaceCurrentMatrix(projection);
    view.MatrixMode(GL_MODELVIEW);
}

/// Gives the lines of layers without heights as many positions as it takes to follow the reliefs.
void Scene::BendLayers() {
    std::size_t left = 2'000'000; // positions to add, of all layers
    for (const Relief& relief : m_reliefs) {
        const ElevationGrid& grid = relief.surface.Grid();
        const Extent area = grid.FindExtent();
        const auto bend = [&](Path& path, bool closed) {
            const std::size_t before = path.size();
            path = Subdivide(path, closed, area, grid.cellSize, left);
            left -= path.size() - before;
        };
        for (Features& features : m_features) {
            const bool isFlat = !features.layer.HasHeights();
            features.index.reset();
            for (std::size_t index = 0; isFlat && index < features.layer.features.size(); ++index) {
                VectorFeature& feature = features.layer.features[index];
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
    OutdateShapes();
}

/// Brings images and lines onto the reliefs where these, or what lies on them, are others than before.
void Scene::Drape(KTR::COpenGLView& view) {
    if (!m_isDraped) {
        DrapeSurfaces(view);
        m_isDraped = true;
    }
    if (!m_isBent) {
        BendLayers();
        m_isBent = true;
    }
}

/// Lays the images over the reliefs, the last one uppermost.
void Scene::DrapeSurfaces(KTR::COpenGLView& view) {
    for (Relief& relief : m_reliefs) {
        relief.surface.Bare(view);
    }
    for (auto image = m_images.rbegin(); image != m_images.rend(); ++image) {
        image->isCovered = false;
        std::optional<Raster> picture =
            m_reliefs.empty() || !image->style.shown ? std::nullopt : image->raster.MakeImage(kDrapedSide);
        if (picture) {
            Fade(*picture, image->style.opacity);
        }
        for (auto relief = m_reliefs.begin(); picture && relief != m_reliefs.end(); ++relief) {
            if (!relief->style.shown) {
                continue;
            }
            // The version tells it from what showed through it before.
            relief->surface.Drape(*picture, L"image " + std::to_wstring(image->id) + L" on relief " +
                                                std::to_wstring(relief->id) + L" as of " + std::to_wstring(m_version));
            image->isCovered = image->isCovered || relief->surface.Reaches(*picture);
        }
    }
}

/// Clears the frame and draws what lies below the clouds. False while rasters are read.
bool Scene::DrawGround(KTR::COpenGLView& view) {
    Drape(view);
    view.SetBackgroundColor(kBackground, true);
    view.SetSun(m_sunAzimuthDegrees, m_sunAltitudeDegrees);
    // Rasters are the ground below everything.
    view.Disable(GL_DEPTH_TEST);
    const bool isRead = DrawRasters(view);
    // What is nearer hides what is farther; seen from above, what is higher what is lower.
    view.Enable(GL_DEPTH_TEST);
    for (Relief& relief : m_reliefs) {
        if (relief.style.shown) {
            relief.surface.Draw(view, m_origin);
        }
    }
    for (Solid& solid : m_solids) {
        if (solid.style.shown) {
            solid.mesh.Draw(view);
        }
    }
    return isRead;
}

/// On a map what it shows of it.
Extent Scene::FindAreaToFill(const KTR::COpenGLView& view) const {
    if (view.GetCurrentViewOrientation() != KTR::GLViewOrientationTop) {
        // On a relief an area would have to bend with it, where its triangles are flat.
        return m_reliefs.empty() ? m_extent : Extent();
    }
    Extent area;
    Position low;
    Position high;
    view.GetViewExtents(low.x, low.y, high.x, high.y);
    if (m_part) {
        const double unit = view.GetUnitsPerPixel();
        low = {low.x + m_part->left * unit, low.y + m_part->bottom * unit, 0.0};
        high = {low.x + m_part->width * unit, low.y + m_part->height * unit, 0.0};
    }
    area.Include(low);
    area.Include(high);
    return area;
}

std::vector<CloudSource> Scene::ListClouds() const {
    std::vector<CloudSource> sources;
    for (const Cloud& cloud : m_clouds) {
        if (cloud.style.shown) {
            const CloudTraits& traits = cloud.cloud->Traits();
            const std::bitset<256>& hidden = cloud.style.hiddenClasses;
            sources.push_back({cloud.id, [open = cloud.open, hidden] { return LeaveOutClasses(open(), hidden); },
                               PointColors(traits, cloud.Coloring()), traits.classMeaning, hidden});
        }
    }
    return sources;
}

double Scene::ElevationAt(double x, double y) const {
    double elevation = kNoElevation;
    for (const Relief& relief : m_reliefs) {
        if (relief.style.shown && std::isnan(elevation)) {
            elevation = relief.surface.Grid().ElevationAt(x, y);
        }
    }
    return elevation;
}

void Scene::SetPointSize(double pixels) {
    ChangeStyles([pixels](LayerStyle& style) { style.pointSizePixels = pixels; });
}

void Scene::AdaptPointSize() {
    ChangeStyles([](LayerStyle& style) { style.pointSizePixels.reset(); });
}

bool Scene::AdaptsPointSize() const {
    return !m_styleToCome.pointSizePixels;
}

double Scene::GetPointSize() const {
    return m_styleToCome.pointSizePixels.value_or(kSmallestAdapted);
}

double Scene::FindPointSize(const KTR::COpenGLView& view) const {
    double largest = GetPointSize();
    for (const Cloud& cloud : m_clouds) {
        largest = std::max(largest, PointSizeOf(cloud, view));
    }
    return largest;
}

double Scene::PointSizeOf(const Cloud& cloud, const KTR::COpenGLView& view) const {
    if (cloud.style.pointSizePixels) {
        return *cloud.style.pointSizePixels;
    }
    const Extent extent = cloud.cloud->GetExtent();
    const auto count = static_cast<double>(cloud.cloud->CountPoints());
    const double unitsPerPixel = view.GetUnitsPerPixel();
    if (extent.IsEmpty() || count < 2.0 || !(unitsPerPixel > 0.0)) {
        return kSmallestAdapted;
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

void Scene::ColorCloud(const Cloud& cloud) {
    cloud.cloud->Color(cloud.Coloring(), cloud.style.opacity);
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

/// The same for who looks at them without a view.
PickHeights Scene::HeightsOf(const VectorLayer& layer) const {
    if (layer.HasHeights()) {
        return {};
    }
    PickHeights heights;
    heights.heightOf = [this](const Position& position) { return HeightOfGround(position); };
    heights.low = GroundHeight();
    heights.high = heights.low;
    for (const Relief& relief : m_reliefs) {
        if (relief.extent.HasHeights()) {
            heights.low = std::min(heights.low, relief.extent.low.z);
            heights.high = std::max(heights.high, relief.extent.high.z);
        }
    }
    return heights;
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
    double ground = m_extent.high.z;
    VisitLayers(*this, [&](const auto& layer) {
        if constexpr (std::is_same_v<decltype(layer), const Cloud&>) {
            ground = layer.cloud->Traits().count > 0 ? std::min(ground, layer.cloud->Traits().elevations.low) : ground;
        } else if (layer.extent.HasHeights()) {
            ground = std::min(ground, layer.extent.low.z);
        }
    });
    return ground;
}

} // namespace OrrinViewer
