#include "SceneLoading.h"

#include "SystemDatabase.h"
#include "files/FileError.h"
#include "files/GeoKeys.h"
#include "files/OpenFile.h"
#include "files/PathText.h"
#include "files/TiffFile.h"
#include "files/WktText.h"
#include "systems/SystemRegister.h"
#include "systems/TransformLayers.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace OrrinViewer {

namespace {

std::string NameOf(const std::filesystem::path& file) {
    return Utf8FromPath(file.filename());
}

/// Longitude and latitude, as GeoJSON has them.
CoordinateSystem GlobeSystem() {
    CoordinateSystem system;
    system.name = "WGS 84";
    system.code = 4326;
    system.units = MapUnits::Degrees;
    return system;
}

/// The one that the options name. Throws std::runtime_error where the register knows none of that name.
CoordinateSystem FindSystem(const SystemRegister& systems, const ViewerOptions& options) {
    if (const std::optional<CoordinateSystem> system = systems.Find(options.coordinateSystem)) {
        return *system;
    }
    throw std::runtime_error("--crs: takes a coordinate system of the register, such as EPSG:25832, not " +
                             QuoteForMessage(options.coordinateSystem));
}

} // namespace

/// How elevations shade rasters.
struct ShadeWanted {
    double strength = 1.0; ///< 0 to 1
    double exaggeration = 1.0;
    std::optional<MapUnits> units;
};

/// What a project has of a file, which is read once for all of it.
struct ProjectFilePart {
    struct Layer {
        int place = 0; ///< in the project's order
        std::string part;
        LayerKind kind = LayerKind::Features;
        LayerStyle style;
    };
    std::filesystem::path file;
    std::optional<double> cellSize; ///< of a cloud that is gathered into cells
    std::vector<Layer> layers;
    std::optional<ShadeWanted> shade;

    /// Null where the project has no such layer.
    const Layer* Find(const std::string& part) const {
        const auto found =
            std::find_if(layers.begin(), layers.end(), [&](const Layer& layer) { return layer.part == part; });
        return found == layers.end() ? nullptr : &*found;
    }
};

/// Gives the layers of projects the order that they have there, in which they need not come.
class ProjectOrder {
public:
    void Settle(Scene& scene, LayerId id, const ProjectFilePart::Layer& wanted) {
        scene.SetStyle(id, wanted.style);
        m_places[id] = wanted.place;
        const std::vector<LayerInfo> layers = scene.ListLayers();
        const auto own = std::find_if(layers.begin(), layers.end(), [&](const auto& layer) { return layer.id == id; });
        LayerId below = 0;
        for (auto layer = layers.begin(); layer != own; ++layer) {
            if (layer->kind != own->kind) {
                continue;
            }
            const auto place = m_places.find(layer->id);
            if (place != m_places.end() && place->second > wanted.place) {
                scene.MoveLayer(id, below);
                return;
            }
            below = layer->id;
        }
    }

private:
    std::map<LayerId, int> m_places;
};

/// Reads files for a scene: hands out what has to be done to it, to be done by the thread that draws. The first
/// coordinate system that it meets, or the one that the options name, is the scene's: what comes in another one is
/// transformed.
class FileLoader {
public:
    using Receiver = std::function<void(std::function<void(Scene& scene)> addition)>;

    FileLoader(const ViewerOptions& options, std::shared_ptr<ProjectOrder> order, Receiver hand)
        : m_options(options), m_order(std::move(order)), m_hand(std::move(hand)), m_register(FindSystemDatabase()) {
        if (!m_options.coordinateSystem.empty()) {
            m_system = FindSystem(m_register, m_options);
        }
    }

    /// For a scene that has no system yet. One that the register does not know is passed over.
    void PreferSystem(const std::string& name) {
        if (!m_system && !name.empty()) {
            m_system = m_register.Find(name);
        }
    }

    /// Images will lie on reliefs: they are made ready for that.
    void ExpectReliefs() { m_hasReliefs = true; }

    /// `wanted` is what a project has of the file, if it comes from one.
    void AddFile(const std::filesystem::path& file, std::optional<ProjectFilePart> wanted) {
        m_wanted = std::move(wanted);
        const std::optional<double> cellSize =
            m_wanted && m_wanted->cellSize ? m_wanted->cellSize : m_options.cloudCellSize;
        const FileKind kind = DetectKind(file);
        if (IsVectorKind(kind)) {
            AddVectorLayers(file, kind);
            return;
        }
        switch (kind) {
        case FileKind::AsciiGrid:
            AddElevations(OpenElevationGrid(file), file, {NameOf(file), SystemBeside(file), file});
            return;
        case FileKind::Tiff:
            AddTiff(file);
            return;
        case FileKind::Image:
            AddRaster(RasterLayer::ForImage(OpenRaster(file), file.wstring()),
                      {NameOf(file), SystemBeside(file), file});
            return;
        case FileKind::Ply:
            if (std::optional<Mesh> mesh = cellSize ? std::nullopt : OpenMesh(file)) {
                HandLayer(&Scene::AddMesh, LayerSource{NameOf(file), {}, file}, MeshLayer(*std::move(mesh)));
                return;
            }
            break;
        default:
            break;
        }
        if (kind == FileKind::Project) {
            throw FileError(file, "is a project, which no other can contain");
        }
        if (cellSize) {
            LayerSource source{NameOf(file), OpenCloudReader(file)->GetSystem(), file, {}, cellSize};
            AddElevations(GridPoints(OpenPointCloud(file), *cellSize), file, std::move(source));
        } else {
            AddCloud(file);
        }
    }

private:
    /// Has a function of the scene called with these.
    template <typename Function, typename... Arguments> void Hand(Function function, Arguments... arguments) {
        // Functions are copied, layers are not.
        auto kept = std::make_shared<std::tuple<Arguments...>>(std::move(arguments)...);
        m_hand([function, kept](Scene& scene) {
            std::apply([&](Arguments&... values) { std::invoke(function, scene, std::move(values)...); }, *kept);
        });
    }

    /// Has a layer added, as its project has it; not at all where that has only others of the file.
    template <typename Function, typename... Arguments>
    void HandLayer(Function add, LayerSource source, Arguments... arguments) {
        const ProjectFilePart::Layer* const wanted = m_wanted ? m_wanted->Find(source.part) : nullptr;
        if (m_wanted && !wanted) {
            return;
        }
        using Dress = std::optional<ProjectFilePart::Layer>;
        const auto addAndDress = [add, order = m_order](Scene& scene, LayerSource&& from, const Dress& dress,
                                                        Arguments&&... layer) {
            const LayerId id = std::invoke(add, scene, std::move(layer)..., std::move(from));
            if (dress) {
                order->Settle(scene, id, *dress);
            }
        };
        Hand(addAndDress, std::move(source), wanted ? Dress(*wanted) : Dress(), std::move(arguments)...);
    }

    void AddVectorLayers(const std::filesystem::path& file, FileKind kind) {
        for (VectorLayer& layer : OpenVectorLayers(file)) {
            std::optional<CoordinateSystem> system = SystemFromWkt(layer.wkt);
            system = system ? system : SystemFromName(layer.wkt);
            LayerSource source{NameOf(file), system.value_or(CoordinateSystem()), file, layer.name};
            source.name += layer.name.empty() ? "" : " (" + layer.name + ")";
            if (kind == FileKind::GeoJson && !source.system.IsKnown() && FitsTheGlobe(layer.extent) && m_system) {
                source.system = GlobeSystem(); // as its definition has it
            }
            if (const std::optional<MapTransformation> transformation = Relate(source)) {
                Transform(layer, *transformation);
            }
            HandLayer(&Scene::AddVectorLayer, std::move(source), std::move(layer));
        }
    }

    void AddTiff(const std::filesystem::path& path) {
        const auto file = std::make_shared<TiffFile>(path); // it is read as long as it is shown
        LayerSource source{NameOf(path), SystemFromGeoKeys(file->GeoKeys(), file->GeoTexts()), path};
        if (!source.system.IsKnown()) {
            source.system = SystemBeside(path);
        }
        AddRaster(RasterLayer::ForTiff(file, path), std::move(source));
    }

    void AddRaster(RasterLayer raster, LayerSource source) {
        if (const std::optional<MapTransformation> transformation = Relate(source)) {
            if (std::optional<RasterLayer> transformed = raster.Transformed(*transformation)) {
                raster = *std::move(transformed);
            }
        }
        if (m_hasReliefs) {
            raster.KeepImage(Scene::kDrapedSide);
        }
        HandLayer(&Scene::AddRaster, std::move(source), std::move(raster));
    }

    void AddElevations(ElevationGrid grid, const std::filesystem::path& file, LayerSource source) {
        if (const std::optional<MapTransformation> transformation = Relate(source)) {
            grid = Transform(grid, *transformation);
        }
        // The same points may be gathered into cells of several sizes.
        std::wstring name = file.wstring();
        if (source.cellSize) {
            name += L" in cells of ";
            name += std::to_wstring(*source.cellSize);
        }
        const std::optional<ShadeWanted> shade = FindShade();
        if (shade) {
            const double exaggeration = FindExaggeration(grid, source.system, *shade);
            Hand(&Scene::ShadeRasters, RasterLayer::ForHillshade(grid, exaggeration, name), shade->strength, source);
        }
        const ProjectFilePart::Layer* const wanted = m_wanted ? m_wanted->Find(source.part) : nullptr;
        if (wanted ? wanted->kind == LayerKind::Raster : m_options.flat) {
            HandLayer(&Scene::AddRaster, std::move(source), RasterLayer::ForElevations(grid, name));
        } else if (wanted || !shade) {
            HandLayer(&Scene::AddSurface, std::move(source), Surface(std::move(grid)));
        }
    }

    void AddCloud(const std::filesystem::path& file) {
        std::unique_ptr<CloudReader> reader = OpenCloudReader(file);
        LayerSource source{NameOf(file), reader->GetSystem(), file};
        const CoordinateSystem own = source.system;
        CloudOpener again = [file] { return OpenCloudReader(file); };
        if (Relate(source)) {
            // The cloud is read on other threads, each of which needs a transformation of its own.
            const auto bring = [own, target = source.system, systems = m_register](
                                   std::unique_ptr<CloudReader> points) -> std::unique_ptr<CloudReader> {
                std::optional<MapTransformation> transformation = systems.Relate(own, target);
                return transformation ? TransformCloud(std::move(points), *std::move(transformation), target)
                                      : std::move(points);
            };
            reader = bring(std::move(reader));
            again = [file, bring] { return bring(OpenCloudReader(file)); };
        }
        HandLayer(&Scene::AddCloud, std::move(source), std::move(reader), std::move(again));
    }

    /// The way from the layer's system to the scene's, which the source is in afterwards; none where it is in that
    /// already, and where nobody knows.
    std::optional<MapTransformation> Relate(LayerSource& source) {
        if (!source.system.IsKnown()) {
            return std::nullopt;
        }
        source.system = m_register.Complete(source.system);
        if (!m_system) {
            m_system = source.system;
        }
        if (m_register.AreSame(source.system, *m_system)) {
            return std::nullopt;
        }
        std::optional<MapTransformation> transformation = m_register.Relate(source.system, *m_system);
        if (!transformation) {
            Hand(&Scene::AddRemark,
                 source.name + ": cannot be brought from " + NameOf(source.system) + " into " + NameOf(*m_system));
            return std::nullopt;
        }
        Hand(&Scene::AddRemark,
             source.name + ": transformed from " + NameOf(source.system) + " into " + NameOf(*m_system));
        source.system = *m_system;
        return transformation;
    }

    /// What the file's elevations shade, as its project or else the options have it.
    std::optional<ShadeWanted> FindShade() const {
        if (m_wanted && m_wanted->shade) {
            return m_wanted->shade;
        }
        return m_options.hillshadePercent > 0.0 ? std::optional(ShadeWanted{m_options.hillshadePercent / 100.0,
                                                                            m_options.exaggeration, m_options.units})
                                                : std::nullopt;
    }

    /// How much steeper the slopes of a grid look than its numbers say.
    static double FindExaggeration(const ElevationGrid& grid, const CoordinateSystem& system,
                                   const ShadeWanted& shade) {
        const Extent extent = grid.FindExtent();
        const CoordinateSystem units = FindUnits({{{{}, system}, extent, grid.MaybeInDegrees()}});
        const MapUnits mapUnits = shade.units.value_or(*units.units);
        return shade.exaggeration * FindHeightScale(mapUnits, units.heightMetres, extent.Center().y);
    }

    const ViewerOptions& m_options;
    std::shared_ptr<ProjectOrder> m_order; ///< for the thread that draws
    Receiver m_hand;
    SystemRegister m_register;
    std::optional<CoordinateSystem> m_system; ///< of the scene, once it is known
    std::optional<ProjectFilePart> m_wanted;  ///< of the file that is being read
    bool m_hasReliefs = false;                ///< or will have
};

namespace {

bool IsOfKind(const std::filesystem::path& file, FileKind kind) {
    try {
        return DetectKind(file) == kind;
    } catch (const FileError&) {
        return false; // it is told when it is opened
    }
}

bool MakesRelief(const std::filesystem::path& file, const ViewerOptions& options) {
    return !options.flat && (options.cloudCellSize || IsOfKind(file, FileKind::AsciiGrid));
}

/// Files that are in degrees as a rule follow the others, whose system they take.
std::vector<std::filesystem::path> PutGlobeLast(std::vector<std::filesystem::path> files) {
    std::stable_partition(files.begin(), files.end(),
                          [](const auto& file) { return !IsOfKind(file, FileKind::GeoJson); });
    return files;
}

} // namespace

void StyleScene(Scene& scene, const ViewerOptions& options) {
    scene.SetUnits(options.units);
    scene.SetLabelProperty(options.labelProperty);
    scene.ChangeStyles([&](LayerStyle& style) {
        style.colorMode = options.colorMode;
        style.pointSizePixels = options.pointSizePixels;
        style.fillOpacity = options.fillPercent / 100.0;
        style.features = options.features;
    });
    scene.ShadeClouds(options.cloudsShaded);
    scene.SetExaggeration(options.exaggeration);
    if (options.frames > 0) {
        scene.ReadRastersAtOnce(); // no later frame would show them finer
    }
}

SceneLoading::SceneLoading(Scene& scene, const ViewerOptions& options)
    : m_scene(scene), m_options(options), m_order(std::make_shared<ProjectOrder>()),
      m_wantsRelief(options.computedSide > 0) {
    if (!options.coordinateSystem.empty()) {
        FindSystem(SystemRegister(FindSystemDatabase()), options);
    }
}

SceneLoading::~SceneLoading() {
    StopThread();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void SceneLoading::Add(const std::vector<std::filesystem::path>& files) {
    const std::vector<std::filesystem::path> ordered = PutGlobeLast(files);
    const bool hasReliefs =
        std::any_of(files.begin(), files.end(), [this](const auto& file) { return MakesRelief(file, m_options); });
    const std::lock_guard lock(m_mutex);
    m_queue.insert(m_queue.end(), ordered.begin(), ordered.end());
    m_hasReliefs = m_hasReliefs || hasReliefs;
    m_fileCount = (m_isRunning ? m_fileCount : 0) + files.size();
    if (!m_isRunning && (!m_queue.empty() || m_wantsRelief)) {
        if (m_thread.joinable()) {
            m_thread.join(); // it has found the queue empty
        }
        m_isRunning = true;
        m_thread = std::thread([this] { Run(); });
    }
}

void SceneLoading::Add(const Project& project) {
    std::vector<ProjectFilePart> parts;
    for (const ProjectLayer& layer : project.layers) {
        // A layer that the project has twice takes reading its file twice.
        auto part = std::find_if(parts.begin(), parts.end(), [&](const ProjectFilePart& known) {
            return known.file == layer.file && known.cellSize == layer.cellSize && !known.Find(layer.part);
        });
        if (part == parts.end()) {
            part = parts.insert(part, ProjectFilePart{layer.file, layer.cellSize, {}, {}});
        }
        part->layers.push_back({m_lastPlace++, layer.part, layer.kind, layer.style});
    }
    if (project.hillshade) {
        auto part = std::find_if(parts.begin(), parts.end(), [&](const ProjectFilePart& known) {
            return known.file == project.hillshade->file && known.cellSize == project.hillshade->cellSize;
        });
        if (part == parts.end()) {
            part = parts.insert(part, ProjectFilePart{project.hillshade->file, project.hillshade->cellSize, {}, {}});
        }
        part->shade = ShadeWanted{project.hillshade->strength, project.settings.exaggeration, project.settings.units};
    }
    const bool hasReliefs = std::any_of(project.layers.begin(), project.layers.end(),
                                        [](const ProjectLayer& layer) { return layer.kind == LayerKind::Relief; });
    std::vector<std::filesystem::path> files;
    files.reserve(parts.size());
    for (const ProjectFilePart& part : parts) {
        files.push_back(part.file);
    }
    {
        const std::lock_guard lock(m_mutex);
        m_parts.insert(m_parts.end(), parts.begin(), parts.end());
        m_preferredSystem = project.settings.coordinateSystem;
        m_hasReliefs = m_hasReliefs || hasReliefs;
    }
    Add(files);
}

/// What a project wants of the file.
std::optional<ProjectFilePart> SceneLoading::TakePart(const std::filesystem::path& file) {
    const std::lock_guard lock(m_mutex);
    const auto found =
        std::find_if(m_parts.begin(), m_parts.end(), [&](const ProjectFilePart& part) { return part.file == file; });
    if (found == m_parts.end()) {
        return std::nullopt;
    }
    ProjectFilePart part = std::move(*found);
    m_parts.erase(found);
    return part;
}

void SceneLoading::Clear() {
    Stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_loader.reset();
    m_additions.clear();
    m_faults.clear();
    m_parts.clear();
    m_preferredSystem.clear();
    m_scene.Clear();
}

void SceneLoading::AddFault(std::string fault) {
    const std::lock_guard lock(m_mutex);
    m_faults.push_back(std::move(fault));
}

bool SceneLoading::IsLoading() const {
    const std::lock_guard lock(m_mutex);
    return m_isRunning || !m_additions.empty();
}

void SceneLoading::Stop() {
    if (const std::deque<std::filesystem::path> left = StopThread(); !left.empty()) {
        constexpr std::size_t kMostNames = 3;
        std::string names = NameOf(left.front());
        for (std::size_t file = 1; file < std::min(left.size(), kMostNames); ++file) {
            names += ", " + NameOf(left[file]);
        }
        if (left.size() > kMostNames) {
            names += " and " + std::to_string(left.size() - kMostNames) + " more";
        }
        m_scene.AddRemark(names + ": not read, the reading was stopped");
    }
    Update(); // clouds that are on their way to the scene are read there already
    m_scene.StopReading();
}

/// Gives up the file that is being read, and hands out those that were still to be read.
std::deque<std::filesystem::path> SceneLoading::StopThread() {
    const std::lock_guard lock(m_mutex);
    if (m_isRunning && m_progress) {
        m_progress->Stop();
    }
    m_wantsRelief = false;
    m_parts.clear();
    m_wasStopped = m_wasStopped || !m_queue.empty();
    m_fileCount -= m_queue.size();
    return std::exchange(m_queue, {});
}

bool SceneLoading::IsStopping() const {
    const std::lock_guard lock(m_mutex);
    return m_isRunning && m_progress && m_progress->IsStopped();
}

bool SceneLoading::WasStopped() const {
    const std::lock_guard lock(m_mutex);
    return m_wasStopped || m_scene.WasStopped();
}

SceneLoading::Progress SceneLoading::GetProgress() const {
    const std::lock_guard lock(m_mutex);
    return {m_current, m_fileCount - m_queue.size(), m_fileCount, m_progress ? m_progress->GetState() : ReadingState()};
}

void SceneLoading::Update() {
    std::vector<Addition> additions;
    {
        const std::lock_guard lock(m_mutex);
        additions.swap(m_additions);
    }
    for (const Addition& addition : additions) {
        addition(m_scene);
    }
}

void SceneLoading::WaitUntilLoaded() {
    while (IsLoading()) {
        Update();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::vector<std::string> SceneLoading::GetFaults() const {
    const std::lock_guard lock(m_mutex);
    return m_faults;
}

/// On the thread that reads.
void SceneLoading::Run() {
    // The loader stays from one call of Add to the next: it knows the scene's coordinate system.
    if (!m_loader) {
        m_loader = std::make_unique<FileLoader>(m_options, m_order, [this](Addition addition) {
            const std::lock_guard lock(m_mutex);
            m_additions.push_back(std::move(addition));
        });
    }
    while (const std::optional<std::filesystem::path> file = TakeNext()) {
        try {
            const ReadingScope scope(m_progress); // which only this thread replaces
            m_loader->PreferSystem(FindPreferredSystem());
            m_loader->AddFile(*file, TakePart(*file));
        } catch (const ReadingStopped&) {
            NoteStopped();
        } catch (const std::exception& error) {
            AddFault(error.what());
        }
    }
}

std::string SceneLoading::FindPreferredSystem() const {
    const std::lock_guard lock(m_mutex);
    return m_preferredSystem;
}

/// The next file; without one the thread ends.
std::optional<std::filesystem::path> SceneLoading::TakeNext() {
    const std::lock_guard lock(m_mutex);
    if (m_queue.empty()) {
        if (std::exchange(m_wantsRelief, false)) {
            const int side = m_options.computedSide;
            m_additions.emplace_back([side](Scene& scene) {
                scene.AddRaster(RasterLayer::ForComputedRelief(side, scene.GetExtent().Center()));
            });
        }
        m_isRunning = false;
        return std::nullopt;
    }
    if (m_hasReliefs) {
        m_loader->ExpectReliefs();
    }
    const std::filesystem::path file = std::move(m_queue.front());
    m_queue.pop_front();
    m_current = NameOf(file);
    m_progress = std::make_shared<ReadingProgress>();
    m_progress->Begin("opening");
    return file;
}

/// The file that is being read will not be shown.
void SceneLoading::NoteStopped() {
    const std::lock_guard lock(m_mutex);
    m_wasStopped = true;
    m_additions.emplace_back([name = m_current](Scene& scene) {
        scene.AddRemark(name + ": not shown, the reading was stopped before its end");
    });
}

} // namespace OrrinViewer
