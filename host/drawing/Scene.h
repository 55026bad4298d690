#pragma once

#include "CloudLayer.h"
#include "FeatureGeometry.h"
#include "FeatureStyle.h"
#include "MeshLayer.h"
#include "RasterLayer.h"
#include "SceneColors.h"
#include "Surface.h"
#include "data/BandReading.h"
#include "data/LayerSource.h"
#include "data/VectorLayer.h"
#include "map/FeatureLabels.h"
#include "map/MapTicks.h"

#include <OrrinDisplay.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// What has been drawn of the clouds.
struct CloudsFrame {
    bool complete = true;       ///< all that there is to see
    bool groundIsRead = true;   ///< no raster will be finer in the next frame
    bool outdated = false;      ///< nothing: the frame has to be begun anew
    bool enlarged = false;      ///< points are larger than they should be, since they are so few
    std::uint64_t drawn = 0;    ///< points, by the last call
    double spacingPixels = 0.0; ///< between points, where there are more to come
};

/// The data that all windows show, and how it is drawn. This is the part to read for how a host uses the library.
///
/// A frame is drawn in three steps: the ground with as many points of the clouds as the budget allows, further points
/// in as many steps as it takes, and the shapes that lie over all of them.
class Scene {
public:
    // What is added is drawn in this order, whatever the order of the calls: rasters, surfaces, meshes, clouds,
    // vectors. Add everything before the first frame.

    /// The cloud is read in the background from now on; `again` opens it once more for each profile through it.
    void AddCloud(std::unique_ptr<CloudReader> reader, CloudOpener again, LayerSource source = {});
    void AddSurface(ElevationGrid grid, LayerSource source = {});
    void AddMesh(Mesh mesh, LayerSource source = {});
    void AddRaster(RasterLayer raster, LayerSource source = {});
    /// Shades all rasters by this one; how strongly is 0 to 1.
    void ShadeRasters(RasterLayer shade, double strength);
    void AddVectorLayer(VectorLayer layer, LayerSource source = {});
    const std::vector<VectorLayer>& GetVectorLayers() const { return m_layers; }

    /// The box around everything but the few points that lie far outside; without heights where nothing has any.
    const Extent& GetExtent() const { return m_extent; }
    std::size_t CountPoints() const;
    std::size_t CountFeatures() const;
    std::size_t CountCells() const;
    std::size_t CountFaces() const; ///< of meshes
    std::size_t CountPixels() const;

    /// Takes over what has been read of the clouds. Extent, colours and origin may be others then, and the version is.
    void Update();
    /// Grows with each change that all frames have to show.
    int GetVersion() const { return m_version; }
    bool IsReading() const;
    void WaitUntilRead();
    /// Why a cloud has no more points than it has; empty while nothing went wrong.
    std::string GetProblem() const;
    std::vector<std::string> GetProblems() const; ///< of all clouds
    /// Adds to what there is to tell.
    void AddRemark(std::string remark) { m_remarks.push_back(std::move(remark)); }
    /// What there is to tell about the files, a line each; complete once nothing is read any more.
    std::vector<std::string> GetRemarks() const;

    /// Without units they are those that a file tells, or degrees where coordinates look like that.
    void SetUnits(std::optional<MapUnits> units) { m_units = units; }
    MapUnits GetUnits() const;
    /// Of the coordinates, for a person to read; empty where no file tells it.
    std::string GetSystemName() const { return NameOf(FindUnits(ListPlaced())); }
    /// What heights have to be multiplied by to be as large as the map's units are.
    double GetHeightScale() const;
    void SetLabels(std::vector<FeatureLabel> labels) { m_labels = std::move(labels); }
    /// Those of large features first.
    const std::vector<FeatureLabel>& GetLabels() const { return m_labels; }

    /// Points have this size from now on, whatever the scale. Until then, and again after AdaptPointSize, they are as
    /// large as it takes for a cloud seen from above to look closed, within reason.
    void SetPointSize(double pixels);
    double GetPointSize() const { return m_pointSizePixels; }
    void AdaptPointSize(bool on) { m_adaptsPointSize = on; }
    bool AdaptsPointSize() const { return m_adaptsPointSize; }
    /// That of the sparsest cloud, as the view shows it.
    double FindPointSize(const KTR::COpenGLView& view) const;
    /// Colours all clouds; without a mode, by the one that suits the first cloud.
    void ColorClouds(std::optional<ColorMode> mode);
    /// Switches to the next colouring; the name of the new one.
    const char* SwitchColors();
    const char* NameOfColors() const;
    /// Heights are multiplied by this, for the relief of flat country to show.
    void SetExaggeration(double factor) { m_exaggeration = factor; }
    double GetExaggeration() const { return m_exaggeration; }
    /// The sun that reliefs are lit by, at first in the north-west, half-way up: clockwise over the horizon, and up as
    /// far as the zenith.
    void TurnSun(double degrees) { m_sunAzimuthDegrees += degrees; }
    void RaiseSun(double degrees);
    /// Clouds seen in perspective are shaded by their depths, where the pipeline can.
    void ShadeClouds(bool on) { m_shadesClouds = on; }
    bool ShadesClouds() const { return m_shadesClouds; }
    /// From 0, areas are not filled, to 1, nothing shows through them.
    void SetFillOpacity(double opacity) { m_fillOpacity = opacity; }
    void SetFeatureStyle(FeatureStyle style) { m_featureStyle = std::move(style); }

    /// Has each frame read all that it shows of rasters, however long that takes, instead of a few milliseconds' worth.
    void ReadRastersAtOnce();

    /// Has the view show everything: along an axis, or in perspective from the south-south-west.
    void ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const;
    /// Has the view cut off nothing of everything, and leaves alone what it shows.
    void HoldEverything(KTR::COpenGLView& view) const;
    /// Begins a frame in the view's back buffer, of what the view shows: rasters, surfaces, and of the clouds what the
    /// budget allows. The view's main context must be current, here and below.
    CloudsFrame Begin(KTR::COpenGLView& view, const CloudBudget& budget);
    /// Adds points to a frame that was begun with the same view.
    CloudsFrame Refine(KTR::COpenGLView& view);
    /// Draws areas and outlines over it.
    void DrawShapes(KTR::COpenGLView& view);
    /// All of it at once, however long it takes.
    void Draw(KTR::COpenGLView& view);
    /// What profiles are made of: each cloud's file, and how its points are coloured at present.
    const std::vector<CloudOpener>& GetCloudOpeners() const { return m_cloudOpeners; }
    std::vector<PointColors> GetCloudColors() const;
    ClassMeaning GetClassMeaning(std::size_t cloud) const { return m_clouds.at(cloud)->Traits().classMeaning; }
    /// The height of the relief there; NaN where there is none.
    double ElevationAt(double x, double y) const;

    /// Before the view goes.
    void Forget(const KTR::COpenGLView& view);
    /// Frees what is kept of the data for drawing. A frame drawn later adds it again. Textures stay in the library's
    /// cache.
    void ReleaseGeometry();

private:
    void ColorAllClouds();
    double PointSizeOf(const CloudLayer& cloud, const KTR::COpenGLView& view) const;
    void Place(PlacedLayer placed);
    std::vector<PlacedLayer> ListPlaced() const;
    double GroundHeight() const;
    void LoadCamera(KTR::COpenGLView& view);
    bool DrawGround(KTR::COpenGLView& view);
    bool DrawRasters(KTR::COpenGLView& view);
    void ReleaseShapes();
    void DrapeSurfaces();
    void BendLayers();
    Extent FindAreaToFill(const KTR::COpenGLView& view) const;
    GroundPosition GroundOf(const VectorLayer& layer, const Position& origin) const;
    double HeightOfGround(const Position& position) const;

    std::vector<std::unique_ptr<CloudLayer>> m_clouds;
    std::vector<CloudOpener> m_cloudOpeners; ///< of each of them
    std::vector<Surface> m_surfaces;
    bool m_isDraped = false;            ///< images lie on the surfaces
    std::vector<bool> m_coveredRasters; ///< of the rasters, those that lie on a surface as a whole
    std::vector<MeshLayer> m_meshes;
    std::vector<RasterLayer> m_rasters;
    std::optional<RasterLayer> m_shade; ///< over all of them
    double m_shadeStrength = 0.0;
    std::vector<VectorLayer> m_layers;
    std::vector<FeatureGeometry> m_featureGeometry; ///< of each of the layers
    std::vector<FeatureLabel> m_labels;
    std::vector<std::string> m_remarks;
    std::vector<PlacedLayer> m_placedClouds; ///< of the clouds
    std::vector<PlacedLayer> m_placed;       ///< of all else
    Extent m_extent;
    Extent m_extentWithoutClouds;
    int m_version = 0;
    /// Subtracted from every coordinate before it becomes a float: 32 bits hold only about seven digits, too few for
    /// metres of a national grid. These are the view's coordinate offsets, which its matrices allow for.
    Position m_origin;
    std::optional<MapUnits> m_units;
    bool m_isColorModeChosen = false; ///< by the user
    ColorMode m_colorMode = ColorMode::Elevation;
    double m_pointSizePixels = 2.0;
    bool m_adaptsPointSize = true;
    double m_exaggeration = 1.0;
    double m_sunAzimuthDegrees = 315.0; ///< from north
    double m_sunAltitudeDegrees = 45.0;
    bool m_shadesClouds = true;
    double m_fillOpacity = 0.0;
    FeatureStyle m_featureStyle;
};

} // namespace OrrinViewer
