#pragma once

#include "RandomAccessFile.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct tiff;

namespace OrrinViewer {

/// How the samples of a TIFF file are stored.
struct TiffFormat {
    std::size_t bits = 8; ///< of a sample: 8, 16, 32 or 64
    enum class Kind { Unsigned, Signed, Floating } kind = Kind::Unsigned;
    std::size_t samples = 1; ///< of a pixel
    bool isPlanar = false;   ///< each band in blocks of its own
    bool isColor = false;    ///< for the eye: grey or red, green and blue
    bool isWhiteZero = false;
    std::size_t shownBands = 1; ///< that make the colour
    std::optional<std::size_t> alphaBand;
    int compression = 1;

    bool operator==(const TiffFormat&) const = default;
    std::size_t SampleBytes() const { return bits / 8; }
    /// Of those that stand together in a block.
    std::size_t PixelBytes() const { return SampleBytes() * (isPlanar ? 1 : samples); }
};

/// One of the images in the file: the whole or an overview of it.
struct TiffLevel {
    std::uint16_t directory = 0;
    int power = 0; ///< it has 2 to this less pixels each way than the whole
    int width = 0;
    int height = 0;
    bool isTiled = false;
    int blockWidth = 0; ///< of a tile, or of a part of a strip, which is as wide as the image
    int blockHeight = 0;
    int rowsPerStrip = 0;
};

/// Columns and rows of a level, the ends not included.
struct TiffArea {
    int west = 0;
    int north = 0;
    int east = 0;
    int south = 0;
};

/// Values of one band, next to each other in a row.
using TiffRow = std::span<const float>;

/// Decodes the tiles and strips of a TIFF file and keeps those that were used last. Throws FileError.
class TiffBlocks {
public:
    explicit TiffBlocks(const std::filesystem::path& path);
    ~TiffBlocks();
    TiffBlocks(const TiffBlocks&) = delete;
    TiffBlocks& operator=(const TiffBlocks&) = delete;

    const TiffFormat& Format() const { return m_format; }
    /// The whole first, then overviews, each coarser than the one before.
    const std::vector<TiffLevel>& Levels() const { return m_levels; }

    // What tags of the whole hold; empty where there is no such tag.
    std::vector<double> Numbers(std::uint32_t tag) const;
    std::vector<std::uint16_t> ShortNumbers(std::uint32_t tag) const;
    std::string Text(std::uint32_t tag) const;
    /// Colours that samples are numbers of.
    std::vector<std::array<std::uint8_t, 3>> Palette() const;

    /// Calls `take(row, firstColumn, bands)` for each part of a row in the area that lies in one block: the bands that
    /// are shown, and behind them the opacity where there is one. What the file leaves out is passed over.
    using Take = std::function<void(int row, int firstColumn, std::span<const TiffRow> bands)>;
    void ForEachRow(const TiffLevel& level, const TiffArea& area, const Take& take);

    // For the callbacks of the decoder.
    RandomAccessFile& File() { return m_file; }
    std::uint64_t position = 0;
    void NoteFault(const char* text);

private:
    struct Close {
        void operator()(tiff* handle) const;
    };
    struct Block {
        std::uint16_t directory = 0;
        std::uint32_t strile = 0; ///< number of the tile or strip
        int firstRow = 0;
        std::vector<std::uint8_t> bytes; ///< empty where the file leaves it out
    };

    void Open();
    TiffFormat ReadFormat() const;
    TiffLevel ReadLevel();
    void FindOverviews();
    void Select(const TiffLevel& level);
    [[noreturn]] void Fail(const std::string& problem) const;
    const Block& FindBlock(const TiffLevel& level, int column, int row, std::size_t band);
    void Decode(const TiffLevel& level, std::uint32_t plane, Block& block);
    void DecodeRows(const TiffLevel& level, std::uint32_t plane, Block& block, std::size_t rowBytes);
    void ReadPlainRows(Block& block, std::uint64_t skipped);

    RandomAccessFile m_file;
    std::unique_ptr<tiff, Close> m_tiff;
    std::string m_fault;
    TiffFormat m_format;
    std::vector<TiffLevel> m_levels;
    std::uint16_t m_selected = 0;
    std::list<Block> m_blocks; ///< the one used last comes first
    std::size_t m_blockBytes = 0;
    std::int64_t m_nextRow = -1; ///< that the decoder stands before, where rows are decoded one by one
    std::uint32_t m_nextPlane = 0;
    std::vector<std::uint8_t> m_passed; ///< a row that nobody wants
};

} // namespace OrrinViewer
