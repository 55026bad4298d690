#include "RasterLayer.h"

#include "../platform/Border.h"
#include "../values/GLTypes.h"
#include "ImageLevels.h"
#include "RasterTiling.h"

#include <algorithm>
#include <utility>

namespace KTR {

namespace {

/// A level of samples of one kind; a pixel has `channels` of them.
template <typename Sample> struct Level {
    int width = 0;
    int height = 0;
    std::vector<Sample> samples;
};

template <typename Sample>
GLRasterRead CopyWindow(const Level<Sample>& level, std::size_t channels, const GLRasterWindow& window, void* target) {
    const bool inside = window.x >= 0 && window.y >= 0 && window.width <= level.width - window.x &&
                        window.height <= level.height - window.y;
    if (!inside) {
        return GLRasterReadFailed;
    }
    const std::size_t rowSamples = static_cast<std::size_t>(level.width) * channels;
    const std::size_t windowSamples = static_cast<std::size_t>(window.width) * channels;
    auto* const samples = static_cast<Sample*>(target);
    for (int row = 0; row < window.height; ++row) {
        const std::size_t first =
            static_cast<std::size_t>(window.y + row) * rowSamples + static_cast<std::size_t>(window.x) * channels;
        std::copy_n(level.samples.data() + first, windowSamples,
                    samples + static_cast<std::size_t>(row) * windowSamples);
    }
    return GLRasterReadDone;
}

/// A reader of the samples and the levels that `halve` makes of them.
template <typename Sample, typename Halve> GLRasterReader MakeReader(int width, int height, std::size_t channels,
                                                                     std::vector<Sample> samples, const Halve& halve) {
    const std::size_t pixels =
        static_cast<std::size_t>(std::max(width, 0)) * static_cast<std::size_t>(std::max(height, 0));
    if (pixels == 0 || channels == 0 || samples.size() < pixels * channels) {
        return {};
    }
    try {
        auto levels = std::make_shared<std::vector<Level<Sample>>>();
        const int count = RasterGrid(width, height).LevelCount();
        levels->reserve(static_cast<std::size_t>(count));
        levels->push_back({width, height, std::move(samples)});
        while (static_cast<int>(levels->size()) < count) {
            levels->push_back(halve(levels->back()));
        }
        return [levels, channels](const GLRasterWindow& window, void* target) {
            const bool known = window.level >= 0 && window.level < static_cast<int>(levels->size());
            return known ? CopyWindow((*levels)[static_cast<std::size_t>(window.level)], channels, window, target)
                         : GLRasterReadFailed;
        };
    } catch (...) {
        DropCaught();
        return {};
    }
}

} // namespace

GLRasterReader MakeImageReader(unsigned int format, int width, int height, std::vector<unsigned char> pixels) {
    const auto halve = [format](const Level<unsigned char>& level) {
        ImageLevel half =
            HalveImage({format, level.width, level.height, level.width, 1, level.samples.data()}, Halving::Up);
        return Level<unsigned char>{half.width, half.height, std::move(half.pixels)};
    };
    const int bytes = format == GL_DEPTH_COMPONENT ? 0 : BytesPerPixel(format);
    return MakeReader(width, height, static_cast<std::size_t>(bytes), std::move(pixels), halve);
}

GLRasterReader MakeValueReader(int width, int height, std::vector<float> values) {
    const auto halve = [](const Level<float>& level) {
        return Level<float>{(level.width + 1) / 2, (level.height + 1) / 2,
                            HalveValues(level.samples, level.width, level.height)};
    };
    return MakeReader(width, height, 1, std::move(values), halve);
}

} // namespace KTR
