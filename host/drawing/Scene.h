#pragma once

#include "CloudLayer.h"
#include "Draping.h"
#include "FeatureGeometry.h"
#include "LayerStyle.h"
#include "MeshLayer.h"
#include "RasterLayer.h"
#include "SceneColors.h"
#include "Surface.h"
#include "data/BandReading.h"
#include "data/LayerKind.h"
#include "data/LayerSource.h"
#include "data/VectorLayer.h"
#include "map/FeatureLabels.h"
#include "map/FeaturePicking.h"
#include "map/MapTicks.h"

#include <OrrinDisplay.h>

#include <bitset>
#include <functional>
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
    std::uint64_t shown = 0;    ///< points, since the frame was begun
    double spacingPixels = 0.0; ///< between points, where there are more to come
    double milliseconds = 0.0;  ///< that the clouds took, of the last call
};

/// Tells a layer from all others that the scene has or had; 0 is none.
using LayerId = int;

/// A layer as a list of layers shows it.
struct LayerInfo {
    LayerId id = 0;
    LayerKind kind = LayerKind::Raster;
    LayerSource source;
    Extent extent;
    LayerStyle style;
};

/// A part of what a view shows, enlarged: the rectangle, in the view's pixels from the lower left of its viewport,
/// which it may exceed, fills the viewport. What is drawn in pixels is larger by `scale` than in the view itself.
struct EnlargedPart {
    double scale = 1.0;
    double left = 0.0;
    double bottom = 0.0;
    double width = 1.0;
    double height = 1.0;
};

/// A feature under the mouse, and of which layer it is.
struct FeatureUnderMouse {
    LayerId layer = 0;
    FeatureHit hit;
};

/// The file of a cloud, to be read once more for a profile, and the colours that its points have at present.
struct CloudSource {
    LayerId id = 0;
    CloudOpener open; ///< without the points of classes that are hidden
    PointColors colors;
    ClassMeaning classMeaning = ClassMeaning::Survey;
    std::bitset<256> hiddenClasses;
};

/// The data that all windows show, and how it is drawn. This is the part to read for how a host uses the library.
///
/// A frame is drawn in three steps: the ground with as many points of the clouds as the budget allows, further points
/// in as many steps as it takes, and the shapes that lie over all of them.
class Scene {
public:
    /// Of the images that are laid over reliefs, at most.
    static constexpr int kDrapedSide = 2048;

    // Layers are drawn kind by kind, whatever the order of the calls: rasters, reliefs, meshes, clouds, features; of a
    // kind the last one uppermost. They come and go at any time. To remove one, or to change what is drawn of it, a
    // main context must be current.

    /// The cloud is read in the background from now on; `again` opens it once more for each profile through it.
    LayerId AddCloud(std::unique_ptr<CloudReader> reader, CloudOpener again, LayerSource source = {});
    LayerId AddSurface(Surface surface, LayerSource source = {});
    LayerId AddMesh(MeshLayer mesh, LayerSource source = {});
    /// Where there are reliefs, its image of kDrapedSide pixels each way is wanted, which it may have made before.
    LayerId AddRaster(RasterLayer raster, LayerSource source = {});
    LayerId AddVectorLayer(VectorLayer layer, LayerSource source = {});
    /// What shades all rasters.
    struct Shade {
        RasterLayer raster;
        double strength = 1.0; ///< 0 to 1
        LayerSource source;
    };
    void ShadeRasters(RasterLayer shade, double strength, LayerSource source = {});
    const std::optional<Shade>& GetShade() const { return m_shade; }
    /// Removes all layers, what shades rasters, and what there was to tell.
    void Clear();
    /// False where there is no such layer, here and below.
    bool RemoveLayer(LayerId id);

    /// All layers in the order in which they are drawn, the uppermost one last.
    std::vector<LayerInfo> ListLayers() const;
    std::optional<LayerInfo> FindLayer(LayerId id) const;
    bool SetStyle(LayerId id, const LayerStyle& style);
    /// Changes the style of all layers, and of those that are still to come.
    void ChangeStyles(const std::function<void(LayerStyle& style)>& change);
    /// Draws a layer right above another one of its kind; `below` 0: as the lowest of its kind.
    bool MoveLayer(LayerId id, LayerId below);
    /// The features of a layer; null where it is of another kind.
    const VectorLayer* FindFeatures(LayerId id) const;
    const CloudLayer* FindCloud(LayerId id) const;
    const Surface* FindRelief(LayerId id) const;
    const RasterLayer* FindRaster(LayerId id) const;
    /// The features under the mouse of all layers that are shown, the uppermost first. The first time after a layer has
    /// come it is made ready for that, which takes some tenths of a second for millions of positions.
    std::vector<FeatureUnderMouse> FindFeaturesUnder(const PickBeam& beam);
    /// Where the features of a layer are drawn.
    PickHeights FindHeights(LayerId id) const;
    /// Between which values the colours of a layer run where its style does not say otherwise; none where it shows
    /// none.
    std::optional<ElevationRange> FindElevations(LayerId id) const;
    /// The colour of features; none for other kinds.
    std::optional<Rgb> FindColor(LayerId id) const;

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
    /// Grows with each change that the labels have to follow.
    int GetLabelVersion() const { return m_labelVersion; }
    bool IsReading() const;
    void WaitUntilRead();
    /// Ends the reading of clouds, which keep the points that they have.
    void StopReading();
    /// Whether a cloud lacks points for that reason.
    bool WasStopped() const;
    struct LayerProgress {
        std::string name;
        ReadingState state;
    };
    /// How far the first cloud that is read has come; nothing where none is.
    std::optional<LayerProgress> GetReading() const;
    /// The same of the images that are on their way to reliefs, and of the first layer that Prepare has begun to add.
    std::optional<LayerProgress> GetPreparing() const;
    /// Why a cloud has no more points than it has; empty while nothing went wrong.
    std::string GetProblem() const;
    std::vector<std::string> GetProblems() const; ///< of all clouds
    /// Adds to what there is to tell.
    void AddRemark(std::string remark);
    /// What there is to tell about the files, a line each; complete once nothing is read any more.
    std::vector<std::string> GetRemarks() const;

    /// Without units they are those that a file tells, or degrees where coordinates look like that.
    void SetUnits(std::optional<MapUnits> units) { m_units = units; }
    const std::optional<MapUnits>& GetUnitsSet() const { return m_units; }
    MapUnits GetUnits() const;
    /// Of heights in metres; not set: nobody tells it.
    std::optional<double> GetHeightMetres() const { return FindUnits(ListPlaced()).heightMetres; }
    /// Of the coordinates, for a person to read; empty where no file tells it.
    std::string GetSystemName() const { return NameOf(FindUnits(ListPlaced())); }
    /// The same in the EPSG register; 0 where no file tells it.
    int GetSystemCode() const { return FindUnits(ListPlaced()).code; }
    /// What heights have to be multiplied by to be as large as the map's units are.
    double GetHeightScale() const;
    /// Features are labelled with this property; empty: with none.
    void SetLabelProperty(std::string property);
    const std::string& GetLabelProperty() const { return m_labelProperty; }
    /// Layer by layer, those of large features first.
    std::vector<FeatureLabel> CollectLabels() const;
    /// The names of all properties that features have.
    std::vector<std::string> ListProperties() const;

    /// Points of clouds have this size from now on, whatever the scale. Until then, and again after AdaptPointSize,
    /// they are as large as it takes for a cloud seen from above to look closed, within reason.
    void SetPointSize(double pixels);
    double GetPointSize() const; ///< what was set last, otherwise that of points of no cloud
    void AdaptPointSize();
    bool AdaptsPointSize() const;
    /// That of the sparsest cloud, as the view shows it.
    double FindPointSize(const KTR::COpenGLView& view) const;
    /// Switches all clouds to the next colouring after that of the first one.
    void SwitchColors();
    const char* NameOfColors() const;
    /// Heights are multiplied by this, for the relief of flat country to show.
    void SetExaggeration(double factor) { m_exaggeration = factor; }
    double GetExaggeration() const { return m_exaggeration; }
    /// The sun that reliefs are lit by, at first in the north-west, half-way up: clockwise over the horizon, and up as
    /// far as the zenith.
    void TurnSun(double degrees) { m_sunAzimuthDegrees += degrees; }
    void RaiseSun(double degrees);
    void SetSun(double azimuthDegrees, double altitudeDegrees);
    double GetSunAzimuth() const { return m_sunAzimuthDegrees; }
    double GetSunAltitude() const { return m_sunAltitudeDegrees; }
    /// Clouds seen in perspective are shaded by their depths, where the pipeline can.
    void ShadeClouds(bool on) { m_shadesClouds = on; }
    bool ShadesClouds() const { return m_shadesClouds; }
    /// What is drawn in pixels is so many times larger than those of a usual screen: each window says it before it
    /// draws.
    void SetScreenScale(double scale) { m_screenScale = scale; }
    /// Has each frame read all that it shows of rasters, however long that takes, instead of a few milliseconds' worth.
    void ReadRastersAtOnce();

    /// Has the view show everything: along an axis, or in perspective from the south-south-west.
    void ShowEverything(KTR::COpenGLView& view, KTR::GLViewOrientation orientation) const;
    /// The same of a part of it.
    void ShowExtent(KTR::COpenGLView& view, KTR::GLViewOrientation orientation, const Extent& extent) const;
    /// Has the view cut off nothing of everything and lose no digits of it, and leaves alone what it shows.
    void HoldEverything(KTR::COpenGLView& view) const;
    /// Adds to what is kept for drawing what is still missing, until so many milliseconds have passed; 0: all of it,
    /// the images on reliefs too, which a thread makes. False while something is missing. Frames have what is there.
    /// The view's main context must be current, here and below.
    bool Prepare(KTR::COpenGLView& view, double milliseconds);
    /// Begins a frame in the view's back buffer, of what the view shows: rasters, surfaces, and of the clouds what the
    /// budget allows.
    CloudsFrame Begin(KTR::COpenGLView& view, const CloudBudget& budget);
    /// Adds points to a frame that was begun with the same view.
    CloudsFrame Refine(KTR::COpenGLView& view);
    /// Draws areas and outlines over it.
    void DrawShapes(KTR::COpenGLView& view);
    /// All of it at once, however long it takes.
    void Draw(KTR::COpenGLView& view);
    /// The same of a part, for pictures that are larger than the view.
    void DrawEnlarged(KTR::COpenGLView& view, const EnlargedPart& part);
    /// How far what is drawn in pixels reaches beyond the places that it belongs to, in pixels of a usual screen.
    double FindReach(const KTR::COpenGLView& view) const;
    /// What profiles are made of: the clouds that are shown.
    std::vector<CloudSource> ListClouds() const;
    /// The height of the relief there; NaN where there is none.
    double ElevationAt(double x, double y) const;

    /// Before the view goes.
    void Forget(const KTR::COpenGLView& view);
    /// Frees what is kept of the data for drawing. A frame drawn later adds it again. Textures stay in the library's
    /// cache.
    void ReleaseGeometry();

private:
    struct Layer {
        LayerId id = 0;
        LayerSource source;
        Extent extent; ///< of clouds see CloudLayer
        bool maybeDegrees = false;
        LayerStyle style;
    };
    struct Cloud : Layer {
        static constexpr LayerKind kKind = LayerKind::Cloud;
        std::unique_ptr<CloudLayer> cloud;
        CloudOpener open;

        /// Not before it is known where it is: what is drawn is kept relative to the view's coordinate offsets of then.
        bool IsDrawn() const { return style.shown && !cloud->GetExtent().IsEmpty(); }
        PointColoring Coloring() const {
            return {Mode(), style.elevationRamp, style.intensityRamp, style.hiddenClasses};
        }
        ColorMode Mode() const { return style.colorMode.value_or(ChooseColorMode(cloud->Traits())); }
    };
    struct Relief : Layer {
        static constexpr LayerKind kKind = LayerKind::Relief;
        Surface surface;
    };
    struct Solid : Layer {
        static constexpr LayerKind kKind = LayerKind::Mesh;
        MeshLayer mesh;
    };
    struct Image : Layer {
        static constexpr LayerKind kKind = LayerKind::Raster;
        RasterLayer raster;
        bool isCovered = false; ///< it lies on a relief as a whole
    };
    struct Features : Layer {
        static constexpr LayerKind kKind = LayerKind::Features;
        VectorLayer layer;
        FeatureGeometry geometry;
        std::optional<FeatureIndex> index; ///< made when it is first asked
        std::size_t number = 0;            ///< no other layer of features has it

        /// Not set: that of each kind of feature.
        std::optional<Rgb> Color() const {
            return style.color || number == 0 ? style.color : std::optional(ColorOfLayer(number));
        }
    };

    /// Calls `visit` with the layers of each kind, in the order in which they are drawn.
    template <typename Self, typename Visit> static void VisitKinds(Self& scene, const Visit& visit) {
        visit(scene.m_images);
        visit(scene.m_reliefs);
        visit(scene.m_solids);
        visit(scene.m_clouds);
        visit(scene.m_features);
    }
    template <typename Self, typename Visit> static void VisitLayers(Self& scene, const Visit& visit) {
        VisitKinds(scene, [&](auto& layers) {
            for (auto& layer : layers) {
                visit(layer);
            }
        });
    }
    template <typename Entry> LayerId Insert(std::vector<Entry>& layers, Entry entry, LayerSource&& source);
    static Extent ExtentOf(const Layer& layer) { return layer.extent; }
    static Extent ExtentOf(const Cloud& cloud) { return cloud.cloud->GetExtent(); }
    void NoteChange(LayerKind kind);
    void RefreshExtent();
    static void ColorCloud(const Cloud& cloud);
    ColorMode GetColorMode() const;
    double PointSizeOf(const Cloud& cloud, const KTR::COpenGLView& view) const;
    double Scale() const { return m_screenScale * (m_part ? m_part->scale : 1.0); }
    void LoadPartOfCamera(KTR::COpenGLView& view) const;
    std::vector<PlacedLayer> ListPlaced() const;
    double GroundHeight() const;
    void LoadCamera(KTR::COpenGLView& view);
    bool DrawGround(KTR::COpenGLView& view);
    bool DrawRasters(KTR::COpenGLView& view);
    void OutdateShapes();
    void ApplyStyle(Cloud& cloud, const LayerStyle& before);
    void ApplyStyle(Relief& relief, const LayerStyle& before);
    void ApplyStyle(Image& image, const LayerStyle& before);
    void ApplyStyle(Layer& /*layer*/, const LayerStyle& /*before*/) {}
    std::size_t FindFreeNumber() const;
    void Drape();
    void BeginDraping();
    void TakeDraping(DrapingResult result);
    void BendLayers();
    Extent FindAreaToFill(const KTR::COpenGLView& view) const;
    GroundPosition GroundOf(const VectorLayer& layer, const Position& origin) const;
    double HeightOfGround(const Position& position) const;
    PickHeights HeightsOf(const VectorLayer& layer) const;

    std::vector<Image> m_images;
    std::vector<Relief> m_reliefs;
    std::vector<Solid> m_solids;
    std::vector<Cloud> m_clouds;
    std::vector<Features> m_features;
    LayerId m_lastId = 0;
    LayerStyle m_styleToCome; ///< of layers that are added
    bool m_isDraped = false;  ///< images lie on the reliefs, or are on their way
    bool m_isBent = false;    ///< lines follow the reliefs
    std::optional<Shade> m_shade;
    bool m_readsAtOnce = false; ///< of rasters all that a frame shows
    std::string m_labelProperty;
    std::vector<std::string> m_remarks;
    Extent m_extent;
    int m_version = 0;
    int m_labelVersion = 0;
    /// Subtracted from every coordinate before it becomes a float: 32 bits hold only about seven digits, too few for
    /// metres of a national grid. These are the view's coordinate offsets, which its matrices allow for.
    Position m_origin;
    std::optional<MapUnits> m_units;
    double m_exaggeration = 1.0;
    double m_sunAzimuthDegrees = 315.0; ///< from north
    double m_sunAltitudeDegrees = 45.0;
    bool m_shadesClouds = true;
    double m_screenScale = 1.0;
    std::optional<EnlargedPart> m_part; ///< of the frame that is being drawn
    Draping m_draping;
};

} // namespace OrrinViewer
