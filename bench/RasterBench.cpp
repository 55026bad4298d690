// What rasters cost on one core: values that become colours, smaller levels, adjusted images. Bytes are those read.

#include "images/DataColors.h"
#include "images/ImageLevels.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using namespace KTR;

constexpr int kSide = 2048;
constexpr std::size_t kValues = std::size_t{kSide} * kSide;

GLDataStyle Terrain(double gamma) {
    return {.low = 0.0,
            .high = 3000.0,
            .gamma = gamma,
            .stops = {{0.0, {0, 80, 160, 255}},
                      {0.1, {40, 140, 60, 255}},
                      {0.5, {160, 120, 60, 255}},
                      {1.0, {255, 255, 255, 255}}},
            .hasNoData = true,
            .noData = -9999.0};
}

/// Hills, or values without any order, with a hole in every hundred.
template <typename Value> std::vector<Value> Values(bool ordered) {
    std::vector<Value> values(kValues);
    std::uint32_t random = 1;
    for (std::size_t index = 0; index < kValues; ++index) {
        random = random * 1'664'525U + 1'013'904'223U;
        const double x = static_cast<double>(index % kSide) / 90.0;
        const double y = static_cast<double>(index / kSide) / 70.0;
        const double height = ordered ? 1500.0 + 1000.0 * std::sin(x) * std::cos(y) : random % 3000;
        values[index] = static_cast<Value>(random % 100 == 0 ? -9999.0 : height);
    }
    return values;
}

template <typename Value, unsigned int kType> void ConvertValues(benchmark::State& state) {
    const std::vector<Value> values = Values<Value>(state.range(0) == 0);
    const DataColors colors(Terrain(1.8));
    std::vector<unsigned char> rgba(kValues * 4);
    for (auto _ : state) {
        colors.Convert({kType, kSide, kSide, 4, values.data()}, rgba.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kValues * sizeof(Value)));
}
BENCHMARK(ConvertValues<float, GL_FLOAT>)->Name("floats")->ArgName("disordered")->Arg(0)->Arg(1);
BENCHMARK(ConvertValues<std::int16_t, GL_SHORT>)->Name("16_bits")->ArgName("disordered")->Arg(0)->Arg(1);

void MakeStyle(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(DataColors(Terrain(1.8)));
    }
}
BENCHMARK(MakeStyle)->Name("style");

void MakeSmallerLevels(benchmark::State& state) {
    const std::vector<unsigned char> pixels(kValues * 4, 255);
    for (auto _ : state) {
        benchmark::DoNotOptimize(SmallerLevels({GL_RGBA, kSide, kSide, kSide, 1, pixels.data()}));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(pixels.size()));
}
BENCHMARK(MakeSmallerLevels)->Name("smaller_levels");

} // namespace

BENCHMARK_MAIN();
