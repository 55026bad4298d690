#pragma once

#include "MapNavigator.h"
#include "PointCloud.h"
#include "SceneColors.h"
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
    /// Reads the files. Throws FileError.
    void Load(const std::vector<std::filesystem::path>& files, std::optional<ColorMode> colorMode);

    const Extent& GetExtent() const { return m_extent; }
    std::size_t CountPoints() const;
    std::size_t CountFeatures() const;

    void SetPointSize(double pixels) { m_pointSizePixels = pixels; }
    double GetPointSize() const { return m_pointSizePixels; }
    /// Switches to the next colouring; the name of the new one.
    const char* SwitchColors();
    const char* NameOfColors() const;

    /// Draws one frame into the view's back buffer. The view's main context must be current.
    void Draw(KTR::COpenGLView& view, const MapNavigator& navigator) const;

private:
    struct ColoredCloud {
        PointCloud cloud;
        std::vector<Rgb> colors;
    };

    void ColorAllClouds();
    void SetUpCamera(KTR::COpenGLView& view, const MapNavigator& navigator) const;
    void DrawCloud(KTR::COpenGLView& view, const ColoredCloud& colored) const;
    void DrawLayer(KTR::COpenGLView& view, const VectorLayer& layer) const;
    void DrawPath(KTR::COpenGLView& view, const Path& path, unsigned int mode) const;

    std::vector<ColoredCloud> m_clouds;
    std::vector<VectorLayer> m_layers;
    Extent m_extent;
    /// Subtracted from every coordinate before it becomes a float: 32 bits hold only about seven digits, too few for
    /// metres of a national grid.
    Position m_origin;
    ColorMode m_colorMode = ColorMode::Elevation;
    double m_pointSizePixels = 2.0;
};

} // namespace OrrinViewer
