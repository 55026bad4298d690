#include "LoadScene.h"

#include "files/FileError.h"
#include "files/GeoKeys.h"
#include "files/OpenFile.h"
#include "files/TiffFile.h"
#include "files/WktText.h"

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

/// How much steeper the slopes of a grid look than its numbers say.
double FindExaggeration(const ElevationGrid& grid, const CoordinateSystem& system, const ViewerOptions& options) {
    const Extent extent = grid.FindExtent();
    const CoordinateSystem units = FindUnits({{{{}, system}, extent, grid.MaybeInDegrees()}});
    const MapUnits mapUnits = options.units.value_or(*units.units);
    return options.exaggeration * FindHeightScale(mapUnits, units.heightMetres, extent.Center().y);
}

void AddElevations(Scene& scene, ElevationGrid grid, const std::filesystem::path& file, const LayerSource& source,
                   const ViewerOptions& options) {
    if (options.hillshadePercent > 0.0) {
        const double exaggeration = FindExaggeration(grid, source.system, options);
        scene.ShadeRasters(RasterLayer::ForHillshade(grid, exaggeration, file.wstring()),
                           options.hillshadePercent / 100.0);
    }
    if (options.flat) {
        scene.AddRaster(RasterLayer::ForElevations(grid, file.wstring()), source);
    } else if (options.hillshadePercent <= 0.0) {
        scene.AddSurface(std::move(grid), source);
    }
}

void AddTiff(Scene& scene, const std::filesystem::path& path) {
    const auto file = std::make_shared<TiffFile>(path); // it is read as long as it is shown
    CoordinateSystem system = SystemFromGeoKeys(file->GeoKeys(), file->GeoTexts());
    scene.AddRaster(RasterLayer::ForTiff(file, path),
                    {NameOf(path), system.IsKnown() ? std::move(system) : SystemBeside(path)});
}

void AddFile(Scene& scene, const std::filesystem::path& file, const ViewerOptions& options) {
    const FileKind kind = DetectKind(file);
    if (IsVectorKind(kind)) {
        for (VectorLayer& layer : OpenVectorLayers(file)) {
            LayerSource source{NameOf(file), SystemFromWkt(layer.wkt).value_or(CoordinateSystem())};
            source.name += layer.name.empty() ? "" : " (" + layer.name + ")";
            scene.AddVectorLayer(std::move(layer), std::move(source));
        }
        return;
    }
    switch (kind) {
    case FileKind::AsciiGrid:
        AddElevations(scene, OpenElevationGrid(file), file, {NameOf(file), SystemBeside(file)}, options);
        return;
    case FileKind::Tiff:
        AddTiff(scene, file);
        return;
    case FileKind::Image:
        scene.AddRaster(RasterLayer::ForImage(OpenRaster(file), file.wstring()), {NameOf(file), SystemBeside(file)});
        return;
    case FileKind::Ply:
        if (std::optional<Mesh> mesh = options.cloudCellSize ? std::nullopt : OpenMesh(file)) {
            scene.AddMesh(*std::move(mesh), {NameOf(file), {}});
            return;
        }
        break;
    default:
        break;
    }
    std::unique_ptr<CloudReader> reader = OpenCloudReader(file);
    LayerSource source{NameOf(file), reader->GetSystem()};
    if (options.cloudCellSize) {
        AddElevations(scene, GridPoints(OpenPointCloud(file), *options.cloudCellSize), file, source, options);
    } else {
        scene.AddCloud(
            std::move(reader), [file] { return OpenCloudReader(file); }, std::move(source));
    }
}

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

} // namespace

Scene LoadScene(const ViewerOptions& options, std::vector<std::string>& faults) {
    Scene scene;
    for (const std::filesystem::path& file : options.files) {
        try {
            AddFile(scene, file, options);
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
