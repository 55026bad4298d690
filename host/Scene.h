#pragma once

#include "MapNavigator.h"
#include "OrbitNavigator.h"
#include "PointCloud.h"
#include "SceneColors.h"
#include "Surface.h"
#include "VectorLayer.h"

#include <OrrinDisplay.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// The data of the window and how it is drawn. This is the part to read for how a host uses the library.
class Scene {
public:
    /// Reads the files. Clouds become surfaces of cells of `cloudCellSize`, when that is given. Throws FileError.
    void Load(const std::vector<std::filesystem::path>& files, std::optional<ColorMode> colorMode,
              std::optional<double> cloudCellSize);

    const Extent& GetExtent() const { return m_extent; }
    std::size_t CountPoints() const;
    std::size_t CountFeatures() const;
    std::size_t CountCells() const;

    void SetPointSize(double pixels) { m_pointSizePixels = pixels; }
    double GetPointSize() const { return m_pointSizePixels; }
    /// Switches to the next colouring; the name of the new one.
    const char* SwitchColors();
    const char* NameOfColors() const;

    /// Heights are multiplied by this, for the relief of flat country to show.
    void SetExaggeration(double factor) { m_exaggeration = factor; }
    double GetExaggeration() const { return m_exaggeration; }

    /// Draws one frame into the view's back buffer, from above or in perspective. The view's main context must be
    /// current.
    void Draw(KTR::COpenGLView& view, const MapNavigator& navigator);
    void Draw(KTR::COpenGLView& view, const OrbitNavigator& navigator, int widthPixels, int heightPixels);
    /// Deletes what was put into the view's context, which must be current.
    void ReleaseGLObjects(KTR::COpenGLView& view);

private:
    struct ColoredCloud {
        PointCloud cloud;
        std::vector<Rgb> colors;
        /// The cloud in the memory of the graphics card, on contexts that draw with programs.
        KTR::GLVBO buffer;
        HGLRC bufferContext = nullptr; ///< the context that `buffer` was filled in
        bool isBufferOld = false;      ///< the colours have changed since
    };

    void ColorAllClouds();
    void SetUpCamera(KTR::COpenGLView& view, const MapNavigator& navigator) const;
    void SetUpCamera(KTR::COpenGLView& view, const OrbitNavigator& navigator) const;
    void DrawContent(KTR::COpenGLView& view);
    void AddOnTheGround(KTR::COpenGLView& view, const Position& position) const;
    void DrawCloud(KTR::COpenGLView& view, ColoredCloud& colored) const;
    void DrawCloudFromBuffer(KTR::COpenGLView& view, ColoredCloud& colored) const;
    std::vector<KTR::GLDrawGeometry> MakeGeometry(const ColoredCloud& colored) const;
    void DrawLayer(KTR::COpenGLView& view, const VectorLayer& layer) const;
    void DrawPath(KTR::COpenGLView& view, const Path& path, unsigned int mode) const;

    std::vector<ColoredCloud> m_clouds;
    std::vector<Surface> m_surfaces;
    std::vector<VectorLayer> m_layers;
    Extent m_extent;
    /// Subtracted from every coordinate before it becomes a float: 32 bits hold only about seven digits, too few for
    /// metres of a national grid.
    Position m_origin;
    ColorMode m_colorMode = ColorMode::Elevation;
    double m_pointSizePixels = 2.0;
    double m_exaggeration = 1.0;
};

} // namespace OrrinViewer
