#pragma once

#include "CloudLayer.h"
#include "FeatureGeometry.h"
#include "RasterLayer.h"
#include "SceneColors.h"
#include "Surface.h"
#include "data/VectorLayer.h"
#include "map/FeatureLabels.h"
#include "map/MapTicks.h"

#include <OrrinDisplay.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// The data that all windows show, and how it is drawn. This is the part to read for how a host uses the library.
class Scene {
public:
    // What is added is drawn in this order, whatever the order of the calls: rasters, surfaces, clouds, vectors. Add
    // everything before the first frame.

    void AddCloud(PointCloud cloud);
    void AddSurface(ElevationGrid grid);
    void AddRaster(RasterLayer raster);
    /// Shades all rasters by this one; how strongly is 0 to 1.
    void ShadeRasters(RasterLayer shade, double strength);
    void AddVectorLayer(VectorLayer layer);
    const std::vector<VectorLayer>& GetVectorLayers() const { return m_layers; }

    const Extent& GetExtent() const { return m_extent; }
    std::size_t CountPoints() const;
    std::size_t CountFeatures() const;
    std::size_t CountCells() const;
    std::size_t CountPixels() const;

    void SetUnits(MapUnits units) { m_units = units; }
    MapUnits GetUnits() const { return m_units; }
    void SetLabels(std::vector<FeatureLabel> labels) { m_labels = std::move(labels); }
    /// Those of large features first.
    const std::vector<FeatureLabel>& GetLabels() const { return m_labels; }

    void SetPointSize(double pixels) { m_pointSizePixels = pixels; }
    double GetPointSize() const { return m_pointSizePixels; }
    /// Colours all clouds; without a mode, by the one that suits the first cloud.
    void ColorClouds(std::optional<ColorMode> mode);
    /// Switches to the next colouring; the name of the new one.
    const char* SwitchColors();
    const char* NameOfColors() const;
    /// Heights are multiplied by this, for the relief of flat country to show.
    void SetExaggeration(double factor) { m_exaggeration = factor; }
    double GetExaggeration() const { return m_exaggeration; }
    /// From 0, areas are not filled, to 1, nothing shows through them.
    void SetFillOpacity(double opacity) { m_fillOpacity = opacity; }

    /// Has each frame read all that it shows of rasters, however long that takes, instead of a few milliseconds' worth.
    void ReadRastersAtOnce();

    /// Has the view show everything: along an axis, or in perspective from the south-south-west.
    void ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const;
    /// Draws one frame into the view's back buffer, of what the view shows. Its main context must be current.
    /// False when rasters are still being read: another frame will show them finer.
    bool Draw(KTR::COpenGLView& view);
    /// Frees what is kept of the data for drawing. A frame drawn later adds it again. Textures stay in the library's
    /// cache.
    void ReleaseGeometry();

private:
    void ColorAllClouds();
    bool DrawRasters(KTR::COpenGLView& view);
    Extent FindAreaToFill(const KTR::COpenGLView& view) const;
    Position OnTheGround(const Position& position) const;

    std::vector<CloudLayer> m_clouds;
    std::vector<Surface> m_surfaces;
    std::vector<RasterLayer> m_rasters;
    std::optional<RasterLayer> m_shade; ///< over all of them
    double m_shadeStrength = 0.0;
    std::vector<VectorLayer> m_layers;
    std::vector<FeatureGeometry> m_featureGeometry; ///< of each of the layers
    std::vector<FeatureLabel> m_labels;
    Extent m_extent;
    /// Subtracted from every coordinate before it becomes a float: 32 bits hold only about seven digits, too few for
    /// metres of a national grid. These are the view's coordinate offsets, which its matrices allow for.
    Position m_origin;
    MapUnits m_units = MapUnits::Metres;
    ColorMode m_colorMode = ColorMode::Elevation;
    double m_pointSizePixels = 2.0;
    double m_exaggeration = 1.0;
    double m_fillOpacity = 0.0;
};

} // namespace OrrinViewer
