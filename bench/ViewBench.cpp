// What it costs to find where places are on the screen, as labels and picking need it. No OpenGL is called; the driver
// swallows what the set-up sends.

#include "BenchView.h"

#include <random>
#include <vector>

namespace {

using namespace KTR;

constexpr PointXYZ kLow{500'000, 4'500'000, 0};
constexpr PointXYZ kHigh{510'000, 4'508'000, 900};

std::vector<PointXYZ> MakePlaces(std::size_t count) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    std::vector<PointXYZ> places(count);
    for (PointXYZ& place : places) {
        place = {kLow.x + (kHigh.x - kLow.x) * share(random), kLow.y + (kHigh.y - kLow.y) * share(random),
                 kLow.z + (kHigh.z - kLow.z) * share(random)};
    }
    return places;
}

void SetUp(bool perspective) {
    View().SetUpViewport(0, 0, 256, 256);
    if (perspective) {
        View().SetUpPerspectiveFromModelExtents(kLow, kHigh, 200, 30, 45, 1.5);
    } else {
        View().SetUpOrthoFromModelExtents(GLViewOrientationTop, kLow, kHigh, 1.0);
    }
}

void ConvertArray(benchmark::State& state, bool perspective) {
    SetUp(perspective);
    const std::vector<PointXYZ> places = MakePlaces(10'000);
    std::vector<PointXY> clients(places.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(View().RealWorld2Client(places.data(), places.size(), clients.data()));
        benchmark::ClobberMemory();
    }
    const auto converted = static_cast<double>(state.iterations()) * static_cast<double>(places.size());
    state.counters["s_per_place"] =
        benchmark::Counter(converted, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(ConvertArray, top, false);
BENCHMARK_CAPTURE(ConvertArray, perspective, true);

void ConvertOneByOne(benchmark::State& state, bool perspective) {
    SetUp(perspective);
    const std::vector<PointXYZ> places = MakePlaces(1'000);
    std::size_t next = 0;
    PointXY client;
    for (auto _ : state) {
        const PointXYZ& place = places[next];
        benchmark::DoNotOptimize(View().RealWorld2Client(place.x, place.y, place.z, client.x, client.y));
        next = next + 1 == places.size() ? 0 : next + 1;
    }
}
BENCHMARK_CAPTURE(ConvertOneByOne, top, false);
BENCHMARK_CAPTURE(ConvertOneByOne, perspective, true);

} // namespace

int main(int argumentCount, char** arguments) {
    return RunOnNullDriver(argumentCount, arguments);
}
