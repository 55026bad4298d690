// What loading a font costs: the atlas, and beside it FreeType alone opening the same file and loading the same glyphs.
// The library's share is what lies between the two.

#include "support/FontFile.h"

#include <benchmark/benchmark.h>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace {

using namespace KTR;

struct BenchFont {
    const wchar_t* face;
    const wchar_t* file;
    int points;
};

constexpr BenchFont kArial{L"arial", L"arial.ttf", 12};
constexpr BenchFont kDejaVuSans{L"DejaVu Sans", L"DejaVuSans.ttf", 12};

void PrepareProcess() {
    COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = 16384;
    CFTGLFontManager::CalculateScreenDPI();
}

void BuildAtlas(benchmark::State& state, const BenchFont& font) {
    PrepareProcess();
    for (auto _ : state) {
        CFTGLFontAtlas atlas;
        FontParameters request = FontRequest(font.face, font.points);
        if (atlas.SetUpNewFont(request) != S_OK) {
            state.SkipWithError("the font did not load");
            return;
        }
        benchmark::DoNotOptimize(atlas.GetRawTexture());
    }
}

void FreeTypeAlone(benchmark::State& state, const BenchFont& font) {
    PrepareProcess();
    const std::string path = (FontsFolder() / font.file).string();
    const auto dpi = static_cast<FT_UInt>(CFTGLFontManager::m_giDPI);
    for (auto _ : state) {
        FT_Library library = nullptr;
        FT_Face face = nullptr;
        FT_Init_FreeType(&library);
        if (FT_New_Face(library, path.c_str(), 0, &face) != 0) {
            state.SkipWithError("the font did not open");
            return;
        }
        FT_Set_Char_Size(face, font.points * 64, font.points * 64, dpi, dpi);
        FT_UInt glyph = 0;
        for (FT_ULong code = FT_Get_First_Char(face, &glyph); glyph; code = FT_Get_Next_Char(face, code, &glyph)) {
            FT_Load_Char(face, code, FT_LOAD_NO_SCALE);
            FT_Load_Char(face, code, FT_LOAD_RENDER);
        }
        for (FT_ULong code = FT_Get_First_Char(face, &glyph); glyph; code = FT_Get_Next_Char(face, code, &glyph)) {
            FT_Load_Char(face, code, FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT | FT_LOAD_TARGET_MONO);
        }
        FT_Done_Face(face);
        FT_Done_FreeType(library);
    }
}

BENCHMARK_CAPTURE(FreeTypeAlone, Arial12, kArial)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BuildAtlas, Arial12, kArial)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FreeTypeAlone, DejaVuSans12, kDejaVuSans)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BuildAtlas, DejaVuSans12, kDejaVuSans)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
