// What the cache of raster textures costs a host that asks it for every tile of a frame, by the number of textures that
// it holds. The driver swallows everything.

#include "BenchView.h"

#include <string>
#include <vector>

namespace {

using namespace KTR;

constexpr int kTileSide = 256;

COpenGLViewTextureManager& Cache() {
    return COpenGLView::m_gRasterTextureManager;
}

/// Names as hosts build them: they agree for most of their length.
std::wstring NameOf(std::int64_t index) {
    return L"\\\\server\\orthophotos\\2024\\sheet_" + std::to_wstring(index) + L".tif:0";
}

bool Request(const std::wstring& name) {
    GLTextureObject* entry = nullptr;
    return View().RequestTextureFromCache(name.c_str(), kTileSide, kTileSide, 1, 4, kTileSide, kTileSide, 0, 0,
                                          kTileSide - 1, kTileSide - 1, 1.0, 0, 0, true, false, true, true, true,
                                          &entry);
}

/// As many textures as the benchmark's argument says, and their names in a scattered order.
std::vector<std::wstring> FillCache(std::int64_t count) {
    Cache().DeleteTextureObjects();
    std::vector<std::wstring> names;
    for (std::int64_t index = 0; index < count; ++index) {
        Request(NameOf(index));
        View().AddRequestedTexture(static_cast<unsigned int>(index + 1), 0, nullptr);
        names.push_back(NameOf(index * 7919 % count));
    }
    return names;
}

void RequestTextures(benchmark::State& state) {
    const std::vector<std::wstring> names = FillCache(state.range(0));
    std::size_t next = 0;
    for (auto _ : state) {
        if (!Request(names[next])) {
            state.SkipWithError("not in the cache");
        }
        next = next + 1 == names.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(RequestTextures)->Arg(10)->Arg(1'000)->Arg(10'000);

// A host that pans: each tile is new, and the oldest one goes.
void MissAddAndEvict(benchmark::State& state) {
    FillCache(state.range(0));
    std::int64_t next = state.range(0);
    for (auto _ : state) {
        Request(NameOf(next));
        View().AddRequestedTexture(static_cast<unsigned int>(++next), 0, nullptr);
        Cache().DeleteTextureLRU();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(MissAddAndEvict)->Arg(10)->Arg(1'000)->Arg(10'000);

void DrawCachedTexture(benchmark::State& state) {
    const std::vector<std::wstring> names = FillCache(1'000);
    const PointXYZ corners[] = {
        {500'000, 4'500'000, 0}, {500'256, 4'500'000, 0}, {500'256, 4'500'256, 0}, {500'000, 4'500'256, 0}};
    std::size_t next = 0;
    for (auto _ : state) {
        Request(names[next]);
        View().Draw2DTextureOnQuadrilateral(corners, nullptr);
        next = next + 1 == names.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(DrawCachedTexture);

} // namespace

int main(int argumentCount, char** arguments) {
    const int result = RunOnNullDriver(argumentCount, arguments);
    Cache().DeleteTextureObjects();
    return result;
}
