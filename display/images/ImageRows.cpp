#include "ImageRows.h"

#include "../values/GLTypes.h"

#include <GL/glext.h>

#include <cmath>
#include <cstdlib>

namespace KTR {

namespace {

bool IsMarked(const unsigned char* rgba, const NoDataTreatment& treatment) {
    const auto isNear = [&treatment](unsigned char level, unsigned char marker) {
        return std::abs(level - marker) <= treatment.tolerance;
    };
    return isNear(rgba[0], treatment.marker.r) && isNear(rgba[1], treatment.marker.g) &&
           isNear(rgba[2], treatment.marker.b);
}

/// One pixel of any format of bytes as red, green, blue and alpha.
void ReadPixel(unsigned int format, const unsigned char* pixel, unsigned char* rgba) {
    switch (format) {
    case GL_RGB:
    case GL_RGBA:
        std::copy_n(pixel, 3, rgba);
        rgba[3] = format == GL_RGBA ? pixel[3] : 255;
        break;
    case GL_BGR:
    case GL_BGRA:
        rgba[0] = pixel[2];
        rgba[1] = pixel[1];
        rgba[2] = pixel[0];
        rgba[3] = format == GL_BGRA ? pixel[3] : 255;
        break;
    case GL_ALPHA:
        std::fill_n(rgba, 3, static_cast<unsigned char>(255));
        rgba[3] = pixel[0];
        break;
    case GL_RED:
        rgba[0] = pixel[0];
        rgba[1] = 0;
        rgba[2] = 0;
        rgba[3] = 255;
        break;
    default:
        std::fill_n(rgba, 3, pixel[0]);
        rgba[3] = format == GL_LUMINANCE_ALPHA ? pixel[1] : 255;
        break;
    }
}

} // namespace

int BytesPerPixel(unsigned int format) {
    switch (format) {
    case GL_LUMINANCE:
    case GL_ALPHA:
    case GL_RED:
        return 1;
    case GL_LUMINANCE_ALPHA:
        return 2;
    case GL_RGB:
    case GL_BGR:
        return 3;
    case GL_RGBA:
    case GL_BGRA:
    case GL_DEPTH_COMPONENT:
        return 4;
    default:
        return 0;
    }
}

bool IsLoadable(const ImageRows& rows) {
    const int alignment = rows.rowAlignment;
    return rows.width > 0 && rows.height > 0 && BytesPerPixel(rows.format) != 0 &&
           (alignment == 1 || alignment == 2 || alignment == 4 || alignment == 8);
}

unsigned long long RowBytes(const ImageRows& rows) {
    const auto alignment = static_cast<unsigned long long>(rows.rowAlignment);
    const unsigned long long bytes =
        static_cast<unsigned long long>(rows.rowLength) * static_cast<unsigned long long>(BytesPerPixel(rows.format));
    return (bytes + alignment - 1) / alignment * alignment;
}

ImageRows PartOf(const ImageRows& rows, int x, int y, int width, int height) {
    ImageRows part = rows;
    part.width = width;
    part.height = height;
    if (rows.pixels) {
        part.pixels += static_cast<unsigned long long>(y) * RowBytes(rows) +
                       static_cast<unsigned long long>(x) * static_cast<unsigned long long>(BytesPerPixel(rows.format));
    }
    return part;
}

std::vector<TileSpan> CutIntoTiles(int size, int limit) {
    if (size <= limit) {
        return {{0, size, 0, size}};
    }
    std::vector<TileSpan> tiles;
    const int step = std::max(limit - 2, 1);
    for (int first = 0; first < size;) {
        const int last = size - first > step ? first + step : size;
        tiles.push_back({first, last, std::max(first - 1, 0), last < size ? last + 1 : size});
        first = last;
    }
    return tiles;
}

int PowerOfTwoFor(int size) {
    int power = 1;
    while (power < size) {
        power *= 2;
    }
    return power;
}

std::vector<unsigned char> PadToPowersOfTwo(const ImageRows& rows) {
    const auto bytesPerPixel = static_cast<std::size_t>(BytesPerPixel(rows.format));
    const auto width = static_cast<std::size_t>(PowerOfTwoFor(rows.width));
    const auto height = static_cast<std::size_t>(PowerOfTwoFor(rows.height));
    const std::size_t filled = static_cast<std::size_t>(rows.width) * bytesPerPixel;
    std::vector<unsigned char> padded(width * height * bytesPerPixel);
    unsigned char* target = padded.data();
    for (std::size_t y = 0; y < height; ++y, target += width * bytesPerPixel) {
        const std::size_t row = std::min(y, static_cast<std::size_t>(rows.height) - 1);
        std::copy_n(rows.pixels + row * RowBytes(rows), filled, target);
        for (std::size_t byte = filled; byte < width * bytesPerPixel; ++byte) {
            target[byte] = target[byte - bytesPerPixel];
        }
    }
    return padded;
}

LevelTable LevelsOf(const GLImageAdjustment& adjustment) {
    LevelTable levels;
    for (std::size_t level = 0; level < levels.size(); ++level) {
        const double curved = std::pow(static_cast<double>(level) / 255.0, 1.0 / adjustment.gamma);
        const double adjusted = (curved - 0.5) * adjustment.contrast + 0.5 + adjustment.brightness;
        levels[level] = static_cast<unsigned char>(std::lround(std::clamp(adjusted, 0.0, 1.0) * 255.0));
    }
    return levels;
}

std::vector<unsigned char> AdjustColors(const ImageRows& rows, const LevelTable& levels) {
    const auto bytesPerPixel = static_cast<std::size_t>(BytesPerPixel(rows.format));
    const std::size_t rowBytes = static_cast<std::size_t>(rows.width) * bytesPerPixel;
    const bool hasAlpha = rows.format == GL_RGBA || rows.format == GL_BGRA || rows.format == GL_LUMINANCE_ALPHA;
    const std::size_t colors = rows.format == GL_ALPHA ? 0 : bytesPerPixel - (hasAlpha ? 1 : 0);
    std::vector<unsigned char> adjusted;
    adjusted.reserve(rowBytes * static_cast<std::size_t>(rows.height));
    for (std::size_t y = 0; y < static_cast<std::size_t>(rows.height); ++y) {
        const unsigned char* const source = rows.pixels + y * RowBytes(rows);
        adjusted.insert(adjusted.end(), source, source + rowBytes);
    }
    for (std::size_t pixel = 0; pixel < adjusted.size(); pixel += bytesPerPixel) {
        for (std::size_t channel = 0; channel < colors; ++channel) {
            adjusted[pixel + channel] = levels[adjusted[pixel + channel]];
        }
    }
    return adjusted;
}

std::vector<unsigned char> ToRgba(const ImageRows& rows) {
    const auto width = static_cast<std::size_t>(rows.width);
    const auto height = static_cast<std::size_t>(rows.height);
    const auto bytesPerPixel = static_cast<std::size_t>(BytesPerPixel(rows.format));
    std::vector<unsigned char> rgba(width * height * 4);
    unsigned char* target = rgba.data();
    for (std::size_t y = 0; y < height; ++y) {
        const unsigned char* source = rows.pixels + y * RowBytes(rows);
        for (std::size_t x = 0; x < width; ++x, source += bytesPerPixel, target += 4) {
            ReadPixel(rows.format, source, target);
        }
    }
    return rgba;
}

std::vector<unsigned char> TreatNoData(const ImageRows& rows, const NoDataTreatment& treatment,
                                       const LevelTable& levels) {
    const auto width = static_cast<std::size_t>(rows.width);
    const auto height = static_cast<std::size_t>(rows.height);
    std::vector<unsigned char> rgba = ToRgba(rows);
    bool hasHoles = false;
    for (std::size_t pixel = 0; pixel < rgba.size(); pixel += 4) {
        unsigned char* const target = rgba.data() + pixel;
        if (!IsMarked(target, treatment)) {
            for (std::size_t channel = 0; channel < 3 && rows.format != GL_ALPHA; ++channel) {
                target[channel] = levels[target[channel]];
            }
        } else if (treatment.transparent) {
            target[3] = 0;
            hasHoles = true;
        } else {
            target[0] = treatment.paint.r;
            target[1] = treatment.paint.g;
            target[2] = treatment.paint.b;
        }
    }
    if (hasHoles) {
        ColorHoles(rgba.data(), width, height,
                   [&treatment](const unsigned char* pixel) { return IsMarked(pixel, treatment); });
    }
    return rgba;
}

} // namespace KTR
