#pragma once

#include "data/Raster.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace OrrinViewer {

/// True for what a TIFF file begins with, BigTIFF included.
bool BeginsLikeTiff(std::string_view beginning);

/// A rectangle of a level of a raster, in pixels of that level, of which each is the mean of 2 to the `level` pixels
/// each way.
struct TiffWindow {
    int level = 0;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// A TIFF image with its place on the map, of any size: only what is asked for is read, from the file's overviews where
/// it has them. Decoded parts are kept, up to a limit. One thread at a time.
///
/// Read are samples of 8, 16 and 32 bits and floating point, in strips and tiles, plain or compressed by LZW, Deflate
/// or PackBits. Where it lies the GeoTIFF tags say, or a world file beside it. Throws FileError.
class TiffFile {
public:
    explicit TiffFile(const std::filesystem::path& path);
    ~TiffFile();
    TiffFile(TiffFile&&) noexcept;
    TiffFile& operator=(TiffFile&&) noexcept;

    int Width() const;
    int Height() const;
    const PixelToMap& Place() const;
    /// An image for the eye; otherwise values such as elevations, of the first band.
    bool HasColors() const;
    /// The coarsest level in the file that is no coarser than this one; of which it would be read.
    int FindLevelRead(int level) const;
    /// Numbers of the table of keys that tells the coordinate system, and the texts it refers to; empty where there is
    /// none.
    const std::vector<std::uint16_t>& GeoKeys() const;
    const std::vector<double>& GeoNumbers() const;
    std::string_view GeoTexts() const;

    /// Red, green, blue and opacity of each pixel, the upper row first.
    void ReadColors(const TiffWindow& window, std::uint8_t* rgba);
    /// The values; NaN where there is none.
    void ReadValues(const TiffWindow& window, float* values);
    /// Values from all over the raster, of which colours can be made.
    std::vector<double> SampleValues();

private:
    class Reader;
    std::unique_ptr<Reader> m_reader;
};

} // namespace OrrinViewer
