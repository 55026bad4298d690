#pragma once

#include "../Export.h"
#include "RasterTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KTR {

class COpenGLView;
struct RasterLayerState;

/// What came of a question for pixels.
enum GLRasterRead : int {
    GLRasterReadDone = 0,   ///< they are there
    GLRasterReadLater = 1,  ///< they are being fetched: ask again in the next frame
    GLRasterReadFailed = 2, ///< there are none: do not ask again
};

/// Gives a layer its pixels: `window.height` × `window.width` of them, without padding, the upper row first. A coarser
/// level's are means, or what the source keeps for it; a reader that only passes over pixels makes a map that flickers.
/// It is called on the thread that draws. What it throws counts as failed.
using GLRasterReader = std::function<GLRasterRead(const GLRasterWindow& window, void* pixels)>;

/// A raster for a layer.
struct GLRasterDescription {
    /// Tells it from all other rasters of the process: layers of one name share their tiles. Without one the layer
    /// shares with none.
    std::wstring name{};
    int width = 0; ///< pixels
    int height = 0;
    /// What the reader gives: colours in bytes, in a format of LoadGLImage (GL_RGBA, GL_RGB, GL_LUMINANCE, ...), or
    /// values, in a type of LoadDataRaster (GL_UNSIGNED_SHORT, GL_SHORT, GL_FLOAT).
    unsigned int pixels = 0x1908; // GL_RGBA
    GLRasterPlacement placement{};
    GLDataStyle style{}; ///< the colours of values
    bool smooth = true;  ///< false draws each pixel as a square of one colour, as cells of a grid are
};

/// What a layer did in its last frame.
struct GLRasterFrame {
    int tiles = 0;    ///< that the window shows
    int standIns = 0; ///< of them shown by a coarser one
    int missing = 0;  ///< of them not shown at all
    int read = 0;     ///< tiles, coarse ones included
};

/// A raster of any size, of which only what the window shows is ever read.
///
/// A frame draws the tiles at the level that the screen needs, whatever the view's matrices are: rotated, in
/// perspective. Their textures lie in the library's cache, where all windows find them. Tiles that are not there are
/// read, as many as fit into a few milliseconds; until then coarser ones stand in. The layer counts as the newest what
/// it shows, and has the cache evict the oldest (LimitTextureCache) where that grows beyond the layer's limit; the
/// limit is of the whole cache, so leave room for all layers of a frame.
///
/// Draw before what lies upon it, as any image. One thread.
class ORRIN_DISPLAY_API CRasterLayer {
public:
    CRasterLayer(const GLRasterDescription& description, GLRasterReader reader);
    ~CRasterLayer();
    CRasterLayer(CRasterLayer&& other) noexcept;
    CRasterLayer& operator=(CRasterLayer&& other) noexcept;

    /// Draws what the view shows of the raster, at height z of the model. What else is settled for images (texture
    /// transparency; pixels without data and adjustments, as a tile is read) holds here too.
    ///
    /// \return S_OK when each tile is there (or has failed); S_FALSE when some are still to be read: draw another
    /// frame.
    ///         E_INVALIDARG for a description without size, of unknown pixels or without a reader; E_FAIL without a
    ///         current context; E_OUTOFMEMORY
    long Draw(COpenGLView& view, double z = 0.0);
    /// The same with a second raster over it, whatever that one's placement and pixels are. Where the second is not,
    /// this one is drawn alone. `mode` and `amount` as in DrawFusionOnQuadrilateral.
    long DrawFused(COpenGLView& view, CRasterLayer& second, GLFusionMode mode, double amount, double z = 0.0);

    /// In the coordinates that the view's matrices are for, as those of all that is drawn.
    void SetPlacement(const GLRasterPlacement& placement);
    /// Other colours of values: the tiles are read again. They are also with Forget, where the source has changed.
    void SetStyle(const GLDataStyle& style);
    void Forget();
    /// Deletes the layer's textures, which otherwise stay in the cache until they are the oldest.
    void DeleteTiles(COpenGLView& view);
    /// How long a frame may go on reading, 4 milliseconds at first; one tile is read in any case.
    void SetReadingTime(double milliseconds);
    /// How large the cache may grow, 256 MiB at first. A frame never needs more than half of it: where the window shows
    /// more tiles, they are coarser ones.
    void SetCacheLimit(unsigned long long bytes);
    const GLRasterFrame& GetLastFrame() const;

private:
    std::unique_ptr<RasterLayerState> m_state; ///< null without memory
};

/// Readers of rasters that fit into memory. They keep the pixels and, a third more, their smaller levels; without the
/// memory for that there is no reader.
///
/// \param format  of LoadGLImage, in bytes
/// \param pixels  `height` × `width`, without padding, the upper row first
ORRIN_DISPLAY_API GLRasterReader MakeImageReader(unsigned int format, int width, int height,
                                                 std::vector<unsigned char> pixels);
/// For layers of GL_FLOAT. What is no number is left out of the means.
ORRIN_DISPLAY_API GLRasterReader MakeValueReader(int width, int height, std::vector<float> values);

} // namespace KTR
