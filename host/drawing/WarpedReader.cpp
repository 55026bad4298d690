#include "WarpedReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace OrrinViewer {

namespace {

/// Between places so many pixels apart a transformation is as good as straight.
constexpr int kLatticePixels = 16;
/// More pixels of the source for one window are no sound way to show it.
constexpr double kMostSourcePixels = 6e7;
/// Red, green, blue and opacity, or a value.
constexpr std::size_t kBytesPerPixel = 4;

/// Pixels of the source, in pixels of the level that is read; where the source has no such place they are not numbers.
struct Lattice {
    int columns = 0;
    int rows = 0;
    std::vector<PixelPosition> pixels;

    const PixelPosition& At(int column, int row) const {
        return pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                      static_cast<std::size_t>(column)];
    }
    /// Of a pixel of the window.
    PixelPosition Between(int x, int y) const {
        const int column = x / kLatticePixels;
        const int row = y / kLatticePixels;
        const double east = static_cast<double>(x % kLatticePixels) / kLatticePixels;
        const double south = static_cast<double>(y % kLatticePixels) / kLatticePixels;
        const auto mix = [east, south](double a, double b, double c, double d) {
            return (a * (1.0 - east) + b * east) * (1.0 - south) + (c * (1.0 - east) + d * east) * south;
        };
        const PixelPosition& a = At(column, row);
        const PixelPosition& b = At(column + 1, row);
        const PixelPosition& c = At(column, row + 1);
        const PixelPosition& d = At(column + 1, row + 1);
        return {mix(a.column, b.column, c.column, d.column), mix(a.row, b.row, c.row, d.row)};
    }
};

class Warp {
public:
    Warp(WarpSource source, const PixelToMap& place, std::function<Position(const Position&)> backward)
        : m_source(std::move(source)), m_place(place), m_backward(std::move(backward)) {}

    KTR::GLRasterRead Read(const KTR::GLRasterWindow& window, void* pixels) const {
        auto* target = static_cast<std::uint8_t*>(pixels);
        const std::size_t count = static_cast<std::size_t>(window.width) * static_cast<std::size_t>(window.height);
        FillWithNothing(target, count);
        const Lattice lattice = MakeLattice(window);
        KTR::GLRasterWindow part = FindPart(lattice, window.level);
        if (part.width <= 0 || part.height <= 0) {
            return KTR::GLRasterReadDone;
        }
        if (static_cast<double>(part.width) * part.height > kMostSourcePixels) {
            return KTR::GLRasterReadFailed;
        }
        std::vector<std::uint8_t> read(static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height) *
                                       kBytesPerPixel);
        const KTR::GLRasterRead result = m_source.reader(part, read.data());
        if (result != KTR::GLRasterReadDone) {
            return result;
        }
        for (int y = 0; y < window.height; ++y) {
            for (int x = 0; x < window.width; ++x, target += kBytesPerPixel) {
                const PixelPosition from = lattice.Between(x, y);
                const double column = std::floor(from.column) - part.x;
                const double row = std::floor(from.row) - part.y;
                if (column >= 0.0 && row >= 0.0 && column < part.width && row < part.height) {
                    const std::size_t at = (static_cast<std::size_t>(row) * static_cast<std::size_t>(part.width) +
                                            static_cast<std::size_t>(column)) *
                                           kBytesPerPixel;
                    std::memcpy(target, &read[at], kBytesPerPixel);
                }
            }
        }
        return KTR::GLRasterReadDone;
    }

private:
    /// Full transparency, or no value.
    void FillWithNothing(std::uint8_t* target, std::size_t count) const {
        static_assert(sizeof(float) == kBytesPerPixel);
        constexpr float kNoValue = std::numeric_limits<float>::quiet_NaN();
        std::memset(target, 0, count * kBytesPerPixel);
        for (std::size_t pixel = 0; m_source.hasValues && pixel < count; ++pixel) {
            std::memcpy(target + pixel * kBytesPerPixel, &kNoValue, kBytesPerPixel);
        }
    }

    Lattice MakeLattice(const KTR::GLRasterWindow& window) const {
        const double size = std::ldexp(1.0, window.level);
        Lattice lattice;
        lattice.columns = (window.width - 1) / kLatticePixels + 2;
        lattice.rows = (window.height - 1) / kLatticePixels + 2;
        for (int row = 0; row < lattice.rows; ++row) {
            for (int column = 0; column < lattice.columns; ++column) {
                const Position there = m_place.At((window.x + column * kLatticePixels + 0.5) * size,
                                                  (window.y + row * kLatticePixels + 0.5) * size);
                const Position here = m_backward(there);
                const PixelPosition pixel = m_source.place.PixelAt(here.x, here.y);
                lattice.pixels.push_back({pixel.column / size, pixel.row / size});
            }
        }
        return lattice;
    }

    /// The part of the source's level that the lattice reaches over.
    KTR::GLRasterWindow FindPart(const Lattice& lattice, int level) const {
        const double width = ((m_source.width - 1) >> level) + 1;
        const double height = ((m_source.height - 1) >> level) + 1;
        double west = width;
        double east = 0.0;
        double north = height;
        double south = 0.0;
        for (const PixelPosition& pixel : lattice.pixels) {
            if (std::isfinite(pixel.column) && std::isfinite(pixel.row)) {
                west = std::min(west, pixel.column);
                east = std::max(east, pixel.column);
                north = std::min(north, pixel.row);
                south = std::max(south, pixel.row);
            }
        }
        const auto clampTo = [](double value, double most) {
            return static_cast<int>(std::clamp(std::floor(value), 0.0, most));
        };
        KTR::GLRasterWindow part;
        part.level = level;
        part.x = clampTo(west, width);
        part.y = clampTo(north, height);
        part.width = clampTo(east + 1.0, width) - part.x;
        part.height = clampTo(south + 1.0, height) - part.y;
        return part;
    }

    WarpSource m_source;
    PixelToMap m_place;
    std::function<Position(const Position&)> m_backward;
};

} // namespace

KTR::GLRasterReader MakeWarpedReader(WarpSource source, const PixelToMap& place,
                                     std::function<Position(const Position&)> backward) {
    const auto warp = std::make_shared<Warp>(std::move(source), place, std::move(backward));
    return [warp](const KTR::GLRasterWindow& window, void* pixels) { return warp->Read(window, pixels); };
}

} // namespace OrrinViewer
