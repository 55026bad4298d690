// What text costs a host, on a driver that swallows everything: short labels and long strings on both pipelines, and
// beside them a loop by hand that lays the same glyphs out with their kerning, fills records and copies them. Counter
// "per_glyph" is the figure to read.

#include "BenchView.h"
#include "frames/Records.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace KTR;

constexpr int kLabels = 10'000;
constexpr const wchar_t* kLabel = L"Label 12";
constexpr int kLabelGlyphs = 8;
constexpr int kLongGlyphs = 5'000;

const std::wstring& LongText() {
    static const std::wstring text = [] {
        std::wstring made;
        for (int index = 0; index < kLongGlyphs; ++index) {
            made += static_cast<wchar_t>(L'A' + index * 7 % 50);
        }
        return made;
    }();
    return text;
}

void ReportPerGlyph(benchmark::State& state, int glyphs) {
    state.counters["per_glyph"] =
        benchmark::Counter(glyphs, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(state.iterations() * glyphs);
}

/// A view with its context `type` current, kept for all benchmarks.
template <GLRenderingContextTypes type> COpenGLView& View() {
    static TestWindow window(256, 256);
    static const std::unique_ptr<COpenGLView> view = [] {
        auto made = std::make_unique<COpenGLView>();
        made->CreateContext(window.DeviceContext(), true, type, L"bench", 32, AccelerationHardware);
        return made;
    }();
    view->MakeCurrent(type);
    return *view;
}

/// What a host's own loop does for the same picture: it looks up glyphs and kerning, fills records, and copies them
/// away where a batch is full and at the end.
void LoopByHand(benchmark::State& state, const std::vector<std::wstring>& texts, int glyphs) {
    View<GLContextMain>();
    const Frames::TextLayout layout;
    constexpr int kRecordsPerPiece = 32'760;
    std::vector<GLDrawGeometry> records(kRecordsPerPiece);
    std::vector<GLDrawGeometry> copied(kRecordsPerPiece);
    Frames::RecordFiller filler(records, kRecordsPerPiece, [&](const GLDrawGeometry* piece, int count) {
        std::memcpy(copied.data(), piece, static_cast<std::size_t>(count) * sizeof(GLDrawGeometry));
        benchmark::ClobberMemory();
    });
    for (auto _ : state) {
        int label = 0;
        for (const std::wstring& text : texts) {
            layout.Walk(text, label % 200, label / 50,
                        [&](const Frames::TextLayout::Quad& quad) { filler.AddGlyph(quad); });
            ++label;
        }
        filler.Flush();
    }
    ReportPerGlyph(state, glyphs);
}

void LongStringByHand(benchmark::State& state) {
    LoopByHand(state, {LongText()}, kLongGlyphs);
}
BENCHMARK(LongStringByHand);

void ShortLabelsByHand(benchmark::State& state) {
    LoopByHand(state, std::vector<std::wstring>(kLabels, kLabel), kLabels * kLabelGlyphs);
}
BENCHMARK(ShortLabelsByHand);

void LongString(benchmark::State& state) {
    COpenGLView& view = View<GLContextMain>();
    view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    for (auto _ : state) {
        view.DrawFontAtlasText(LongText().c_str(), 5.0, 5.0, 0.0, false, false);
    }
    view.DrawTeardownFontAtlasText(false, false);
    ReportPerGlyph(state, kLongGlyphs);
}
BENCHMARK(LongString);

void DrawShortLabels(benchmark::State& state, COpenGLView& view) {
    for (auto _ : state) {
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        for (int label = 0; label < kLabels; ++label) {
            view.DrawFontAtlasText(kLabel, label % 200, label / 50, 0.0, false, false);
        }
        view.DrawTeardownFontAtlasText(false, false);
    }
    ReportPerGlyph(state, kLabels * kLabelGlyphs);
}

void ShortLabels(benchmark::State& state) {
    DrawShortLabels(state, View<GLContextMain>());
}
BENCHMARK(ShortLabels);

void ShortRotatedLabels(benchmark::State& state) {
    COpenGLView& view = View<GLContextMain>();
    for (auto _ : state) {
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        for (int label = 0; label < kLabels; ++label) {
            view.DrawFontAtlasScaledRotatedTextString(kLabel, nullptr, false, false, label % 200, label / 50, 0.0, 1.2,
                                                      1.2, 1.0, label % 360);
        }
        view.DrawTeardownFontAtlasText(false, false);
    }
    ReportPerGlyph(state, kLabels * kLabelGlyphs);
}
BENCHMARK(ShortRotatedLabels);

void ShortLabelsWithHalos(benchmark::State& state) {
    COpenGLView& view = View<GLContextMain>();
    view.SetTextHalo({0, 0, 0, 255}, 1.5);
    DrawShortLabels(state, view);
    view.SetTextHalo({}, 0.0);
}
BENCHMARK(ShortLabelsWithHalos);

void ShortShapedLabels(benchmark::State& state) {
    COpenGLView& view = View<GLContextMain>();
    view.SetTextShaping(true);
    DrawShortLabels(state, view);
    view.SetTextShaping(false);
}
BENCHMARK(ShortShapedLabels);

void LabelsAlongLines(benchmark::State& state) {
    COpenGLView& view = View<GLContextMain>();
    constexpr int lines = kLabels / 10;
    for (auto _ : state) {
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        for (int line = 0; line < lines; ++line) {
            const double x = line % 100;
            const double y = line / 10;
            const PointXYZ points[] = {{x, y, 0}, {x + 40, y + 10, 0}, {x + 80, y + 30, 0}, {x + 120, y + 35, 0}};
            view.DrawTextAlongLine(kLabel, points, 4, {});
        }
        view.DrawTeardownFontAtlasText(false, false);
    }
    ReportPerGlyph(state, lines * kLabelGlyphs);
}
BENCHMARK(LabelsAlongLines);

/// Display lists of a context, kept for all benchmarks.
unsigned int Lists(COpenGLView& view) {
    static const unsigned int lists = [&view] {
        const HFONT font = CreateFontW(-16, 0, 0, 0, 0, FALSE, FALSE, FALSE, ANSI_CHARSET, 0, 0, 0, 0, L"Arial");
        unsigned int made = 0;
        view.RefreshRasterFont(view.GetContextRecord(GLContextLegacy).deviceContext, made, font, 0);
        DeleteObject(font);
        return made;
    }();
    return lists;
}

void ShortLabelsFromLists(benchmark::State& state) {
    COpenGLView& view = View<GLContextLegacy>();
    const unsigned int lists = Lists(view);
    for (auto _ : state) {
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        for (int label = 0; label < kLabels; ++label) {
            view.DrawTextString(lists, kLabel, nullptr, true, false, false, label % 200, label / 50, 0.0);
        }
        view.DrawTeardownFontAtlasText(false, false);
    }
    ReportPerGlyph(state, kLabels * kLabelGlyphs);
}
BENCHMARK(ShortLabelsFromLists);

} // namespace

int main(int argumentCount, char** arguments) {
    return RunOnNullDriver(argumentCount, arguments, "4.6.0 NVIDIA 551.23");
}
