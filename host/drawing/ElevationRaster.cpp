#include "ElevationRaster.h"

#include "SceneColors.h"

namespace OrrinViewer {

Raster MakeElevationRaster(const ElevationGrid& grid) {
    Raster raster;
    raster.image.width = static_cast<int>(grid.columns);
    raster.image.height = static_cast<int>(grid.rows);
    raster.pixelToMap = {
        grid.cellSize, 0.0, 0.0, -grid.cellSize, grid.westX - grid.cellSize * 0.5, grid.northY + grid.cellSize * 0.5};
    const ElevationRange range = FindElevationRange(ElevationsWithData(grid));
    raster.image.rgba.reserve(grid.elevations.size() * 4);
    for (const double elevation : grid.elevations) {
        const bool isMeasured = !std::isnan(elevation);
        const Rgb color = isMeasured ? ColorOfElevation(elevation, range) : Rgb{};
        raster.image.rgba.insert(raster.image.rgba.end(),
                                 {color.red, color.green, color.blue, static_cast<std::uint8_t>(isMeasured ? 255 : 0)});
    }
    return raster;
}

} // namespace OrrinViewer
