// What the scene has: layers, their styles, and what is known of all of them together.

#include "Scene.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <type_traits>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr double kSizeOfSpacing = 1.3;
constexpr double kSmallestAdapted = 2.0;
constexpr double kLargestClosed = 9.0; ///< without gaps to the next
constexpr double kLargestAdapted = 18.0;
constexpr double kGrowthOfSparse = 2.0; ///< pixels, each time that the spacing doubles
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

void Scene::ShadeRasters(RasterLayer shade, double strength, LayerSource source) {
    m_shade.emplace(Shade{std::move(shade), strength, std::move(source)});
    if (m_readsAtOnce) {
        m_shade->raster.ReadAtOnce();
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
        m_shade->raster.ReadAtOnce();
    }
}

void Scene::RaiseSun(double degrees) {
    m_sunAltitudeDegrees = std::clamp(m_sunAltitudeDegrees + degrees, 0.0, 90.0);
}

void Scene::SetSun(double azimuthDegrees, double altitudeDegrees) {
    m_sunAzimuthDegrees = azimuthDegrees;
    m_sunAltitudeDegrees = std::clamp(altitudeDegrees, 0.0, 90.0);
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
    const double unitsPerPixel = view.GetUnitsPerPixel() * m_screenScale;
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
