#pragma once

#include "data/CloudSurvey.h"
#include "data/ElevationGrid.h"
#include "data/Raster.h"
#include "systems/MapTransformation.h"

#include <OrrinDisplay.h>
#include <images/RasterLayer.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace OrrinViewer {

class TiffFile;

/// A pixel of a raster.
struct RasterPixel {
    bool isColor = false;
    double value = 0.0; ///< NaN where there is none
    std::array<std::uint8_t, 4> rgba{};
};

/// A raster on the map: the library's layer, with where it lies. `name` tells it from all other rasters of the process;
/// all windows find its tiles by that.
class RasterLayer {
public:
    /// An image, blended between its pixels.
    static RasterLayer ForImage(Raster raster, const std::wstring& name);
    /// Elevations: each cell a square, coloured from low to high, transparent where nothing was measured.
    static RasterLayer ForElevations(const ElevationGrid& grid, const std::wstring& name);
    /// An image of any size, or values as elevations are shown; read where it is looked at.
    static RasterLayer ForTiff(const std::shared_ptr<TiffFile>& file, const std::filesystem::path& path);
    /// A relief that is computed where it is looked at, `side` pixels each way, one of them a unit, around a place.
    static RasterLayer ForComputedRelief(int side, const Position& middle);
    /// The light on elevations, to shade other rasters with.
    static RasterLayer ForHillshade(const ElevationGrid& grid, double exaggeration, const std::wstring& name);

    /// The same raster in another coordinate system: what is asked for is read where it was. None where it has no place
    /// there, and for what is neither colours nor values in floating point.
    std::optional<RasterLayer> Transformed(const MapTransformation& transformation) const;
    /// What makes its colours one image of at most so many pixels each way, to lay it over something: on any thread,
    /// and also when the layer is gone. Null for values, and where it cannot be read. A large raster is read for that
    /// as a whole, which takes its time; ReadingStopped where nobody wants the image.
    using ImageMaker = std::function<std::shared_ptr<const Raster>(int largestSide)>;
    ImageMaker GetImageMaker() const;
    /// Keeps such an image for who makes one of the same size.
    void KeepImage(int largestSide);
    /// What the raster has at a place of the map, itself and not as it is drawn; none beside it, where it cannot be
    /// read, and for what is neither colours nor values.
    std::optional<RasterPixel> ReadPixel(double x, double y) const;
    /// Between which the colours of values run, if nothing else is said; none for images.
    const std::optional<ElevationRange>& GetRange() const { return m_range; }
    /// Has the colours of values run between these. Its context must be current where it has been drawn.
    void SetRange(const ElevationRange& range);
    const Extent& FindExtent() const { return m_extent; }
    std::size_t CountPixels() const { return m_pixels; }
    /// Reads whatever a frame shows, however long that takes; otherwise a few milliseconds' worth.
    void ReadAtOnce();

    /// Draws it at height z, relative to the origin, as opaque as the view's images are. False when more is to be
    /// read: another frame will show it finer.
    bool Draw(KTR::COpenGLView& view, const Position& origin, double z);
    /// The same, shaded by another one; how strongly is 0 to 1.
    bool DrawShaded(KTR::COpenGLView& view, RasterLayer& shade, double strength, const Position& origin, double z);

private:
    RasterLayer(KTR::GLRasterDescription description, const PixelToMap& pixelToMap, const KTR::GLRasterReader& reader);
    void PlaceAround(const Position& origin);

    KTR::GLRasterDescription m_description;
    std::shared_ptr<std::mutex> m_reads;        ///< files are read by one thread at a time
    KTR::GLRasterReader m_reader;               ///< waits for other threads
    KTR::CRasterLayer m_layer;                  ///< of these
    std::shared_ptr<std::atomic<bool>> m_waits; ///< for what is read in the background; null where nothing is
    std::optional<ElevationRange> m_range;
    PixelToMap m_pixelToMap;
    Extent m_extent;
    std::size_t m_pixels;
    std::shared_ptr<const Raster> m_keptImage; ///< null where none was made
    int m_keptSide = 0;                        ///< the largest that it may have
};

} // namespace OrrinViewer
