// What one vertex costs a host: the adds, flushes included, on a driver that swallows everything, beside two plain
// loops that store the same records. Counter "per_vertex" is the figure to read.

#include "BenchView.h"
#include "OutOfLineStore.h"

#include <vector>

namespace {

using namespace KTR;

constexpr int kVertices = 1'000'000;
constexpr int kInputs = 4096; // small enough to stay in the cache, so that the stores are what is measured

struct Input {
    PointXYZ position;
    PointXYZ normal;
    GLTexCoords texture;
    GLRGBAColor color;
};

const std::vector<Input>& Inputs() {
    static const std::vector<Input> inputs = [] {
        std::vector<Input> made(kInputs);
        for (int index = 0; index < kInputs; ++index) {
            const double number = index;
            made[static_cast<std::size_t>(index)] = {
                {number * 0.25, number * 0.5, number * 0.125},
                {0.0, 0.6, 0.8},
                {number / kInputs, 1.0 - number / kInputs},
                {static_cast<unsigned char>(index), static_cast<unsigned char>(index >> 4), 128, 255}};
        }
        return made;
    }();
    return inputs;
}

void ReportPerVertex(benchmark::State& state) {
    state.counters["per_vertex"] =
        benchmark::Counter(kVertices, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void PlainLoopInline(benchmark::State& state) {
    std::vector<GLDrawGeometry> records(kBatchRecords);
    for (auto _ : state) {
        const Input* inputs = Inputs().data();
        int slot = 0;
        for (int index = 0; index < kVertices; ++index) {
            const Input& input = inputs[index & (kInputs - 1)];
            GLDrawGeometry& record = records[static_cast<std::size_t>(slot)];
            record.x = static_cast<float>(input.position.x);
            record.y = static_cast<float>(input.position.y);
            record.z = static_cast<float>(input.position.z);
            record.r = input.color.r;
            record.g = input.color.g;
            record.b = input.color.b;
            record.a = input.color.a;
            if (++slot == kBatchRecords) {
                slot = 0;
                benchmark::ClobberMemory();
            }
        }
        benchmark::ClobberMemory();
    }
    ReportPerVertex(state);
}
BENCHMARK(PlainLoopInline);

void PlainLoopCall(benchmark::State& state) {
    RecordStore store(kBatchRecords);
    for (auto _ : state) {
        const Input* inputs = Inputs().data();
        for (int index = 0; index < kVertices; ++index) {
            const Input& input = inputs[index & (kInputs - 1)];
            store.Store(input.position.x, input.position.y, input.position.z, input.color.r, input.color.g,
                        input.color.b, input.color.a);
        }
        benchmark::ClobberMemory();
    }
    ReportPerVertex(state);
}
BENCHMARK(PlainLoopCall);

/// Runs one add for every vertex of a batch of points.
template <typename Add> void MeasureAdds(benchmark::State& state, Add add) {
    COpenGLView& view = View();
    view.EnableClientStateInternalBuffers(true, true, true, false, GLShaderPoint);
    for (auto _ : state) {
        const Input* inputs = Inputs().data();
        view.BeginArrays(GL_POINTS, GLShaderPoint);
        for (int index = 0; index < kVertices; ++index) {
            add(view, inputs[index & (kInputs - 1)]);
        }
        view.EndArrays();
    }
    view.DisableClientState();
    ReportPerVertex(state);
}

void Add2DVertexRGBA(benchmark::State& state) {
    MeasureAdds(state, [](COpenGLView& view, const Input& in) {
        view.AddIndex2DVertexRGBA(in.position.x, in.position.y, in.color.r, in.color.g, in.color.b, in.color.a);
    });
}
BENCHMARK(Add2DVertexRGBA);

void Add3DVertexRGBA(benchmark::State& state) {
    MeasureAdds(state, [](COpenGLView& view, const Input& in) {
        view.AddIndex3DVertexRGBA(in.position.x, in.position.y, in.position.z, in.color.r, in.color.g, in.color.b,
                                  in.color.a);
    });
}
BENCHMARK(Add3DVertexRGBA);

void Add3DVertexCurrentColor(benchmark::State& state) {
    View().SetCurrentColor(1, 2, 3, 4, false);
    MeasureAdds(state, [](COpenGLView& view, const Input& in) {
        view.AddIndex3DVertexCurrentColor(in.position.x, in.position.y, in.position.z, in.color.a);
    });
}
BENCHMARK(Add3DVertexCurrentColor);

void Add3DVertexNormalTexCoordRGBA(benchmark::State& state) {
    MeasureAdds(state, [](COpenGLView& view, const Input& in) {
        view.AddIndex3DVertexNormalTexCoordRGBA(in.position.x, in.position.y, in.position.z, in.normal.x, in.normal.y,
                                                in.normal.z, in.texture.s, in.texture.t, in.color.r, in.color.g,
                                                in.color.b, in.color.a);
    });
}
BENCHMARK(Add3DVertexNormalTexCoordRGBA);

void Add3DTriangleVertexRGBA(benchmark::State& state) {
    COpenGLView& view = View();
    const GLRGBColor color{10, 20, 30};
    view.EnableClientStateInternalBuffers(true, false, true, false, GLShaderColorPassThrough);
    for (auto _ : state) {
        const Input* inputs = Inputs().data();
        view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        for (int index = 0; index + 3 <= kVertices; index += 3) {
            view.AddIndex3DTriangleVertexRGBA(
                &inputs[index & (kInputs - 1)].position, &inputs[(index + 1) & (kInputs - 1)].position,
                &inputs[(index + 2) & (kInputs - 1)].position, &color, &color, &color, 255, 100.0, 200.0, 0.0);
        }
        view.EndArrays();
    }
    view.DisableClientState();
    ReportPerVertex(state);
}
BENCHMARK(Add3DTriangleVertexRGBA);

} // namespace

int main(int argumentCount, char** arguments) {
    return RunOnNullDriver(argumentCount, arguments);
}
