#include "LoadScene.h"

#include "files/FileError.h"
#include "files/OpenFile.h"

#include <stdexcept>
#include <utility>

namespace OrrinViewer {

namespace {

/// True where the positions can be longitudes and latitudes in degrees.
bool FitsTheGlobe(const Extent& extent) {
    return extent.low.x >= -180.0 && extent.high.x <= 180.0 && extent.low.y >= -90.0 && extent.high.y <= 90.0;
}

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
    switch (DetectKind(file)) {
    case FileKind::GeoJson:
        scene.AddVectorLayer(OpenVectorLayer(file));
        return;
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
        scene.AddCloud(OpenPointCloud(file));
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
    // Coordinates of GeoJSON are degrees, unless they cannot be. The other kinds of files are in metres as a rule.
    const bool areDegrees = !scene.GetVectorLayers().empty() && FitsTheGlobe(scene.GetExtent());
    scene.SetUnits(options.units.value_or(areDegrees ? MapUnits::Degrees : MapUnits::Metres));
    if (!options.labelProperty.empty()) {
        scene.SetLabels(CollectLabelsOrExplain(scene.GetVectorLayers(), options.labelProperty));
    }
    scene.ColorClouds(options.colorMode);
    scene.SetPointSize(options.pointSizePixels);
    scene.SetExaggeration(options.exaggeration);
    scene.SetFillOpacity(options.fillPercent / 100.0);
    return scene;
}

} // namespace OrrinViewer
