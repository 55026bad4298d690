// Whole frames, from the first begin to the last flush, in four ways: through the library on both pipelines, by
// glBegin, and by hand with a bare loop that fills the same records and copies them into a fenced, mapped ring. On the
// machine's driver, or, with the stand-in in place of it, on a driver that swallows everything, so that only the
// caller's cost is left.

#include "BenchView.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace KTR;

constexpr int kInputs = 4096; // fits the cache

/// What a frame draws: `batches` batches of `verticesPerBatch` vertices.
struct Scene {
    const char* name;
    unsigned int mode;
    GLShaderTypes shader;
    int batches;
    int verticesPerBatch;
    bool textured;
    /// Records of one copy of the bare loop: whole primitives, few enough for the second-level cache.
    int recordsPerPiece;
};

constexpr Scene kScenes[] = {
    {"points", GL_POINTS, GLShaderPoint, 1, 1'000'000, false, 8000},
    {"lines", GL_LINES, GLShaderLine, 20, 20'000, false, 8000},
    {"triangles", GL_TRIANGLES, GLShaderColorPassThrough, 1, 900'000, false, 8001},
    {"quads", GL_TRIANGLES, GLShaderTextureDecal, 1, 600'000, true, 7998},
    {"six_vertex_batches", GL_TRIANGLES, GLShaderColorPassThrough, 20'000, 6, false, 6},
};

struct Input {
    PointXYZ position;
    GLTexCoords texture;
    GLRGBAColor color;
};

const Input* Inputs() {
    static const std::vector<Input> inputs = [] {
        std::vector<Input> made(kInputs);
        for (int index = 0; index < kInputs; ++index) {
            // Beyond the right edge of the view: the driver clips everything, so that pixels cost nothing.
            const double number = index;
            made[static_cast<std::size_t>(index)] = {{2.0 + number * 0.001, number * 0.0005, 0.0},
                                                     {number / kInputs, 1.0 - number / kInputs},
                                                     {static_cast<unsigned char>(index), 64, 128, 255}};
        }
        return made;
    }();
    return inputs.data();
}

BenchView& FixedFunctions() {
    return ViewFor<256, 256>(false);
}

BenchView& Programs() {
    return ViewFor<256, 256>(true);
}

void DrawThroughLibrary(COpenGLView& view, const Scene& scene) {
    const Input* inputs = Inputs();
    view.EnableClientStateInternalBuffers(true, false, true, scene.textured, scene.shader);
    int input = 0;
    for (int batch = 0; batch < scene.batches; ++batch) {
        view.BeginArrays(scene.mode, scene.shader);
        if (scene.textured) {
            for (int vertex = 0; vertex < scene.verticesPerBatch; ++vertex) {
                const Input& in = inputs[input++ & (kInputs - 1)];
                view.AddIndex3DVertexCurrentColorTexCoords(in.position.x, in.position.y, in.position.z, in.texture.s,
                                                           in.texture.t, in.color.a);
            }
        } else {
            for (int vertex = 0; vertex < scene.verticesPerBatch; ++vertex) {
                const Input& in = inputs[input++ & (kInputs - 1)];
                view.AddIndex3DVertexRGBA(in.position.x, in.position.y, in.position.z, in.color.r, in.color.g,
                                          in.color.b, in.color.a);
            }
        }
        view.EndArrays();
    }
    view.DisableClientState();
}

/// As programs of the nineties do it, through the exports of the system's module.
void DrawByBegin(const Scene& scene) {
    const Input* inputs = Inputs();
    int input = 0;
    for (int batch = 0; batch < scene.batches; ++batch) {
        glBegin(scene.mode);
        for (int vertex = 0; vertex < scene.verticesPerBatch; ++vertex) {
            const Input& in = inputs[input++ & (kInputs - 1)];
            glColor4ub(in.color.r, in.color.g, in.color.b, in.color.a);
            if (scene.textured) {
                glTexCoord2d(in.texture.s, in.texture.t);
            }
            glVertex3d(in.position.x, in.position.y, in.position.z);
        }
        glEnd();
    }
    glFlush();
}

/// The bare loop's own mapped ring, with a fence for each of its pieces.
class HandMadeRing {
public:
    explicit HandMadeRing(const COrrinGLCement& gl) : m_gl(gl) {
        constexpr GLbitfield kMapping = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;
        m_gl.glGenBuffers(1, &m_buffer);
        m_gl.glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
        m_gl.glBufferStorage(GL_ARRAY_BUFFER, kBytes, nullptr, kMapping);
        m_mapped = static_cast<GLDrawGeometry*>(m_gl.glMapBufferRange(GL_ARRAY_BUFFER, 0, kBytes, kMapping));
    }
    void Bind() const { m_gl.glBindVertexBuffer(0, m_buffer, 0, sizeof(GLDrawGeometry)); }
    /// Copies the records behind the ones before and draws them.
    void Draw(unsigned int mode, const GLDrawGeometry* records, int count) {
        if (m_next + count > kRecordsPerSegment) {
            m_fences[m_segment] = m_gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
            m_segment = (m_segment + 1) % kSegments;
            m_next = 0;
            if (GLsync& fence = m_fences[m_segment]) {
                while (m_gl.glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1'000'000) == GL_TIMEOUT_EXPIRED) {
                }
                m_gl.glDeleteSync(fence);
                fence = nullptr;
            }
        }
        const int first = m_segment * kRecordsPerSegment + m_next;
        std::memcpy(m_mapped + first, records, static_cast<std::size_t>(count) * sizeof(GLDrawGeometry));
        m_gl.glDrawArrays(mode, first, count);
        m_next += count;
    }

private:
    static constexpr int kSegments = 3;
    static constexpr int kRecordsPerSegment = 32'769;
    static constexpr GLsizeiptr kBytes = GLsizeiptr{kSegments} * kRecordsPerSegment * sizeof(GLDrawGeometry);

    const COrrinGLCement& m_gl;
    GLuint m_buffer = 0;
    GLDrawGeometry* m_mapped = nullptr;
    GLsync m_fences[kSegments] = {};
    int m_segment = 0;
    int m_next = 0;
};

void DrawByHand(const COrrinGLCement& gl, HandMadeRing& ring, const Scene& scene) {
    static std::vector<GLDrawGeometry> records(32'769);
    const Input* inputs = Inputs();
    int input = 0;
    for (int batch = 0; batch < scene.batches; ++batch) {
        for (int done = 0; done < scene.verticesPerBatch;) {
            const int left = scene.verticesPerBatch - done;
            const int piece = left < scene.recordsPerPiece ? left : scene.recordsPerPiece;
            GLDrawGeometry* record = records.data();
            for (int vertex = 0; vertex < piece; ++vertex, ++record) {
                const Input& in = inputs[input++ & (kInputs - 1)];
                record->x = static_cast<float>(in.position.x);
                record->y = static_cast<float>(in.position.y);
                record->z = static_cast<float>(in.position.z);
                if (scene.textured) {
                    record->s = static_cast<float>(in.texture.s);
                    record->t = static_cast<float>(in.texture.t);
                }
                std::memcpy(&record->r, &in.color, sizeof(in.color));
            }
            ring.Draw(scene.mode, records.data(), piece);
            done += piece;
        }
    }
    gl.glFlush();
}

void ReportPerVertex(benchmark::State& state, const Scene& scene) {
    state.counters["per_vertex"] =
        benchmark::Counter(static_cast<double>(scene.batches) * scene.verticesPerBatch,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void LibraryOnPrograms(benchmark::State& state, const Scene& scene) {
    COpenGLView& view = Programs().Take();
    for (auto _ : state) {
        DrawThroughLibrary(view, scene);
    }
    view.Finish();
    ReportPerVertex(state, scene);
}

void LibraryOnFixedFunctions(benchmark::State& state, const Scene& scene) {
    COpenGLView& view = FixedFunctions().Take();
    for (auto _ : state) {
        DrawThroughLibrary(view, scene);
    }
    view.Finish();
    ReportPerVertex(state, scene);
}

void GlBegin(benchmark::State& state, const Scene& scene) {
    COpenGLView& view = FixedFunctions().Take();
    for (auto _ : state) {
        DrawByBegin(scene);
    }
    view.Finish();
    ReportPerVertex(state, scene);
}

void BareLoop(benchmark::State& state, const Scene& scene) {
    COpenGLView& view = Programs().Take();
    const COrrinGLCement& gl = Programs().Functions();
    static HandMadeRing ring(gl);
    view.EnableClientStateInternalBuffers(true, false, true, scene.textured, scene.shader);
    ring.Bind();
    for (auto _ : state) {
        DrawByHand(gl, ring, scene);
    }
    view.DisableClientState();
    view.Finish();
    ReportPerVertex(state, scene);
}

void RegisterAll() {
    const struct {
        const char* name;
        void (*run)(benchmark::State&, const Scene&);
    } ways[] = {{"bare_loop", BareLoop},
                {"library_4x", LibraryOnPrograms},
                {"library_fixed", LibraryOnFixedFunctions},
                {"glBegin", GlBegin}};
    for (const Scene& scene : kScenes) {
        for (const auto& way : ways) {
            benchmark::RegisterBenchmark((std::string(scene.name) + "/" + way.name).c_str(),
                                         [&scene, run = way.run](benchmark::State& state) { run(state, scene); })
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    UseShadersOfTheBuild();
    std::unique_ptr<StandIn> driver;
    if (StandIn::IsLoaded()) {
        driver = std::make_unique<StandIn>();
        SwallowEverything(*driver);
    }
    std::printf("%s\n", driver ? "Null driver: what the caller costs." : "The machine's driver, everything clipped.");
    benchmark::Initialize(&argumentCount, arguments);
    RegisterAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
