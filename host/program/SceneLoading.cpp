#include "SceneLoading.h"

#include "SystemDatabase.h"
#include "files/FileError.h"
#include "files/GeoKeys.h"
#include "files/OpenFile.h"
#include "files/TiffFile.h"
#include "files/WktText.h"
#include "systems/SystemRegister.h"
#include "systems/TransformLayers.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace OrrinViewer {

namespace {

std::string NameOf(const std::filesystem::path& file) {
    const std::u8string name = file.filename().u8string();
    return {name.begin(), name.end()};
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

/// Reads files for a scene: hands out what has to be done to it, to be done by the thread that draws. The first
/// coordinate system that it meets, or the one that the options name, is the scene's: what comes in another one is
/// transformed.
class FileLoader {
public:
    using Receiver = std::function<void(std::function<void(Scene& scene)> addition)>;

    FileLoader(const ViewerOptions& options, Receiver hand)
        : m_options(options), m_hand(std::move(hand)), m_register(FindSystemDatabase()) {
        if (!m_options.coordinateSystem.empty()) {
            m_system = FindSystem(m_register, m_options);
        }
    }

    void AddFile(const std::filesystem::path& file) {
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
            if (std::optional<Mesh> mesh = m_options.cloudCellSize ? std::nullopt : OpenMesh(file)) {
                Hand(&Scene::AddMesh, *std::move(mesh), LayerSource{NameOf(file), {}, file});
                return;
            }
            break;
        default:
            break;
        }
        if (m_options.cloudCellSize) {
            LayerSource source{NameOf(file), OpenCloudReader(file)->GetSystem(), file};
            AddElevations(GridPoints(OpenPointCloud(file), *m_options.cloudCellSize), file, std::move(source));
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

    void AddVectorLayers(const std::filesystem::path& file, FileKind kind) {
        for (VectorLayer& layer : OpenVectorLayers(file)) {
            std::optional<CoordinateSystem> system = SystemFromWkt(layer.wkt);
            system = system ? system : SystemFromName(layer.wkt);
            LayerSource source{NameOf(file), system.value_or(CoordinateSystem()), file};
            source.name += layer.name.empty() ? "" : " (" + layer.name + ")";
            if (kind == FileKind::GeoJson && !source.system.IsKnown() && FitsTheGlobe(layer.extent) && m_system) {
                source.system = GlobeSystem(); // as its definition has it
            }
            if (const std::optional<MapTransformation> transformation = Relate(source)) {
                Transform(layer, *transformation);
            }
            Hand(&Scene::AddVectorLayer, std::move(layer), std::move(source));
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
        Hand(&Scene::AddRaster, std::move(raster), std::move(source));
    }

    void AddElevations(ElevationGrid grid, const std::filesystem::path& file, LayerSource source) {
        if (const std::optional<MapTransformation> transformation = Relate(source)) {
            grid = Transform(grid, *transformation);
        }
        if (m_options.hillshadePercent > 0.0) {
            const double exaggeration = FindExaggeration(grid, source.system);
            Hand(&Scene::ShadeRasters, RasterLayer::ForHillshade(grid, exaggeration, file.wstring()),
                 m_options.hillshadePercent / 100.0);
        }
        if (m_options.flat) {
            Hand(&Scene::AddRaster, RasterLayer::ForElevations(grid, file.wstring()), std::move(source));
        } else if (m_options.hillshadePercent <= 0.0) {
            Hand(&Scene::AddSurface, Surface(std::move(grid)), std::move(source));
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
        Hand(&Scene::AddCloud, std::move(reader), std::move(again), std::move(source));
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

    /// How much steeper the slopes of a grid look than its numbers say.
    double FindExaggeration(const ElevationGrid& grid, const CoordinateSystem& system) const {
        const Extent extent = grid.FindExtent();
        const CoordinateSystem units = FindUnits({{{{}, system}, extent, grid.MaybeInDegrees()}});
        const MapUnits mapUnits = m_options.units.value_or(*units.units);
        return m_options.exaggeration * FindHeightScale(mapUnits, units.heightMetres, extent.Center().y);
    }

    const ViewerOptions& m_options;
    Receiver m_hand;
    SystemRegister m_register;
    std::optional<CoordinateSystem> m_system; ///< of the scene, once it is known
};

namespace {

bool IsGeoJson(const std::filesystem::path& file) {
    try {
        return DetectKind(file) == FileKind::GeoJson;
    } catch (const FileError&) {
        return false; // it is told when it is opened
    }
}

/// Files that are in degrees as a rule follow the others, whose system they take.
std::vector<std::filesystem::path> PutGlobeLast(std::vector<std::filesystem::path> files) {
    std::stable_partition(files.begin(), files.end(), [](const auto& file) { return !IsGeoJson(file); });
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
    : m_scene(scene), m_options(options), m_wantsRelief(options.computedSide > 0) {
    if (!options.coordinateSystem.empty()) {
        FindSystem(SystemRegister(FindSystemDatabase()), options);
    }
}

SceneLoading::~SceneLoading() {
    Stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void SceneLoading::Add(const std::vector<std::filesystem::path>& files) {
    const std::vector<std::filesystem::path> ordered = PutGlobeLast(files);
    const std::lock_guard lock(m_mutex);
    m_queue.insert(m_queue.end(), ordered.begin(), ordered.end());
    m_fileCount += files.size();
    if (!m_isRunning && (!m_queue.empty() || m_wantsRelief)) {
        if (m_thread.joinable()) {
            m_thread.join(); // it has found the queue empty
        }
        m_isRunning = true;
        m_thread = std::thread([this] { Run(); });
    }
}

bool SceneLoading::IsLoading() const {
    const std::lock_guard lock(m_mutex);
    return m_isRunning || !m_additions.empty();
}

void SceneLoading::Stop() {
    const std::lock_guard lock(m_mutex);
    m_fileCount -= m_queue.size();
    m_queue.clear();
}

SceneLoading::Progress SceneLoading::GetProgress() const {
    const std::lock_guard lock(m_mutex);
    return {m_current, m_fileCount - m_queue.size(), m_fileCount};
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
    const auto note = [this](const char* fault) {
        const std::lock_guard lock(m_mutex);
        m_faults.emplace_back(fault);
    };
    // The loader stays from one call of Add to the next: it knows the scene's coordinate system.
    if (!m_loader) {
        m_loader = std::make_unique<FileLoader>(m_options, [this](Addition addition) {
            const std::lock_guard lock(m_mutex);
            m_additions.push_back(std::move(addition));
        });
    }
    while (const std::optional<std::filesystem::path> file = TakeNext()) {
        try {
            m_loader->AddFile(*file);
        } catch (const std::exception& error) {
            note(error.what());
        }
    }
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
    const std::filesystem::path file = std::move(m_queue.front());
    m_queue.pop_front();
    m_current = NameOf(file);
    return file;
}

} // namespace OrrinViewer
