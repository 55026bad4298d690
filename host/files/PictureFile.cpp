#include "PictureFile.h"

#include "FileError.h"
#include "ImageFile.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace OrrinViewer {

using namespace std::string_view_literals;

constexpr std::size_t kChannels = 3;
/// Of a JPEG, whose pixels are all in memory.
constexpr std::size_t kMostPixelsInMemory = 250'000'000;

/// Makes the bytes of a kind of file.
class PictureFile::Format {
public:
    Format() = default;
    virtual ~Format() = default;
    Format(const Format&) = delete;
    Format& operator=(const Format&) = delete;

    /// The bytes that can be written after one more row.
    virtual std::string Add(std::span<const std::uint8_t> rgb) = 0;
    virtual std::string Finish() = 0;
};

struct PictureFile::Output {
    std::ofstream stream;
    bool isWhole = false;
};

namespace {

class PngFormat final : public PictureFile::Format {
public:
    PngFormat(int width, int height) : m_before(static_cast<std::size_t>(width) * kChannels) {
        if (deflateInit(&m_deflate, Z_DEFAULT_COMPRESSION) != Z_OK) {
            throw std::bad_alloc();
        }
        m_waiting = "\x89PNG\r\n\x1A\n"sv;
        std::string header;
        AppendNumber(header, static_cast<std::uint32_t>(width));
        AppendNumber(header, static_cast<std::uint32_t>(height));
        header += "\x08\x02\0\0\0"sv; // 8 bits, red, green and blue, not interlaced
        AppendChunk("IHDR", header);
    }
    ~PngFormat() override { deflateEnd(&m_deflate); }

    std::string Add(std::span<const std::uint8_t> rgb) override {
        FilterRow(rgb);
        Compress(m_best, Z_NO_FLUSH);
        m_before.assign(rgb.begin(), rgb.end());
        return std::exchange(m_waiting, {});
    }

    std::string Finish() override {
        Compress({}, Z_FINISH);
        AppendChunk("IEND", {});
        return std::exchange(m_waiting, {});
    }

private:
    static void AppendNumber(std::string& text, std::uint32_t number) {
        for (const int shift : {24, 16, 8, 0}) {
            text += static_cast<char>(number >> shift & 255U);
        }
    }

    void AppendChunk(std::string_view kind, std::string_view content) {
        AppendNumber(m_waiting, static_cast<std::uint32_t>(content.size()));
        const std::size_t start = m_waiting.size();
        m_waiting += kind;
        m_waiting += content;
        const uLong sum = crc32(0, reinterpret_cast<const Bytef*>(m_waiting.data() + start),
                                static_cast<uInt>(m_waiting.size() - start));
        AppendNumber(m_waiting, static_cast<std::uint32_t>(sum));
    }

    /// Of the differences from what is to the left, above and between, those that are smallest.
    void FilterRow(std::span<const std::uint8_t> rgb) {
        constexpr int kFilters = 3; // to the left, above, and what the format calls Paeth
        constexpr std::array<char, kFilters> kNumbers = {1, 2, 4};
        std::uint64_t leastSum = ~std::uint64_t{0};
        for (int filter = 0; filter < kFilters; ++filter) {
            m_row.assign(1, static_cast<std::uint8_t>(kNumbers[static_cast<std::size_t>(filter)]));
            std::uint64_t sum = 0;
            for (std::size_t at = 0; at < rgb.size(); ++at) {
                const int left = at < kChannels ? 0 : rgb[at - kChannels];
                const int above = m_before[at];
                const int corner = at < kChannels ? 0 : m_before[at - kChannels];
                const int expected = filter == 0 ? left : filter == 1 ? above : Predict(left, above, corner);
                const auto difference = static_cast<std::uint8_t>(rgb[at] - expected);
                m_row.push_back(difference);
                sum += static_cast<std::uint64_t>(std::abs(static_cast<std::int8_t>(difference)));
            }
            if (sum < leastSum) {
                leastSum = sum;
                m_best.swap(m_row);
            }
        }
    }

    static int Predict(int left, int above, int corner) {
        const int sum = left + above - corner;
        const int fromLeft = std::abs(sum - left);
        const int fromAbove = std::abs(sum - above);
        const int fromCorner = std::abs(sum - corner);
        return fromLeft <= fromAbove && fromLeft <= fromCorner ? left : fromAbove <= fromCorner ? above : corner;
    }

    void Compress(std::span<const std::uint8_t> bytes, int flush) {
        m_deflate.next_in = const_cast<Bytef*>(bytes.data()); // it only reads
        m_deflate.avail_in = static_cast<uInt>(bytes.size());
        int result = Z_OK;
        do {
            std::array<char, 1 << 16> chunk;
            m_deflate.next_out = reinterpret_cast<Bytef*>(chunk.data());
            m_deflate.avail_out = static_cast<uInt>(chunk.size());
            result = deflate(&m_deflate, flush);
            if (const std::size_t made = chunk.size() - m_deflate.avail_out; made > 0) {
                AppendChunk("IDAT", {chunk.data(), made});
            }
        } while (m_deflate.avail_out == 0 || (flush == Z_FINISH && result == Z_OK));
    }

    z_stream m_deflate{};
    std::vector<std::uint8_t> m_before; ///< the row above
    std::vector<std::uint8_t> m_row;
    std::vector<std::uint8_t> m_best;
    std::string m_waiting;
};

class JpegFormat final : public PictureFile::Format {
public:
    JpegFormat(const std::filesystem::path& path, int width, int height)
        : m_path(path), m_width(width), m_height(height) {
        m_pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kChannels);
    }
    std::string Add(std::span<const std::uint8_t> rgb) override {
        m_pixels.insert(m_pixels.end(), rgb.begin(), rgb.end());
        return {};
    }
    std::string Finish() override { return EncodeImage(m_path, m_width, m_height, m_pixels); }

private:
    std::filesystem::path m_path;
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_pixels;
};

bool IsPng(const std::filesystem::path& path) {
    const std::filesystem::path ending = path.extension();
    return ending == L".png" || ending == L".PNG" || ending == L".Png";
}

} // namespace

PictureFile::PictureFile(const std::filesystem::path& path, int widthPixels, int heightPixels)
    : m_path(path), m_draft(path), m_output(std::make_unique<Output>()) {
    const bool hasSize = widthPixels > 0 && heightPixels > 0 && widthPixels <= kLargestPictureSide &&
                         heightPixels <= kLargestPictureSide;
    if (!hasSize || !IsImageName(path)) {
        throw FileError(path, hasSize ? "is no name of a PNG or JPEG picture" : "a picture cannot have that size");
    }
    if (IsPng(path)) {
        m_format = std::make_unique<PngFormat>(widthPixels, heightPixels);
    } else {
        const auto pixels = static_cast<std::size_t>(widthPixels) * static_cast<std::size_t>(heightPixels);
        if (pixels > kMostPixelsInMemory) {
            throw FileError(path, "is too large for JPEG here; save it as PNG");
        }
        m_format = std::make_unique<JpegFormat>(path, widthPixels, heightPixels);
    }
    m_draft += ".new";
    m_output->stream.open(m_draft, std::ios::binary);
    if (!m_output->stream) {
        throw FileError(path, "the picture could not be written");
    }
}

PictureFile::~PictureFile() {
    if (!m_output->isWhole) {
        m_output->stream.close();
        std::error_code ignored;
        std::filesystem::remove(m_draft, ignored);
    }
}

void PictureFile::Put(const std::string& bytes) {
    m_output->stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!m_output->stream) {
        throw FileError(m_path, "the picture could not be written");
    }
}

void PictureFile::PutRow(std::span<const std::uint8_t> rgb) {
    Put(m_format->Add(rgb));
}

void PictureFile::Finish() {
    Put(m_format->Finish());
    m_output->stream.close();
    std::error_code error;
    std::filesystem::rename(m_draft, m_path, error);
    m_output->isWhole = m_output->stream && !error;
    if (!m_output->isWhole) {
        throw FileError(m_path, "the picture could not be written");
    }
}

} // namespace OrrinViewer
