#include "TiffFile.h"

#include "FileError.h"
#include "RandomAccessFile.h"
#include "TextParsing.h"
#include "TiffBlocks.h"
#include "WorldFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kPixelScaleTag = 33550;
constexpr std::uint32_t kTiePointTag = 33922;
constexpr std::uint32_t kTransformationTag = 34264;
constexpr std::uint32_t kGeoKeysTag = 34735;
constexpr std::uint32_t kGeoNumbersTag = 34736;
constexpr std::uint32_t kGeoTextsTag = 34737;
constexpr std::uint32_t kNoDataTag = 42113;

/// How a table of keys says that places are those of pixels' centres.
constexpr std::uint16_t kRasterTypeKey = 1025;
constexpr std::uint16_t kPixelIsPoint = 2;

bool ArePointPixels(const std::vector<std::uint16_t>& keys) {
    for (std::size_t key = 4; key + 4 <= keys.size(); key += 4) {
        if (keys[key] == kRasterTypeKey && keys[key + 1] == 0) {
            return keys[key + 3] == kPixelIsPoint;
        }
    }
    return false;
}

std::optional<PixelToMap> PlaceByTags(const TiffBlocks& blocks, const std::vector<std::uint16_t>& keys) {
    const std::vector<double> matrix = blocks.Numbers(kTransformationTag);
    const std::vector<double> scale = blocks.Numbers(kPixelScaleTag);
    const std::vector<double> tie = blocks.Numbers(kTiePointTag);
    PixelToMap place;
    if (matrix.size() >= 16) {
        place = {matrix[0], matrix[4], matrix[1], matrix[5], matrix[3], matrix[7]};
    } else if (scale.size() >= 2 && tie.size() >= 6) {
        place = {scale[0], 0.0, 0.0, -scale[1], tie[3] - tie[0] * scale[0], tie[4] + tie[1] * scale[1]};
    } else {
        return std::nullopt;
    }
    if (ArePointPixels(keys)) {
        const Position corner = place.At(-0.5, -0.5);
        place.originX = corner.x;
        place.originY = corner.y;
    }
    return place;
}

/// What is on the map, and has an area there.
bool IsUsable(const PixelToMap& place, int width, int height) {
    for (const int column : {0, width}) {
        for (const int row : {0, height}) {
            const Position corner = place.At(column, row);
            if (!IsPlace(corner)) {
                return false;
            }
        }
    }
    return place.columnX * place.rowY != place.columnY * place.rowX;
}

/// The sums of what pixels of a finer level a window's pixels are the means of.
struct Sums {
    std::vector<double> channels; ///< height × width × channels; a float would round the sum of a million pixels
    std::vector<double> weights;  ///< how much of them has data
    std::vector<double> counts;
};

} // namespace

bool BeginsLikeTiff(std::string_view beginning) {
    return beginning.starts_with("II*\0"sv) || beginning.starts_with("MM\0*"sv) || beginning.starts_with("II+\0"sv) ||
           beginning.starts_with("MM\0+"sv);
}

class TiffFile::Reader {
public:
    explicit Reader(const std::filesystem::path& path) : m_blocks(path) {
        m_keys = m_blocks.ShortNumbers(kGeoKeysTag);
        m_numbers = m_blocks.Numbers(kGeoNumbersTag);
        m_texts = m_blocks.Text(kGeoTextsTag);
        const TiffLevel& level = m_blocks.Levels().front();
        const std::optional<PixelToMap> place = PlaceByTags(m_blocks, m_keys);
        m_place = place ? *place : PlaceByWorldFile(path);
        if (!IsUsable(m_place, level.width, level.height)) {
            throw FileError(path, "its tags place it nowhere, or leave its pixels without an area");
        }
        std::string noData = m_blocks.Text(kNoDataTag);
        std::string_view rest = noData;
        m_noData = ParseNumber(TakeWord(rest));
        m_palette = m_blocks.Palette();
        if (HasColors() && m_blocks.Format().bits == 16 && m_palette.empty()) {
            StretchColors();
        }
    }

    const TiffLevel& Full() const { return m_blocks.Levels().front(); }
    const PixelToMap& Place() const { return m_place; }
    const std::vector<std::uint16_t>& Keys() const { return m_keys; }
    const std::vector<double>& Numbers() const { return m_numbers; }
    const std::string& Texts() const { return m_texts; }

    bool HasColors() const { return m_blocks.Format().isColor; }

    void ReadColors(const TiffWindow& window, std::uint8_t* rgba) {
        const Sums sums = Read(window, 3);
        for (std::size_t pixel = 0; pixel < sums.weights.size(); ++pixel) {
            const double weight = sums.weights[pixel];
            for (std::size_t channel = 0; channel < 3; ++channel) {
                *rgba++ = ToByte(weight > 0.0 ? sums.channels[3 * pixel + channel] / weight : 0.0);
            }
            *rgba++ = ToByte(sums.counts[pixel] > 0.0 ? 255.0 * weight / sums.counts[pixel] : 0.0);
        }
    }

    void ReadValues(const TiffWindow& window, float* values) {
        const Sums sums = Read(window, 1);
        for (std::size_t pixel = 0; pixel < sums.weights.size(); ++pixel) {
            const double weight = sums.weights[pixel];
            values[pixel] = weight > 0.0 ? static_cast<float>(sums.channels[pixel] / weight)
                                         : std::numeric_limits<float>::quiet_NaN();
        }
    }

    /// Of windows spread over the raster, at the finest level that makes no more than a few of them.
    std::vector<double> SampleValues() {
        constexpr int kSide = 32;
        constexpr int kWindows = 8; // each way
        const int power = m_blocks.Levels().back().power;
        const int width = ((Full().width - 1) >> power) + 1;
        const int height = ((Full().height - 1) >> power) + 1;
        std::vector<double> samples;
        for (int down = 0; down < kWindows; ++down) {
            for (int across = 0; across < kWindows; ++across) {
                TiffWindow window{power, 0, 0, std::min(kSide, width), std::min(kSide, height)};
                window.x = static_cast<int>(static_cast<std::int64_t>(width - window.width) * across / (kWindows - 1));
                window.y = static_cast<int>(static_cast<std::int64_t>(height - window.height) * down / (kWindows - 1));
                const Sums sums = Read(window, HasColors() ? 3 : 1);
                const std::size_t channels = sums.channels.size() / sums.weights.size();
                for (std::size_t value = 0; value < sums.channels.size(); ++value) {
                    if (const double weight = sums.weights[value / channels]; weight > 0.0) {
                        samples.push_back(sums.channels[value] / weight);
                    }
                }
            }
        }
        return samples;
    }

    /// The coarsest level of the file that is no coarser than wanted.
    const TiffLevel& FindLevel(int wanted) const {
        const TiffLevel* best = &Full();
        for (const TiffLevel& level : m_blocks.Levels()) {
            if (level.power <= wanted && level.power > best->power) {
                best = &level;
            }
        }
        return *best;
    }

private:
    PixelToMap PlaceByWorldFile(const std::filesystem::path& path) const {
        try {
            return ReadWorldFile(FindWorldFile(path));
        } catch (const FileError& error) {
            throw FileError(path,
                            "says nowhere where it lies: it has no GeoTIFF tags, and " + std::string(error.what()));
        }
    }

    static std::uint8_t ToByte(double value) {
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
    }

    /// Sensors of 16 bits rarely use all of them: what nearly all values are within becomes the whole range.
    void StretchColors() {
        std::vector<double> values = SampleValues();
        if (values.empty()) {
            return;
        }
        std::sort(values.begin(), values.end());
        const double low = values[values.size() / 50];
        const double high = values[values.size() - 1 - values.size() / 50];
        if (high > low) {
            m_stretchScale = static_cast<float>(255.0 / (high - low));
            m_stretchOffset = static_cast<float>(-low * 255.0 / (high - low));
        }
    }

    Sums Read(const TiffWindow& window, std::size_t channels) {
        const TiffLevel& level = FindLevel(window.level);
        const int steps = window.level - level.power;
        const std::size_t pixels = static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height);
        Sums sums{std::vector<double>(pixels * channels), std::vector<double>(pixels), std::vector<double>(pixels)};
        const auto last = [steps](int first, int size, int limit) {
            return static_cast<int>(std::min<std::int64_t>((std::int64_t{first} + size) << steps, limit));
        };
        const TiffArea area{window.x << steps, window.y << steps, last(window.x, window.width, level.width),
                            last(window.y, window.height, level.height)};
        m_blocks.ForEachRow(level, area, [&](int row, int firstColumn, std::span<const TiffRow> bands) {
            AddRow(window, steps, row, firstColumn, bands, sums);
        });
        return sums;
    }

    void AddRow(const TiffWindow& window, int steps, int row, int firstColumn, std::span<const TiffRow> bands,
                Sums& sums) const {
        const bool isColor = HasColors();
        const std::size_t channels = isColor ? 3 : 1;
        const std::size_t rowStart =
            static_cast<std::size_t>((row >> steps) - window.y) * static_cast<std::size_t>(window.width);
        const TiffRow& first = bands.front();
        for (std::size_t index = 0; index < first.size(); ++index) {
            const int column = firstColumn + static_cast<int>(index);
            const std::size_t pixel = rowStart + static_cast<std::size_t>((column >> steps) - window.x);
            sums.counts[pixel] += 1.0;
            if (IsNoData(first[index])) {
                continue;
            }
            std::array<float, 4> values{first[index], first[index], first[index], 255.0F};
            if (isColor) {
                ColorOf(bands, index, values);
            }
            const double weight = isColor ? static_cast<double>(values[3]) / 255.0 : 1.0;
            sums.weights[pixel] += weight;
            for (std::size_t channel = 0; channel < channels; ++channel) {
                sums.channels[channels * pixel + channel] += weight * static_cast<double>(values[channel]);
            }
        }
    }

    bool IsNoData(float value) const {
        return !std::isfinite(value) || (m_noData && value == static_cast<float>(*m_noData));
    }

    /// From the bands at a place to red, green, blue and opacity, 0 to 255.
    void ColorOf(std::span<const TiffRow> bands, std::size_t index, std::array<float, 4>& color) const {
        const TiffFormat& format = m_blocks.Format();
        if (!m_palette.empty()) {
            const auto entry = static_cast<std::size_t>(color[0]);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                color[channel] = entry < m_palette.size() ? static_cast<float>(m_palette[entry][channel]) : 0.0F;
            }
            return;
        }
        const std::size_t colors = format.alphaBand ? bands.size() - 1 : bands.size();
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const float value = bands[std::min(channel, colors - 1)][index];
            color[channel] = value * m_stretchScale + m_stretchOffset;
        }
        if (format.isWhiteZero) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                color[channel] = 255.0F - color[channel];
            }
        }
        if (format.alphaBand) {
            color[3] = format.bits == 16 ? bands.back()[index] / 257.0F : bands.back()[index];
        }
    }

    TiffBlocks m_blocks;
    PixelToMap m_place;
    std::vector<std::uint16_t> m_keys;
    std::vector<double> m_numbers;
    std::string m_texts;
    std::optional<double> m_noData;
    std::vector<std::array<std::uint8_t, 3>> m_palette;
    float m_stretchScale = 1.0F;
    float m_stretchOffset = 0.0F;
};

TiffFile::TiffFile(const std::filesystem::path& path) : m_reader(std::make_unique<Reader>(path)) {}
TiffFile::~TiffFile() = default;
TiffFile::TiffFile(TiffFile&&) noexcept = default;
TiffFile& TiffFile::operator=(TiffFile&&) noexcept = default;

int TiffFile::Width() const {
    return m_reader->Full().width;
}

int TiffFile::Height() const {
    return m_reader->Full().height;
}

const PixelToMap& TiffFile::Place() const {
    return m_reader->Place();
}

bool TiffFile::HasColors() const {
    return m_reader->HasColors();
}

int TiffFile::FindLevelRead(int level) const {
    return m_reader->FindLevel(level).power;
}

const std::vector<std::uint16_t>& TiffFile::GeoKeys() const {
    return m_reader->Keys();
}

const std::vector<double>& TiffFile::GeoNumbers() const {
    return m_reader->Numbers();
}

std::string_view TiffFile::GeoTexts() const {
    return m_reader->Texts();
}

void TiffFile::ReadColors(const TiffWindow& window, std::uint8_t* rgba) {
    m_reader->ReadColors(window, rgba);
}

void TiffFile::ReadValues(const TiffWindow& window, float* values) {
    m_reader->ReadValues(window, values);
}

std::vector<double> TiffFile::SampleValues() {
    return m_reader->SampleValues();
}

} // namespace OrrinViewer
