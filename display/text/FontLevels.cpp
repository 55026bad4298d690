#include "FontLevels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KTR {

namespace {

/// Weights are whole numbers of 256ths.
constexpr int kWeightOne = 256;

/// Two neighbours, and how much of the second there is in their mix.
struct Tap {
    int first = 0;
    int second = 0;
    int secondWeight = 0;
};

/// What texel `index` of `smaller` is mixed from along one axis of `larger` texels. Where the larger one is odd, the
/// places fall between two texels unevenly; taking pairs instead would shift what lies at the far end.
Tap TapOf(int index, int smaller, int larger) {
    const double place = (index + 0.5) * larger / smaller - 0.5;
    const int before = static_cast<int>(std::floor(place));
    Tap tap;
    tap.first = std::clamp(before, 0, larger - 1);
    tap.second = std::clamp(before + 1, 0, larger - 1);
    tap.secondWeight = static_cast<int>(std::lround((place - before) * kWeightOne));
    return tap;
}

int Mix(int first, int second, int secondWeight) {
    return first * (kWeightOne - secondWeight) + second * secondWeight;
}

} // namespace

LevelRows RowsBehind(int width, int height, int first, int count) {
    const int smaller = NextLevelSide(height);
    const int begin = TapOf(first, smaller, height).first;
    return {width, height, begin, TapOf(first + count - 1, smaller, height).second + 1 - begin, nullptr};
}

std::vector<unsigned char> ReduceRows(const LevelRows& source, int first, int count) {
    constexpr int half = kWeightOne * kWeightOne / 2;
    const int width = NextLevelSide(source.width);
    const int height = NextLevelSide(source.height);
    std::vector<Tap> columns(static_cast<std::size_t>(width));
    for (int column = 0; column < width; ++column) {
        columns[static_cast<std::size_t>(column)] = TapOf(column, width, source.width);
    }
    const auto rowOf = [&](int row) {
        return source.pixels + static_cast<std::ptrdiff_t>(row - source.first) * source.width;
    };
    std::vector<int> mixed(static_cast<std::size_t>(source.width));
    std::vector<unsigned char> reduced;
    reduced.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(count));
    for (int row = first; row < first + count; ++row) {
        const Tap rows = TapOf(row, height, source.height);
        const unsigned char* const upper = rowOf(rows.first);
        const unsigned char* const lower = rowOf(rows.second);
        for (std::size_t column = 0; column < mixed.size(); ++column) {
            mixed[column] = Mix(upper[column], lower[column], rows.secondWeight);
        }
        for (const Tap& tap : columns) {
            const int sum = Mix(mixed[static_cast<std::size_t>(tap.first)], mixed[static_cast<std::size_t>(tap.second)],
                                tap.secondWeight);
            reduced.push_back(static_cast<unsigned char>((sum + half) / (kWeightOne * kWeightOne)));
        }
    }
    return reduced;
}

} // namespace KTR
