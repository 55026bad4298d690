// What rasters cost on one core: values that become colours, smaller levels (bytes are those read), and a layer of ten
// thousand million pixels that is panned and zoomed on the machine's driver.

#include "BenchView.h"
#include "images/DataColors.h"
#include "images/ImageLevels.h"
#include "images/RasterLayer.h"

#include <psapi.h>

#include <algorithm>
#include <chrono>
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

constexpr int kWindowWidth = 1200;
constexpr int kWindowHeight = 800;
constexpr int kLargeSide = 100'000;
constexpr unsigned long long kCacheLimit = 256ULL << 20;

/// A source that computes its pixels, so that no disk is measured.
GLRasterRead ReadPattern(const GLRasterWindow& window, void* pixels) {
    auto* target = static_cast<unsigned char*>(pixels);
    for (int y = window.y; y < window.y + window.height; ++y) {
        for (int x = window.x; x < window.x + window.width; ++x) {
            *target++ = static_cast<unsigned char>(x >> 2);
            *target++ = static_cast<unsigned char>(y >> 2);
            *target++ = static_cast<unsigned char>(window.level * 20);
        }
    }
    return GLRasterReadDone;
}

double PeakMegabytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.PeakWorkingSetSize) / (1 << 20);
}

/// A minute of a user's: in from everything to single pixels, along, and out again. Each frame is timed to its end.
void PanAndZoom(benchmark::State& state) {
    COpenGLView& view = ViewFor<kWindowWidth, kWindowHeight>(state.range(0) != 0).Take();
    const double before = PeakMegabytes();
    double worst = 0.0;
    double cached = 0.0;
    double read = 0.0;
    double blurred = 0.0;
    int frames = 0;
    for (auto _ : state) {
        GLRasterDescription description;
        description.width = kLargeSide;
        description.height = kLargeSide;
        description.pixels = GL_RGB;
        CRasterLayer layer(description, ReadPattern);
        layer.SetCacheLimit(kCacheLimit);
        for (int frame = 0; frame < 600; ++frame) {
            const double in = std::clamp(std::fmin(frame, 600.0 - frame) / 200.0, 0.0, 1.0);
            const double half = 60'000.0 * std::pow(0.005, in);
            const double x = 20'000.0 + 60.0 * frame;
            const double y = -30'000.0 - 45.0 * frame;
            view.SetUpViewport(0, 0, kWindowWidth, kWindowHeight);
            view.MatrixMode(GL_PROJECTION);
            view.Ortho(x - half, x + half, y - half * 2.0 / 3.0, y + half * 2.0 / 3.0, -1.0, 1.0);
            view.MatrixMode(GL_MODELVIEW);
            view.LoadIdentity();
            view.SetBackgroundColor(0, true);
            const auto start = std::chrono::steady_clock::now();
            layer.Draw(view);
            view.Finish();
            const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
            worst = std::fmax(worst, time.count());
            cached = std::fmax(cached, static_cast<double>(COpenGLView::m_gRasterTextureManager.GetTextureCacheSize()));
            read += layer.GetLastFrame().read;
            blurred += layer.GetLastFrame().standIns > 0 ? 1.0 : 0.0;
            ++frames;
        }
        layer.DeleteTiles(view);
    }
    state.SetItemsProcessed(frames);
    state.counters["worst_ms"] = worst;
    state.counters["tiles_read_per_frame"] = read / frames;
    state.counters["frames_with_stand_ins"] = blurred / frames;
    state.counters["cache_MB"] = cached / (1 << 20);
    state.counters["process_MB"] = PeakMegabytes() - before;
}
BENCHMARK(PanAndZoom)
    ->Name("pan_and_zoom")
    ->ArgName("programs")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

int main(int argumentCount, char** arguments) {
    UseShadersOfTheBuild();
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
