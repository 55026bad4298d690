#include "LoadScene.h"

#include "SystemDatabase.h"
#include "files/FileError.h"
#include "files/GeoKeys.h"
#include "files/OpenFile.h"
#include "files/TiffFile.h"
#include "files/WktText.h"
#include "systems/SystemRegister.h"
#include "systems/TransformLayers.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
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

/// Reads files into a scene. The first coordinate system that it meets, or the one that the options name, is the
/// scene's: what comes in another one is transformed.
class SceneLoader {
public:
    SceneLoader(const ViewerOptions& options, Scene& scene)
        : m_options(options), m_scene(scene), m_register(FindSystemDatabase()) {
        if (m_options.coordinateSystem.empty()) {
            return;
        }
        m_system = m_register.Find(m_options.coordinateSystem);
        if (!m_system) {
            throw std::runtime_error("--crs: takes a coordinate system of the register, such as EPSG:25832, not " +
                                     QuoteForMessage(m_options.coordinateSystem));
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
            AddElevations(OpenElevationGrid(file), file, {NameOf(file), SystemBeside(file)});
            return;
        case FileKind::Tiff:
            AddTiff(file);
            return;
        case FileKind::Image:
            AddRaster(RasterLayer::ForImage(OpenRaster(file), file.wstring()), {NameOf(file), SystemBeside(file)});
            return;
        case FileKind::Ply:
            if (std::optional<Mesh> mesh = m_options.cloudCellSize ? std::nullopt : OpenMesh(file)) {
                m_scene.AddMesh(*std::move(mesh), {NameOf(file), {}});
                return;
            }
            break;
        default:
            break;
        }
        if (m_options.cloudCellSize) {
            LayerSource source{NameOf(file), OpenCloudReader(file)->GetSystem()};
            AddElevations(GridPoints(OpenPointCloud(file), *m_options.cloudCellSize), file, std::move(source));
        } else {
            AddCloud(file);
        }
    }

private:
    void AddVectorLayers(const std::filesystem::path& file, FileKind kind) {
        for (VectorLayer& layer : OpenVectorLayers(file)) {
            std::optional<CoordinateSystem> system = SystemFromWkt(layer.wkt);
            system = system ? system : SystemFromName(layer.wkt);
            LayerSource source{NameOf(file), system.value_or(CoordinateSystem())};
            source.name += layer.name.empty() ? "" : " (" + layer.name + ")";
            if (kind == FileKind::GeoJson && !source.system.IsKnown() && FitsTheGlobe(layer.extent) && m_system) {
                source.system = GlobeSystem(); // as its definition has it
            }
            if (const std::optional<MapTransformation> transformation = Relate(source)) {
                Transform(layer, *transformation);
            }
            m_scene.AddVectorLayer(std::move(layer), std::move(source));
        }
    }

    void AddTiff(const std::filesystem::path& path) {
        const auto file = std::make_shared<TiffFile>(path); // it is read as long as it is shown
        LayerSource source{NameOf(path), SystemFromGeoKeys(file->GeoKeys(), file->GeoTexts())};
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
        m_scene.AddRaster(std::move(raster), std::move(source));
    }

    void AddElevations(ElevationGrid grid, const std::filesystem::path& file, LayerSource source) {
        if (const std::optional<MapTransformation> transformation = Relate(source)) {
            grid = Transform(grid, *transformation);
        }
        if (m_options.hillshadePercent > 0.0) {
            const double exaggeration = FindExaggeration(grid, source.system);
            m_scene.ShadeRasters(RasterLayer::ForHillshade(grid, exaggeration, file.wstring()),
                                 m_options.hillshadePercent / 100.0);
        }
        if (m_options.flat) {
            m_scene.AddRaster(RasterLayer::ForElevations(grid, file.wstring()), std::move(source));
        } else if (m_options.hillshadePercent <= 0.0) {
            m_scene.AddSurface(std::move(grid), std::move(source));
        }
    }

    void AddCloud(const std::filesystem::path& file) {
        std::unique_ptr<CloudReader> reader = OpenCloudReader(file);
        LayerSource source{NameOf(file), reader->GetSystem()};
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
        m_scene.AddCloud(std::move(reader), std::move(again), std::move(source));
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
            m_scene.AddRemark(source.name + ": cannot be brought from " + NameOf(source.system) + " into " +
                              NameOf(*m_system));
            return std::nullopt;
        }
        m_scene.AddRemark(source.name + ": transformed from " + NameOf(source.system) + " into " + NameOf(*m_system));
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
    Scene& m_scene;
    SystemRegister m_register;
    std::optional<CoordinateSystem> m_system; ///< of the scene, once it is known
};

std::vector<FeatureLabel> CollectLabelsOrExplain(const std::vector<VectorLayer>& layers, const std::string& property) {
    std::vector<FeatureLabel> labels = CollectLabels(layers, property);
    if (!labels.empty()) {
        return labels;
    }
    std::string known;
    for (const std::string& name : ListProperties(layers)) {
        known += known.empty() ? name : ", " + name;
    }
    throw std::runtime_error("No feature has a property " + QuoteForMessage(property) + "; " +
                             (known.empty() ? "none of them has any" : "there are: " + known));
}

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

Scene LoadScene(const ViewerOptions& options, std::vector<std::string>& faults) {
    Scene scene;
    SceneLoader loader(options, scene);
    for (const std::filesystem::path& file : PutGlobeLast(options.files)) {
        try {
            loader.AddFile(file);
        } catch (const FileError& error) {
            faults.emplace_back(error.what());
            if (faults.size() == options.files.size() && options.computedSide == 0) {
                throw;
            }
        }
    }
    if (options.computedSide > 0) {
        scene.AddRaster(RasterLayer::ForComputedRelief(options.computedSide, scene.GetExtent().Center()));
    }
    scene.SetUnits(options.units);
    if (!options.labelProperty.empty()) {
        scene.SetLabels(CollectLabelsOrExplain(scene.GetVectorLayers(), options.labelProperty));
    }
    scene.ColorClouds(options.colorMode);
    if (options.pointSizePixels) {
        scene.SetPointSize(*options.pointSizePixels);
    }
    scene.ShadeClouds(options.cloudsShaded);
    scene.SetExaggeration(options.exaggeration);
    scene.SetFillOpacity(options.fillPercent / 100.0);
    scene.SetFeatureStyle(options.features);
    return scene;
}

} // namespace OrrinViewer
