#include "TiffBlocks.h"

#include "FileError.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

#include <tiffio.h>

namespace OrrinViewer {

namespace {

constexpr std::size_t kCacheBytes = 128u << 20;
constexpr std::size_t kLargestBlock = 32u << 20;
/// Of the parts that strips are read in.
constexpr std::size_t kStripPart = 1u << 20;
constexpr int kMostDirectories = 64;

/// No compression that is read packs more tightly, whatever its input.
constexpr std::uint64_t kTightestPacking = 1400;

TiffBlocks& OwnerOf(thandle_t handle) {
    return *static_cast<TiffBlocks*>(handle);
}

tmsize_t ReadBytes(thandle_t handle, void* buffer, tmsize_t size) {
    TiffBlocks& owner = OwnerOf(handle);
    try {
        const std::size_t read =
            owner.File().ReadSome(owner.position, {static_cast<std::uint8_t*>(buffer),
                                                   static_cast<std::size_t>(std::max<tmsize_t>(size, 0))});
        owner.position += read;
        return static_cast<tmsize_t>(read);
    } catch (const std::exception&) {
        return 0; // the decoder is C
    }
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) {
    return 0;
}

toff_t SeekTo(thandle_t handle, toff_t offset, int origin) {
    TiffBlocks& owner = OwnerOf(handle);
    if (origin == SEEK_CUR) {
        offset += owner.position;
    } else if (origin == SEEK_END) {
        offset += owner.File().Size();
    }
    owner.position = offset;
    return offset;
}

int CloseNothing(thandle_t) {
    return 0;
}

toff_t TellSize(thandle_t handle) {
    return OwnerOf(handle).File().Size();
}

int TakeFault(TIFF*, void* owner, const char*, const char* format, va_list arguments) {
    std::array<char, 256> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    OwnerOf(owner).NoteFault(text.data());
    return 1;
}

int PassWarning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

template <typename Number> void ConvertRow(const std::uint8_t* bytes, std::size_t step, std::vector<float>& values) {
    for (float& value : values) {
        Number number;
        std::memcpy(&number, bytes, sizeof(Number));
        value = static_cast<float>(number);
        bytes += step;
    }
}

/// Samples in the machine's byte order, `step` bytes apart.
void ConvertRow(const TiffFormat& format, const std::uint8_t* bytes, std::size_t step, std::vector<float>& values) {
    switch (format.kind) {
    case TiffFormat::Kind::Unsigned:
        return format.bits == 8    ? ConvertRow<std::uint8_t>(bytes, step, values)
               : format.bits == 16 ? ConvertRow<std::uint16_t>(bytes, step, values)
                                   : ConvertRow<std::uint32_t>(bytes, step, values);
    case TiffFormat::Kind::Signed:
        return format.bits == 8    ? ConvertRow<std::int8_t>(bytes, step, values)
               : format.bits == 16 ? ConvertRow<std::int16_t>(bytes, step, values)
                                   : ConvertRow<std::int32_t>(bytes, step, values);
    case TiffFormat::Kind::Floating:
        return format.bits == 32 ? ConvertRow<float>(bytes, step, values) : ConvertRow<double>(bytes, step, values);
    }
}

void SwapBytes(std::size_t sampleBytes, std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at + sampleBytes <= bytes.size(); at += sampleBytes) {
        std::reverse(&bytes[at], &bytes[at] + sampleBytes);
    }
}

/// By how many halvings a size becomes another; 0 where it does not, or where nothing is halved.
int FindPower(int width, int height, int smallerWidth, int smallerHeight) {
    const auto fits = [](int size, int smaller, int power) {
        const int halved = ((size - 1) >> power) + 1;
        return smaller == halved || smaller == halved - 1; // some writers round down
    };
    for (int power = 1; power < 31; ++power) {
        if (fits(width, smallerWidth, power) && fits(height, smallerHeight, power)) {
            return power;
        }
    }
    return 0;
}

} // namespace

void TiffBlocks::Close::operator()(tiff* handle) const {
    TIFFClose(handle);
}

TiffBlocks::TiffBlocks(const std::filesystem::path& path) : m_file(path) {
    Open();
    m_format = ReadFormat();
    m_levels.push_back(ReadLevel());
    FindOverviews();
}

TiffBlocks::~TiffBlocks() = default;

void TiffBlocks::NoteFault(const char* text) {
    m_fault = text;
}

void TiffBlocks::Fail(const std::string& problem) const {
    m_file.Fail(problem + (m_fault.empty() ? "" : ": " + QuoteForMessage(m_fault)));
}

void TiffBlocks::Open() {
    constexpr tmsize_t kMostAtOnce = 256 << 20;
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostAtOnce);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), TakeFault, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), PassWarning, this);
    // Tables of offsets are read as blocks are asked for (O), not mapped (m), and one large strip stays one (c).
    m_tiff.reset(TIFFClientOpenExt("image", "rOmc", this, ReadBytes, WriteNothing, SeekTo, CloseNothing, TellSize,
                                   nullptr, nullptr, options.get()));
    if (!m_tiff) {
        Fail("is a damaged TIFF image");
    }
}

TiffFormat TiffBlocks::ReadFormat() const {
    TIFF* handle = m_tiff.get();
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t kind = SAMPLEFORMAT_UINT;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t extraCount = 0;
    std::uint16_t* extras = nullptr;
    TIFFGetFieldDefaulted(handle, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(handle, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(handle, TIFFTAG_SAMPLEFORMAT, &kind);
    TIFFGetFieldDefaulted(handle, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(handle, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(handle, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(handle, TIFFTAG_EXTRASAMPLES, &extraCount, &extras);

    constexpr const char* kConverts = "; gdal_translate -co COMPRESS=DEFLATE in.tif out.tif converts it";
    if (TIFFIsCODECConfigured(compression) == 0) {
        Fail("is a TIFF image with compression " + std::to_string(compression) + ", which is not read" + kConverts);
    }
    TiffFormat format;
    format.bits = bits;
    format.samples = samples;
    format.isPlanar = planar == PLANARCONFIG_SEPARATE;
    format.compression = compression;
    format.isWhiteZero = photometric == PHOTOMETRIC_MINISWHITE;
    format.kind = kind == SAMPLEFORMAT_IEEEFP ? TiffFormat::Kind::Floating
                  : kind == SAMPLEFORMAT_INT  ? TiffFormat::Kind::Signed
                                              : TiffFormat::Kind::Unsigned;
    const bool isFloating = format.kind == TiffFormat::Kind::Floating;
    const bool isKnownSize = isFloating ? bits == 32 || bits == 64 : bits == 8 || bits == 16 || bits == 32;
    if (!isKnownSize || samples == 0 || kind > SAMPLEFORMAT_VOID) {
        Fail("is a TIFF image of samples with " + std::to_string(bits) +
             " bits, which is not read; gdal_translate -ot "
             "Byte (or Float32) in.tif out.tif converts it");
    }
    const bool isByte = format.kind == TiffFormat::Kind::Unsigned && bits == 8;
    const bool isWord = format.kind == TiffFormat::Kind::Unsigned && bits == 16;
    const std::size_t bands = samples - std::min<std::size_t>(extraCount, samples);
    switch (photometric) {
    case PHOTOMETRIC_RGB:
        format.isColor = (isByte || isWord) && bands >= 3;
        break;
    case PHOTOMETRIC_PALETTE:
        format.isColor = isByte || isWord;
        break;
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        format.isColor = isByte;
        break;
    default:
        Fail("is a TIFF image of colours of kind " + std::to_string(photometric) +
             ", which are not read; gdal_translate -expand rgb in.tif out.tif converts some");
    }
    // Satellites' bands without a colour of their own are shown as one all the same where there are three.
    format.shownBands = format.isColor && photometric != PHOTOMETRIC_PALETTE && samples >= 3 ? 3 : 1;
    for (std::size_t extra = 0; format.isColor && extra < extraCount && bands < samples; ++extra) {
        const bool isAlpha = extras[extra] == EXTRASAMPLE_ASSOCALPHA || extras[extra] == EXTRASAMPLE_UNASSALPHA;
        if (isAlpha && bands + extra >= format.shownBands && bands + extra < samples && !format.alphaBand) {
            format.alphaBand = bands + extra;
        }
    }
    return format;
}

/// Of the directory that the decoder is at.
TiffLevel TiffBlocks::ReadLevel() {
    TIFF* handle = m_tiff.get();
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(handle, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(handle, TIFFTAG_IMAGELENGTH, &height);
    constexpr std::uint32_t kLargest = 1u << 30;
    if (width == 0 || height == 0 || width > kLargest || height > kLargest) {
        Fail("is a TIFF image of " + std::to_string(width) + " by " + std::to_string(height) + " pixels");
    }
    TiffLevel level;
    level.directory = static_cast<std::uint16_t>(TIFFCurrentDirectory(handle));
    level.width = static_cast<int>(width);
    level.height = static_cast<int>(height);
    level.isTiled = TIFFIsTiled(handle) != 0;
    const std::size_t pixelBytes = m_format.PixelBytes();
    if (level.isTiled) {
        std::uint32_t tileWidth = 0;
        std::uint32_t tileHeight = 0;
        TIFFGetField(handle, TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(handle, TIFFTAG_TILELENGTH, &tileHeight);
        if (tileWidth == 0 || tileHeight == 0 || tileWidth > kLargestBlock || tileHeight > kLargestBlock ||
            std::uint64_t{tileWidth} * tileHeight > kLargestBlock / pixelBytes) {
            Fail("has tiles of " + std::to_string(tileWidth) + " by " + std::to_string(tileHeight) +
                 " pixels, which is too much; gdal_translate -co TILED=YES in.tif out.tif makes smaller ones");
        }
        level.blockWidth = static_cast<int>(tileWidth);
        level.blockHeight = static_cast<int>(tileHeight);
    } else {
        std::uint32_t rows = 0;
        TIFFGetFieldDefaulted(handle, TIFFTAG_ROWSPERSTRIP, &rows);
        level.rowsPerStrip = static_cast<int>(std::clamp<std::uint32_t>(rows, 1, height));
        level.blockWidth = level.width;
        const std::size_t rowBytes = pixelBytes * width;
        if (rowBytes > kLargestBlock) {
            Fail("has rows of " + std::to_string(rowBytes) +
                 " bytes, which is too much; gdal_translate -co TILED=YES "
                 "in.tif out.tif converts it");
        }
        const std::size_t rowsAtOnce = std::max<std::size_t>(kStripPart / rowBytes, 1);
        level.blockHeight =
            static_cast<int>(std::min<std::size_t>(rowsAtOnce, static_cast<std::size_t>(level.rowsPerStrip)));
    }
    // Each of them takes some bytes for its place alone.
    const std::uint64_t across = static_cast<std::uint64_t>((level.width - 1) / level.blockWidth) + 1;
    const std::uint64_t down =
        static_cast<std::uint64_t>((level.height - 1) / (level.isTiled ? level.blockHeight : level.rowsPerStrip)) + 1;
    const std::uint64_t planes = m_format.isPlanar ? m_format.samples : 1;
    if (across * down > (m_file.Size() / 2 + 4) / planes) {
        Fail("promises " + std::to_string(across * down * planes) + " tiles or strips, for which it is too small");
    }
    return level;
}

void TiffBlocks::FindOverviews() {
    for (int directory = 1; directory < kMostDirectories && TIFFReadDirectory(m_tiff.get()) != 0; ++directory) {
        std::uint32_t type = 0;
        TIFFGetFieldDefaulted(m_tiff.get(), TIFFTAG_SUBFILETYPE, &type);
        if ((type & FILETYPE_REDUCEDIMAGE) == 0 || (type & FILETYPE_MASK) != 0) {
            continue;
        }
        try {
            if (ReadFormat() != m_format) {
                continue;
            }
            TiffLevel level = ReadLevel();
            level.power = FindPower(m_levels[0].width, m_levels[0].height, level.width, level.height);
            if (level.power > m_levels.back().power) {
                m_levels.push_back(level);
            }
        } catch (const std::exception&) {
            continue; // the whole is there
        }
    }
    m_selected = std::numeric_limits<std::uint16_t>::max(); // wherever that has led to
    m_fault.clear();
    Select(m_levels.front());
}

void TiffBlocks::Select(const TiffLevel& level) {
    if (m_selected == level.directory) {
        return;
    }
    if (TIFFSetDirectory(m_tiff.get(), level.directory) == 0) {
        Fail("is a damaged TIFF image");
    }
    m_selected = level.directory;
    m_nextRow = -1;
}

std::vector<double> TiffBlocks::Numbers(std::uint32_t tag) const {
    const TIFFField* field = TIFFFindField(m_tiff.get(), tag, TIFF_ANY);
    std::uint32_t count = 0;
    double* numbers = nullptr;
    if (field == nullptr || TIFFFieldDataType(field) != TIFF_DOUBLE || TIFFFieldPassCount(field) == 0 ||
        TIFFGetField(m_tiff.get(), tag, &count, &numbers) == 0) {
        return {};
    }
    return {numbers, numbers + count};
}

std::vector<std::uint16_t> TiffBlocks::ShortNumbers(std::uint32_t tag) const {
    const TIFFField* field = TIFFFindField(m_tiff.get(), tag, TIFF_ANY);
    std::uint32_t count = 0;
    std::uint16_t* numbers = nullptr;
    if (field == nullptr || TIFFFieldDataType(field) != TIFF_SHORT || TIFFFieldPassCount(field) == 0 ||
        TIFFGetField(m_tiff.get(), tag, &count, &numbers) == 0) {
        return {};
    }
    return {numbers, numbers + count};
}

std::string TiffBlocks::Text(std::uint32_t tag) const {
    const TIFFField* field = TIFFFindField(m_tiff.get(), tag, TIFF_ANY);
    std::uint32_t count = 0;
    char* text = nullptr;
    if (field == nullptr || TIFFFieldDataType(field) != TIFF_ASCII || TIFFFieldPassCount(field) == 0 ||
        TIFFGetField(m_tiff.get(), tag, &count, &text) == 0) {
        return {};
    }
    const std::string_view whole(text, count);
    return std::string(whole.substr(0, std::min(whole.find('\0'), whole.size())));
}

std::vector<std::array<std::uint8_t, 3>> TiffBlocks::Palette() const {
    std::uint16_t photometric = 0;
    TIFFGetField(m_tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    std::uint16_t* red = nullptr;
    std::uint16_t* green = nullptr;
    std::uint16_t* blue = nullptr;
    std::vector<std::array<std::uint8_t, 3>> palette;
    if (photometric != PHOTOMETRIC_PALETTE || !m_format.isColor ||
        TIFFGetField(m_tiff.get(), TIFFTAG_COLORMAP, &red, &green, &blue) == 0) {
        return palette;
    }
    const std::size_t entries = std::size_t{1} << m_format.bits;
    // Of 16 bits by the book; old writers filled in 8.
    const auto isWide = [entries](const std::uint16_t* channel) {
        return std::any_of(channel, channel + entries, [](std::uint16_t value) { return value > 255; });
    };
    const int shift = isWide(red) || isWide(green) || isWide(blue) ? 8 : 0;
    for (std::size_t entry = 0; entry < entries; ++entry) {
        palette.push_back({static_cast<std::uint8_t>(red[entry] >> shift),
                           static_cast<std::uint8_t>(green[entry] >> shift),
                           static_cast<std::uint8_t>(blue[entry] >> shift)});
    }
    return palette;
}

void TiffBlocks::ForEachRow(const TiffLevel& level, const TiffArea& area, const Take& take) {
    Select(level);
    std::vector<std::size_t> bands;
    for (std::size_t band = 0; band < m_format.shownBands; ++band) {
        bands.push_back(band);
    }
    if (m_format.alphaBand) {
        bands.push_back(*m_format.alphaBand);
    }
    const std::size_t pixelBytes = m_format.PixelBytes();
    const std::size_t rowBytes = pixelBytes * static_cast<std::size_t>(level.blockWidth);
    std::vector<std::vector<float>> values(bands.size());
    std::vector<TiffRow> rows(bands.size());
    // All of a block, then the next one: a block that does not stay in the cache is decoded once.
    const int firstBlockRow = area.north - area.north % level.blockHeight;
    const int firstBlockColumn = area.west - area.west % level.blockWidth;
    for (int blockRow = firstBlockRow; blockRow < area.south; blockRow += level.blockHeight) {
        for (int blockColumn = firstBlockColumn; blockColumn < area.east; blockColumn += level.blockWidth) {
            const int west = std::max(blockColumn, area.west);
            const int count = std::min(blockColumn + level.blockWidth, area.east) - west;
            for (int row = std::max(blockRow, area.north); row < std::min(blockRow + level.blockHeight, area.south);
                 ++row) {
                bool isThere = true;
                for (std::size_t index = 0; index < bands.size(); ++index) {
                    const Block& block = FindBlock(level, blockColumn, row, bands[index]);
                    const std::size_t start = static_cast<std::size_t>(row - block.firstRow) * rowBytes +
                                              static_cast<std::size_t>(west - blockColumn) * pixelBytes +
                                              (m_format.isPlanar ? 0 : bands[index] * m_format.SampleBytes());
                    isThere = isThere && start < block.bytes.size();
                    if (isThere) {
                        values[index].resize(static_cast<std::size_t>(count));
                        ConvertRow(m_format, &block.bytes[start], pixelBytes, values[index]);
                        rows[index] = values[index];
                    }
                }
                if (isThere) {
                    take(row, west, rows);
                }
            }
        }
    }
}

/// The block with a pixel in it. It is there until another one is asked for.
const TiffBlocks::Block& TiffBlocks::FindBlock(const TiffLevel& level, int column, int row, std::size_t band) {
    const std::uint32_t plane = m_format.isPlanar ? static_cast<std::uint32_t>(band) : 0;
    const int inStrip = level.isTiled ? row % level.blockHeight : row % level.rowsPerStrip;
    const int firstRow =
        level.isTiled ? row - inStrip : row - inStrip + inStrip / level.blockHeight * level.blockHeight;
    const int across = (level.width - 1) / level.blockWidth + 1;
    const int blockRows = level.isTiled ? level.blockHeight : level.rowsPerStrip;
    const int down = (level.height - 1) / blockRows + 1;
    const std::uint32_t strile =
        plane * static_cast<std::uint32_t>(across) * static_cast<std::uint32_t>(down) +
        static_cast<std::uint32_t>(std::int64_t{row / blockRows} * across + column / level.blockWidth);
    const auto found = std::find_if(m_blocks.begin(), m_blocks.end(), [&](const Block& block) {
        return block.strile == strile && block.firstRow == firstRow && block.directory == level.directory;
    });
    if (found != m_blocks.end()) {
        m_blocks.splice(m_blocks.begin(), m_blocks, found);
        return m_blocks.front();
    }
    Block block;
    block.directory = level.directory;
    block.strile = strile;
    block.firstRow = firstRow;
    Decode(level, plane, block);
    while (!m_blocks.empty() && m_blockBytes + block.bytes.size() > kCacheBytes) {
        m_blockBytes -= m_blocks.back().bytes.size();
        m_blocks.pop_back();
    }
    m_blockBytes += block.bytes.size();
    m_blocks.push_front(std::move(block));
    return m_blocks.front();
}

/// Fills in the bytes of a block.
void TiffBlocks::Decode(const TiffLevel& level, std::uint32_t plane, Block& block) {
    TIFF* handle = m_tiff.get();
    const std::uint64_t packed = TIFFGetStrileByteCount(handle, block.strile);
    if (packed == 0) {
        return; // left out
    }
    const int stripEnd =
        level.isTiled
            ? 0
            : std::min(block.firstRow - block.firstRow % level.rowsPerStrip + level.rowsPerStrip, level.height);
    const int rows = level.isTiled ? level.blockHeight : std::min(level.blockHeight, stripEnd - block.firstRow);
    const std::size_t rowBytes = m_format.PixelBytes() * static_cast<std::size_t>(level.blockWidth);
    const std::size_t size = rowBytes * static_cast<std::size_t>(rows);
    const bool isPlain = m_format.compression == COMPRESSION_NONE;
    if (std::min(packed, m_file.Size()) < (isPlain ? size : size / kTightestPacking)) {
        Fail("tile or strip " + std::to_string(block.strile) + " promises more than its " + std::to_string(packed) +
             " bytes can hold");
    }
    block.bytes.resize(size);
    if (level.isTiled) {
        const auto wanted = static_cast<tmsize_t>(size);
        if (TIFFReadEncodedTile(handle, block.strile, block.bytes.data(), wanted) != wanted) {
            Fail("tile " + std::to_string(block.strile) + " is damaged");
        }
    } else if (isPlain) {
        ReadPlainRows(block, static_cast<std::uint64_t>(block.firstRow % level.rowsPerStrip) * rowBytes);
    } else if (level.blockHeight == level.rowsPerStrip) {
        const auto wanted = static_cast<tmsize_t>(size);
        m_nextRow = -1;
        if (TIFFReadEncodedStrip(handle, block.strile, block.bytes.data(), wanted) != wanted) {
            Fail("strip " + std::to_string(block.strile) + " is damaged");
        }
    } else {
        DecodeRows(level, plane, block, rowBytes);
    }
}

/// Strips without compression may be as large as the file; only the rows that are wanted are read.
void TiffBlocks::ReadPlainRows(Block& block, std::uint64_t skipped) {
    m_file.ReadAt(TIFFGetStrileOffset(m_tiff.get(), block.strile) + skipped, block.bytes);
    if (TIFFIsByteSwapped(m_tiff.get()) != 0) {
        SwapBytes(m_format.SampleBytes(), block.bytes);
    }
}

/// Decoding a strip begins at its first row; it goes on where it is wanted from top to bottom, as it mostly is.
void TiffBlocks::DecodeRows(const TiffLevel& level, std::uint32_t plane, Block& block, std::size_t rowBytes) {
    const int stripStart = block.firstRow - block.firstRow % level.rowsPerStrip;
    const bool goesOn = m_nextPlane == plane && m_nextRow >= stripStart && m_nextRow <= block.firstRow;
    int row = goesOn ? static_cast<int>(m_nextRow) : stripStart;
    const int end = block.firstRow + static_cast<int>(block.bytes.size() / rowBytes);
    m_nextRow = -1;
    m_passed.resize(rowBytes);
    for (; row < end; ++row) {
        std::uint8_t* target = row < block.firstRow
                                   ? m_passed.data()
                                   : &block.bytes[static_cast<std::size_t>(row - block.firstRow) * rowBytes];
        if (TIFFReadScanline(m_tiff.get(), target, static_cast<std::uint32_t>(row),
                             static_cast<std::uint16_t>(plane)) != 1) {
            Fail("row " + std::to_string(row) + " is damaged");
        }
    }
    m_nextRow = end;
    m_nextPlane = plane;
}

} // namespace OrrinViewer
