#include "ImageRows.h"

#include "../values/GLTypes.h"

#include <GL/glext.h>

#include <algorithm>

namespace KTR {

namespace {

bool HasColor(const unsigned char* rgba, const GLRGBColor& color) {
    return rgba[0] == color.r && rgba[1] == color.g && rgba[2] == color.b;
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

std::vector<unsigned char> TreatNoData(const ImageRows& rows, const NoDataTreatment& treatment) {
    const auto width = static_cast<std::size_t>(rows.width);
    const auto height = static_cast<std::size_t>(rows.height);
    const auto bytesPerPixel = static_cast<std::size_t>(BytesPerPixel(rows.format));
    std::vector<unsigned char> rgba(width * height * 4);
    for (std::size_t y = 0; y < height; ++y) {
        const unsigned char* source = rows.pixels + y * RowBytes(rows);
        unsigned char* target = rgba.data() + y * width * 4;
        for (std::size_t x = 0; x < width; ++x, source += bytesPerPixel, target += 4) {
            ReadPixel(rows.format, source, target);
            if (!HasColor(target, treatment.marker)) {
                continue;
            }
            if (treatment.transparent) {
                target[3] = 0;
            } else {
                target[0] = treatment.paint.r;
                target[1] = treatment.paint.g;
                target[2] = treatment.paint.b;
            }
        }
    }
    if (!treatment.transparent) {
        return rgba;
    }
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            unsigned char* pixel = rgba.data() + (y * width + x) * 4;
            if (pixel[3] != 0 || !HasColor(pixel, treatment.marker)) {
                continue;
            }
            const auto takeFrom = [&](std::size_t column, std::size_t row) {
                const unsigned char* neighbor = rgba.data() + (row * width + column) * 4;
                if (neighbor[3] == 0) {
                    return false;
                }
                std::copy_n(neighbor, 3, pixel);
                return true;
            };
            [[maybe_unused]] const bool taken =
                (x > 0 && takeFrom(x - 1, y)) || (x + 1 < width && takeFrom(x + 1, y)) ||
                (y > 0 && takeFrom(x, y - 1)) || (y + 1 < height && takeFrom(x, y + 1)) ||
                (x > 0 && y > 0 && takeFrom(x - 1, y - 1)) || (x + 1 < width && y > 0 && takeFrom(x + 1, y - 1)) ||
                (x > 0 && y + 1 < height && takeFrom(x - 1, y + 1)) ||
                (x + 1 < width && y + 1 < height && takeFrom(x + 1, y + 1));
        }
    }
    return rgba;
}

} // namespace KTR
