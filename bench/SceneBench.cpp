// What scenes cost, in wall time to the end of the GPU's work: a terrain of two million lit triangles through
// DrawGeometry3D against a glDrawElements by hand of the same records and indices, from the host's memory and from
// buffers that were filled beforehand.

#include "BenchView.h"

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace KTR;

constexpr int kWidth = 1280;
constexpr int kHeight = 800;

BenchView& ViewFor(bool programs) {
    return ::ViewFor<kWidth, kHeight>(programs);
}

/// Hills of 1001 × 1001 records.
struct Terrain {
    static constexpr std::size_t kSide = 1001;
    std::vector<GLDrawGeometry> records = std::vector<GLDrawGeometry>(kSide * kSide);
    std::vector<unsigned int> indices;

    Terrain() {
        for (std::size_t row = 0; row < kSide; ++row) {
            for (std::size_t column = 0; column < kSide; ++column) {
                GLDrawGeometry& record = records[row * kSide + column];
                record.x = static_cast<float>(column) - kSide / 2;
                record.y = static_cast<float>(row) - kSide / 2;
                record.z = 40.0F * std::sin(record.x * 0.021F) * std::cos(record.y * 0.017F) +
                           3.0F * std::sin(record.x * 0.21F + record.y * 0.13F);
                record.r = static_cast<unsigned char>(120 + record.z);
                record.g = 160;
                record.b = 90;
                record.a = 255;
            }
        }
        MakeGridNormals(records.data(), kSide, kSide);
        indices.resize(MakeGridTriangles(records.data(), kSide, kSide, nullptr));
        MakeGridTriangles(records.data(), kSide, kSide, indices.data());
    }
    static const Terrain& Get() {
        static const Terrain terrain;
        return terrain;
    }
    GLsizei Count() const { return static_cast<GLsizei>(indices.size()); }
};

void SetUpCamera(COpenGLView& view) {
    view.SetUpViewport(0, 0, kWidth, kHeight);
    view.MatrixMode(GL_PROJECTION);
    view.Perspective(45.0, static_cast<double>(kWidth) / kHeight, 100.0, 3000.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LookAt(0.0, -1100.0, 700.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0);
    view.SetSun(315.0, 40.0);
    view.Enable(GL_DEPTH_TEST);
}

template <typename Draw> void Measure(benchmark::State& state, bool programs, Draw draw) {
    BenchView& bench = ViewFor(programs);
    COpenGLView& view = bench.Take();
    SetUpCamera(view);
    Terrain::Get();
    const auto drawFrame = [&] {
        view.SetBackgroundColor(RGB(10, 20, 30), true);
        draw(view, bench.Functions());
        view.Finish();
    };
    drawFrame();
    for ([[maybe_unused]] auto _ : state) {
        drawFrame();
    }
    view.Disable(GL_DEPTH_TEST);
    state.SetItemsProcessed(state.iterations() * Terrain::Get().Count() / 3);
}

void BM_Terrain(benchmark::State& state, bool programs) {
    Measure(state, programs, [](COpenGLView& view, const COrrinGLCement&) {
        const Terrain& terrain = Terrain::Get();
        if (view.DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, terrain.records.data(), terrain.records.size(),
                                terrain.indices.data(), terrain.indices.size()) != S_OK) {
            std::abort();
        }
    });
}

void BM_TerrainByHandFixedFunctions(benchmark::State& state) {
    Measure(state, false, [](COpenGLView& view, const COrrinGLCement&) {
        const Terrain& terrain = Terrain::Get();
        view.SetUpLighting(true);
        view.BeginArrays(GL_TRIANGLES, GLShaderShadedColor3Stage); // for the light
        constexpr GLsizei kStride = sizeof(GLDrawGeometry);
        for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY}) {
            glEnableClientState(array);
        }
        glVertexPointer(3, GL_FLOAT, kStride, &terrain.records[0].x);
        glNormalPointer(GL_FLOAT, kStride, &terrain.records[0].nx);
        glColorPointer(4, GL_UNSIGNED_BYTE, kStride, &terrain.records[0].r);
        glDrawElements(GL_TRIANGLES, terrain.Count(), GL_UNSIGNED_INT, terrain.indices.data());
        view.DisableClientState();
        view.SetUpLighting(false);
    });
}

/// Not among the functions that the library looks up.
PFNGLVERTEXATTRIBPOINTERPROC VertexAttribPointer() {
    const PROC address = wglGetProcAddress("glVertexAttribPointer");
    PFNGLVERTEXATTRIBPOINTERPROC function = nullptr;
    static_assert(sizeof(function) == sizeof(address));
    std::memcpy(&function, &address, sizeof(function));
    return function;
}

/// With the lit program in use, from the host's memory.
void BM_TerrainByHandFromMemory(benchmark::State& state) {
    Measure(state, true, [](COpenGLView& view, const COrrinGLCement& gl) {
        const Terrain& terrain = Terrain::Get();
        view.EnableClientStateInternalBuffers(true, true, true, false, GLShaderShadedColor3Stage);
        gl.glBindVertexArray(0);
        gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        static const PFNGLVERTEXATTRIBPOINTERPROC s_point = VertexAttribPointer();
        constexpr GLsizei kStride = sizeof(GLDrawGeometry);
        s_point(VertexAttribPosition, 3, GL_FLOAT, GL_FALSE, kStride, &terrain.records[0].x);
        s_point(VertexAttribNormal, 3, GL_FLOAT, GL_FALSE, kStride, &terrain.records[0].nx);
        s_point(VertexAttribColor, 4, GL_UNSIGNED_BYTE, GL_TRUE, kStride, &terrain.records[0].r);
        for (const GLuint attribute : {VertexAttribPosition, VertexAttribNormal, VertexAttribColor}) {
            gl.glEnableVertexAttribArray(attribute);
        }
        gl.glDrawElements(GL_TRIANGLES, terrain.Count(), GL_UNSIGNED_INT, terrain.indices.data());
        for (const GLuint attribute : {VertexAttribPosition, VertexAttribNormal, VertexAttribColor}) {
            gl.glDisableVertexAttribArray(attribute);
        }
        view.DisableClientState();
    });
}

/// With the lit program in use, from buffers that hold all since the first frame.
void BM_TerrainByHandFromBuffers(benchmark::State& state) {
    static GLuint s_buffers[2] = {};
    Measure(state, true, [](COpenGLView& view, const COrrinGLCement& gl) {
        const Terrain& terrain = Terrain::Get();
        view.EnableClientStateInternalBuffers(true, true, true, false, GLShaderShadedColor3Stage);
        const bool isFirst = s_buffers[0] == 0;
        if (isFirst) {
            gl.glGenBuffers(2, s_buffers);
            gl.glBindBuffer(GL_ARRAY_BUFFER, s_buffers[0]);
            gl.glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(terrain.records.size() * sizeof(GLDrawGeometry)),
                            terrain.records.data(), GL_STATIC_DRAW);
        }
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, s_buffers[1]);
        if (isFirst) {
            gl.glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                            static_cast<GLsizeiptr>(terrain.indices.size() * sizeof(unsigned int)),
                            terrain.indices.data(), GL_STATIC_DRAW);
        }
        gl.glBindVertexBuffer(0, s_buffers[0], 0, sizeof(GLDrawGeometry));
        gl.glDrawElements(GL_TRIANGLES, terrain.Count(), GL_UNSIGNED_INT, nullptr);
        gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        view.DisableClientState();
    });
}

// A frame takes a good part of a second: few of them.
void AFew(benchmark::internal::Benchmark* benchmark) {
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
}

BENCHMARK_CAPTURE(BM_Terrain, fixed_functions, false)->Apply(AFew);
BENCHMARK(BM_TerrainByHandFixedFunctions)->Apply(AFew);
BENCHMARK_CAPTURE(BM_Terrain, programs, true)->Apply(AFew);
BENCHMARK(BM_TerrainByHandFromMemory)->Apply(AFew);
BENCHMARK(BM_TerrainByHandFromBuffers)->Apply(AFew);

} // namespace

int main(int argumentCount, char** arguments) {
    UseShadersOfTheBuild();
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
