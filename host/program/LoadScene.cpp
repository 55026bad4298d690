#include "LoadScene.h"

#include "files/FileError.h"
#include "files/OpenFile.h"

#include <stdexcept>
#include <utility>

namespace OrrinViewer {

namespace {

void AddElevations(Scene& scene, ElevationGrid grid, const std::filesystem::path& file, const ViewerOptions& options) {
    if (options.hillshadePercent > 0.0) {
        scene.ShadeRasters(RasterLayer::ForHillshade(grid, options.exaggeration, file.wstring()),
                           options.hillshadePercent / 100.0);
    }
    if (options.flat) {
        scene.AddRaster(RasterLayer::ForElevations(grid, file.wstring()));
    } else if (options.hillshadePercent <= 0.0) {
        scene.AddSurface(std::move(grid));
    }
}

void AddFile(Scene& scene, const std::filesystem::path& file, const ViewerOptions& options) {
    const FileKind kind = DetectKind(file);
    if (IsVectorKind(kind)) {
        for (VectorLayer& layer : OpenVectorLayers(file)) {
            scene.AddVectorLayer(std::move(layer));
        }
        return;
    }
    switch (kind) {
    case FileKind::AsciiGrid:
        AddElevations(scene, OpenElevationGrid(file), file, options);
        return;
    case FileKind::Image:
        scene.AddRaster(RasterLayer::ForImage(OpenRaster(file), file.wstring()));
        return;
    default:
        break;
    }
    if (options.cloudCellSize) {
        AddElevations(scene, GridPoints(OpenPointCloud(file), *options.cloudCellSize), file, options);
    } else {
        scene.AddCloud([file] { return OpenCloudReader(file); });
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

Scene LoadScene(const ViewerOptions& options) {
    Scene scene;
    for (const std::filesystem::path& file : options.files) {
        AddFile(scene, file, options);
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
