#include "ImageLevels.h"

#include "../values/GLTypes.h"

#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace KTR {

namespace {

/// The pixels of one direction that become one, beginning with `first`, and what each counts.
struct Taps {
    std::size_t first = 0;
    std::uint64_t weights[3] = {};
    std::size_t count = 0;

    bool IsPair() const { return count == 2; }
};

int HalfOf(int size, Halving halving) {
    return std::max(halving == Halving::Up ? (size + 1) / 2 : size / 2, 1);
}

std::vector<Taps> TapsOf(int size, Halving halving) {
    const auto half = static_cast<std::size_t>(HalfOf(size, halving));
    std::vector<Taps> taps(half);
    const bool thirds = halving == Halving::Down && size % 2 == 1 && size > 1;
    for (std::size_t index = 0; index < half; ++index) {
        Taps& one = taps[index];
        one.first = index * 2;
        if (thirds) {
            // Of 2 n + 1 pixels each of n gets what lies under it, in parts of 1 / n of a pixel.
            one = {index * 2, {half - index, half, index + 1}, 3};
        } else if (one.first + 1 < static_cast<std::size_t>(size)) {
            one = {index * 2, {1, 1, 0}, 2};
        } else {
            one = {index * 2, {1, 0, 0}, 1};
        }
    }
    return taps;
}

template <std::size_t kChannels, bool kLastIsAlpha> class Halver {
public:
    explicit Halver(const ImageRows& rows) : m_pixels(rows.pixels), m_rowBytes(RowBytes(rows)) {}

    void Write(const Taps& across, const Taps& down, unsigned char* target) const {
        if (across.IsPair() && down.IsPair() && WriteMeanOfFour(At(across.first, down.first), target)) {
            return;
        }
        std::uint64_t sums[kChannels] = {};
        std::uint64_t total = 0;
        std::uint64_t opacity = 0;
        for (std::size_t y = 0; y < down.count; ++y) {
            for (std::size_t x = 0; x < across.count; ++x) {
                const unsigned char* const pixel = At(across.first + x, down.first + y);
                const std::uint64_t weight = across.weights[x] * down.weights[y];
                const std::uint64_t counts = kLastIsAlpha ? weight * pixel[kChannels - 1] : weight;
                for (std::size_t channel = 0; channel < kColors; ++channel) {
                    sums[channel] += counts * pixel[channel];
                }
                opacity += counts;
                total += weight;
            }
        }
        if (opacity == 0) {
            // Nothing of it shows, but a smoothing filter looks here for the colour of an edge.
            std::copy_n(At(across.first, down.first), kChannels, target);
            return;
        }
        for (std::size_t channel = 0; channel < kColors; ++channel) {
            target[channel] = Rounded(sums[channel], opacity);
        }
        if constexpr (kLastIsAlpha) {
            target[kColors] = Rounded(opacity, total);
        }
    }

private:
    static constexpr std::size_t kColors = kLastIsAlpha ? kChannels - 1 : kChannels;

    const unsigned char* At(std::size_t x, std::size_t y) const { return m_pixels + y * m_rowBytes + x * kChannels; }
    static unsigned char Rounded(std::uint64_t sum, std::uint64_t count) {
        return static_cast<unsigned char>((sum + count / 2) / count);
    }
    /// The usual case, all four opaque. False when they are not.
    bool WriteMeanOfFour(const unsigned char* lower, unsigned char* target) const {
        const unsigned char* const upper = lower + m_rowBytes;
        if constexpr (kLastIsAlpha) {
            if ((lower[kColors] & lower[kColors + kChannels] & upper[kColors] & upper[kColors + kChannels]) != 255) {
                return false;
            }
        }
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            const int sum = lower[channel] + lower[channel + kChannels] + upper[channel] + upper[channel + kChannels];
            target[channel] = static_cast<unsigned char>((sum + 2) / 4);
        }
        return true;
    }

    const unsigned char* m_pixels;
    std::size_t m_rowBytes;
};

template <std::size_t kChannels, bool kLastIsAlpha>
void Halve(const ImageRows& rows, Halving halving, std::vector<unsigned char>& pixels) {
    const Halver<kChannels, kLastIsAlpha> halver(rows);
    const std::vector<Taps> across = TapsOf(rows.width, halving);
    const std::vector<Taps> down = TapsOf(rows.height, halving);
    pixels.resize(across.size() * down.size() * kChannels);
    unsigned char* target = pixels.data();
    for (const Taps& row : down) {
        for (const Taps& column : across) {
            halver.Write(column, row, target);
            target += kChannels;
        }
    }
}

} // namespace

ImageLevel HalveImage(const ImageRows& rows, Halving halving) {
    ImageLevel half{HalfOf(rows.width, halving), HalfOf(rows.height, halving), {}};
    if (!rows.pixels) {
        return half;
    }
    switch (rows.format) {
    case GL_RGBA:
    case GL_BGRA:
        Halve<4, true>(rows, halving, half.pixels);
        break;
    case GL_LUMINANCE_ALPHA:
        Halve<2, true>(rows, halving, half.pixels);
        break;
    case GL_RGB:
    case GL_BGR:
        Halve<3, false>(rows, halving, half.pixels);
        break;
    default:
        Halve<1, false>(rows, halving, half.pixels);
        break;
    }
    return half;
}

std::vector<ImageLevel> SmallerLevels(const ImageRows& rows) {
    std::vector<ImageLevel> levels;
    ImageRows last = rows;
    while (last.width > 1 || last.height > 1) {
        const ImageLevel& level = levels.emplace_back(HalveImage(last, Halving::Down));
        last = {rows.format, level.width, level.height, level.width, 1, rows.pixels ? level.pixels.data() : nullptr};
    }
    return levels;
}

std::vector<float> HalveValues(const std::vector<float>& values, int width, int height) {
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = static_cast<std::size_t>(height);
    std::vector<float> half;
    half.reserve((columns + 1) / 2 * ((rows + 1) / 2));
    for (std::size_t row = 0; row < rows; row += 2) {
        for (std::size_t column = 0; column < columns; column += 2) {
            double sum = 0.0;
            int count = 0;
            for (std::size_t y = row; y < std::min(row + 2, rows); ++y) {
                for (std::size_t x = column; x < std::min(column + 2, columns); ++x) {
                    const float value = values[y * columns + x];
                    sum += std::isnan(value) ? 0.0 : value;
                    count += std::isnan(value) ? 0 : 1;
                }
            }
            half.push_back(count > 0 ? static_cast<float>(sum / count) : std::numeric_limits<float>::quiet_NaN());
        }
    }
    return half;
}

} // namespace KTR
