// What an overlay costs: putting a stored frame back against drawing its scene again. And what filled polygons cost:
// vertices a second through the view's tessellator against GLU alone, whose callbacks do nothing.

#include "BenchView.h"

#include <GL/glu.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace KTR;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kPoints = 1'000'000;

BenchView& ViewFor(bool programs) {
    return ::ViewFor<kWidth, kHeight>(programs);
}

void DrawInPixels(COpenGLView& view) {
    view.SetUpViewport(0, 0, kWidth, kHeight);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, kWidth, 0.0, kHeight, -1.0, 1.0);
}

void DrawScene(COpenGLView& view) {
    DrawInPixels(view);
    view.SetBackgroundColor(RGB(10, 20, 30), true);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    unsigned int number = 1;
    for (int point = 0; point < kPoints; ++point) {
        number = number * 1664525U + 1013904223U;
        view.AddIndex3DVertexRGBA(number % kWidth, (number >> 12) % kHeight, 0.0, static_cast<unsigned char>(number),
                                  128, 64, 255);
    }
    view.EndArraysAndDisableClientState();
    view.Finish();
}

void BM_DrawSceneAgain(benchmark::State& state, bool programs) {
    COpenGLView& view = ViewFor(programs).Take();
    for ([[maybe_unused]] auto _ : state) {
        DrawScene(view);
    }
}

void BM_RestoreFrame(benchmark::State& state, bool programs, bool depth) {
    BenchView& bench = ViewFor(programs);
    COpenGLView& view = bench.Take();
    DrawScene(view);
    if (view.SaveBackingStore(bench.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kWidth, kHeight) != S_OK) {
        state.SkipWithError("the frame could not be kept");
    }
    for ([[maybe_unused]] auto _ : state) {
        view.RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, kWidth, kHeight, 0, 0, kWidth, kHeight, false, depth,
                                 false);
        view.Finish();
    }
    view.DeleteBackingStore();
}

void BM_SaveFrame(benchmark::State& state, bool programs) {
    BenchView& bench = ViewFor(programs);
    COpenGLView& view = bench.Take();
    DrawScene(view);
    for ([[maybe_unused]] auto _ : state) {
        view.SaveBackingStore(bench.DeviceContext(), GLContextMain, GL_BACK, 0, 0, kWidth, kHeight);
    }
    view.DeleteBackingStore();
}

/// One move of the mouse with a band of that many pixels, presenting included.
void BM_MoveRubberBand(benchmark::State& state, bool programs) {
    COpenGLView& view = ViewFor(programs).Take();
    DrawScene(view);
    view.SwapBuffers();
    GLRubberBandStyle style;
    style.fillColor = {120, 180, 255, 50};
    view.SetRubberBandStyle(style);
    const double size = static_cast<double>(state.range(0));
    view.BeginRubberBand(GLRubberBandRectangle, 300.0, 200.0);
    view.MoveRubberBand(300.0 + size, 200.0 + size);
    int step = 0;
    for ([[maybe_unused]] auto _ : state) {
        ++step;
        if (view.MoveRubberBand(300.0 + size + step % 7, 200.0 + 0.6 * size + step % 5) != S_OK) {
            state.SkipWithError("there is no frame");
        }
        view.Finish();
    }
    view.EndRubberBand(false);
    view.DeleteBackingStore();
}

/// The coast of a country, beyond the right edge of the view, so that pixels cost nothing.
const std::vector<PointXY>& Coast(int vertices) {
    static std::vector<PointXY> coast;
    coast.clear();
    for (int index = 0; index < vertices; ++index) {
        const double angle = 6.283185307179586 * index / vertices;
        const double radius = 400.0 + 60.0 * std::sin(5.0 * angle) + 20.0 * std::sin(61.0 * angle);
        coast.push_back({5000.0 + radius * std::cos(angle), 500.0 + radius * std::sin(angle)});
    }
    return coast;
}

void BM_FillPolygon(benchmark::State& state, bool programs) {
    COpenGLView& view = ViewFor(programs).Take();
    DrawInPixels(view);
    const std::vector<PointXY>& coast = Coast(static_cast<int>(state.range(0)));
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    GLTesselator& tesselator = *view.GetTesselator();
    for ([[maybe_unused]] auto _ : state) {
        tesselator.BeginPolygon();
        for (const PointXY& point : coast) {
            tesselator.AddIndex2DVertexRGBA(point.x, point.y, 100, 60, 30, 255);
        }
        tesselator.EndContour();
        tesselator.EndPolygon();
    }
    view.DisableClientState();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void CALLBACK IgnoreBegin(GLenum /*mode*/, void* /*data*/) {}
void CALLBACK IgnoreVertex(void* /*vertex*/, void* /*data*/) {}
void CALLBACK IgnoreEnd(void* /*data*/) {}

void BM_GluAlone(benchmark::State& state) {
    const std::vector<PointXY>& coast = Coast(static_cast<int>(state.range(0)));
    using Callback = void(CALLBACK*)();
    GLUtesselator* glu = gluNewTess();
    gluTessCallback(glu, GLU_TESS_BEGIN_DATA, reinterpret_cast<Callback>(&IgnoreBegin));
    gluTessCallback(glu, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&IgnoreVertex));
    gluTessCallback(glu, GLU_TESS_END_DATA, reinterpret_cast<Callback>(&IgnoreEnd));
    gluTessProperty(glu, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_POSITIVE);
    struct Vertex {
        double position[3];
    };
    std::vector<Vertex> vertices(coast.size());
    for ([[maybe_unused]] auto _ : state) {
        gluTessBeginPolygon(glu, nullptr);
        gluTessBeginContour(glu);
        for (std::size_t index = 0; index < coast.size(); ++index) {
            vertices[index] = {{static_cast<float>(coast[index].x), static_cast<float>(coast[index].y), 0.0}};
            gluTessVertex(glu, vertices[index].position, &vertices[index]);
        }
        gluTessEndContour(glu);
        gluTessEndPolygon(glu);
    }
    gluDeleteTess(glu);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK_CAPTURE(BM_DrawSceneAgain, fixed_functions, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_DrawSceneAgain, programs, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_RestoreFrame, fixed_functions, false, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_RestoreFrame, programs, true, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_RestoreFrame, programs_depth, true, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_MoveRubberBand, fixed_functions, false)
    ->Arg(50)
    ->Arg(300)
    ->Arg(800)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_MoveRubberBand, programs, true)
    ->Arg(50)
    ->Arg(300)
    ->Arg(800)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_SaveFrame, fixed_functions, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_SaveFrame, programs, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GluAlone)->Arg(40)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(BM_FillPolygon, fixed_functions, false)->Arg(40)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(BM_FillPolygon, programs, true)->Arg(40)->Arg(1000)->Arg(100'000);

} // namespace

int main(int argumentCount, char** arguments) {
    UseShadersOfTheBuild();
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
