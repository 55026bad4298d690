#include <OrrinDisplay.h>

#include <pipeline/VertexRing.h>
#include <platform/GLCalls.h>

#include <GL/glext.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

namespace {

using namespace KTR;

/// A GPU whose fences signal when the script says so, and buffers that remember what was done with them. One at a time.
class ScriptedGpu {
public:
    ScriptedGpu() {
        s_gpu = this;
        m_functions.glGenBuffers = [](GLsizei count, GLuint* names) {
            for (GLsizei index = 0; index < count; ++index) {
                s_gpu->buffers.insert(names[index] = ++s_gpu->m_lastBuffer);
            }
        };
        m_functions.glBindBuffer = [](GLenum, GLuint) {};
        m_functions.glDeleteBuffers = [](GLsizei count, const GLuint* names) {
            for (GLsizei index = 0; index < count; ++index) {
                EXPECT_EQ(s_gpu->buffers.erase(names[index]), 1U) << "a buffer that is not there";
            }
        };
        m_functions.glBufferStorage = [](GLenum target, GLsizeiptr bytes, const void*, GLbitfield) {
            s_gpu->memory[target].resize(static_cast<std::size_t>(bytes));
            ++s_gpu->storages;
        };
        m_functions.glMapBufferRange = [](GLenum target, GLintptr, GLsizeiptr, GLbitfield) -> void* {
            return s_gpu->mappingFails ? nullptr : s_gpu->memory[target].data();
        };
        m_functions.glFenceSync = [](GLenum, GLbitfield) {
            const auto fence = reinterpret_cast<GLsync>(++s_gpu->m_lastFence);
            s_gpu->questionsLeft[fence] = s_gpu->questionsOfNextFence;
            return fence;
        };
        m_functions.glDeleteSync = [](GLsync fence) {
            EXPECT_EQ(s_gpu->questionsLeft.erase(fence), 1U) << "a fence that is not there";
        };
        m_functions.glClientWaitSync = [](GLsync fence, GLbitfield, GLuint64) -> GLenum {
            const auto found = s_gpu->questionsLeft.find(fence);
            if (found == s_gpu->questionsLeft.end()) {
                ADD_FAILURE() << "a fence that is not there";
                return GL_ALREADY_SIGNALED;
            }
            if (found->second > 0 && --found->second > 0) {
                return found->second % 2 == 0 ? GL_TIMEOUT_EXPIRED : GL_WAIT_FAILED;
            }
            return GL_CONDITION_SATISFIED;
        };
        m_functions.glFlush = [] {};
    }
    ~ScriptedGpu() { s_gpu = nullptr; }
    ScriptedGpu(const ScriptedGpu&) = delete;
    ScriptedGpu& operator=(const ScriptedGpu&) = delete;

    GLCalls Calls() const { return GLCalls(m_functions); }
    COrrinGLCement& Functions() { return m_functions; }
    /// A buffer with storage, as the binding of a program makes it.
    bool Create(VertexRing& ring) {
        if (ring.Buffers().vertexBuffer == 0) {
            m_functions.glGenBuffers(1, &ring.Buffers().vertexBuffer);
        }
        return ring.Create(Calls());
    }
    bool HasSignalled(GLsync fence) const {
        const auto found = questionsLeft.find(fence);
        return found != questionsLeft.end() && found->second == 0;
    }

    std::set<GLuint> buffers;
    std::map<GLenum, std::vector<unsigned char>> memory;
    int storages = 0;
    bool mappingFails = false;
    std::map<GLsync, int> questionsLeft; ///< of each living fence, until it has signalled
    int questionsOfNextFence = 1;

private:
    static inline ScriptedGpu* s_gpu = nullptr;
    COrrinGLCement m_functions;
    GLuint m_lastBuffer = 0;
    std::uintptr_t m_lastFence = 0;
};

TEST(VertexRing, IsCreatedOnce) {
    ScriptedGpu gpu;
    VertexRing ring;
    EXPECT_FALSE(ring.Exists());
    EXPECT_EQ(ring.Claim(), nullptr);
    ASSERT_TRUE(gpu.Create(ring));
    ASSERT_TRUE(gpu.Create(ring));
    ASSERT_TRUE(ring.CreateIndices(gpu.Calls()));
    ASSERT_TRUE(ring.CreateIndices(gpu.Calls()));
    EXPECT_EQ(gpu.storages, 2);
    EXPECT_EQ(gpu.buffers.size(), 2U);
    EXPECT_EQ(gpu.memory[GL_ARRAY_BUFFER].size(), 3U * 32'769U * 36U);
    EXPECT_EQ(gpu.memory[GL_ELEMENT_ARRAY_BUFFER].size(), 3U * 32'769U * 4U);
    EXPECT_EQ(static_cast<void*>(ring.Claim()), gpu.memory[GL_ARRAY_BUFFER].data());
    EXPECT_EQ(static_cast<void*>(ring.ClaimIndices()), gpu.memory[GL_ELEMENT_ARRAY_BUFFER].data());
}

// The CPU gets a segment back when the GPU has read it, not a question earlier and not one later.
TEST(VertexRing, WaitsUntilTheGpuHasReadTheSegment) {
    ScriptedGpu gpu;
    VertexRing ring;
    ASSERT_TRUE(gpu.Create(ring));
    GLDrawGeometry* const start = ring.Claim();
    std::map<const GLDrawGeometry*, std::pair<GLsync, int>> drawnFrom; ///< the last fence, and its questions
    const int script[] = {1, 5, 2, 1, 1, 9, 3, 1, 4, 2, 7, 1};
    for (int draw = 0; draw < 48; ++draw) {
        GLDrawGeometry* const claimed = ring.Claim();
        EXPECT_EQ(claimed - start, draw % 3 * 32'769) << "in turn";
        EXPECT_EQ(ring.FirstVertex(), draw % 3 * 32'769);
        if (drawnFrom.contains(claimed)) {
            EXPECT_TRUE(gpu.HasSignalled(drawnFrom[claimed].first)) << "the GPU still reads it, at draw " << draw;
        }
        gpu.questionsOfNextFence = script[draw % 12];
        ring.Fence(gpu.Calls());
        drawnFrom[claimed] = {ring.Buffers().segments[draw % 3].fence, gpu.questionsOfNextFence};
        const unsigned long long asked = ring.Advance(gpu.Calls());
        const auto next = drawnFrom.find(ring.Claim());
        EXPECT_EQ(asked, next == drawnFrom.end() ? 0U : static_cast<unsigned>(next->second.second)) << draw;
        EXPECT_LE(gpu.questionsLeft.size(), 3U) << "one fence for each segment";
    }
    EXPECT_EQ(gpu.storages, 1);
}

TEST(VertexRing, ReleasesItsFencesOnlyWhenTheyHaveSignalled) {
    ScriptedGpu gpu;
    VertexRing ring;
    ASSERT_TRUE(gpu.Create(ring));
    unsigned long long asked = 0;
    for (const int questions : {3, 1, 2, 6}) {
        gpu.questionsOfNextFence = questions;
        ring.Fence(gpu.Calls());
        asked += ring.Advance(gpu.Calls());
    }
    asked += ring.ReleaseFences(gpu.Calls());
    // The first fence was waited for when its segment came round, and the second too: its answer is known by then.
    EXPECT_EQ(asked, 3U + 1U + 1U + 2U + 6U);
    EXPECT_TRUE(gpu.questionsLeft.empty());
    EXPECT_EQ(ring.FirstVertex(), 0);
    EXPECT_EQ(ring.ReleaseFences(gpu.Calls()), 0U);
    EXPECT_EQ(gpu.buffers.size(), 1U) << "the buffer stays";
}

TEST(VertexRing, WithoutStorageNothingIsLeft) {
    ScriptedGpu gpu;
    VertexRing ring;
    gpu.mappingFails = true;
    EXPECT_FALSE(gpu.Create(ring));
    EXPECT_FALSE(ring.CreateIndices(gpu.Calls()));
    EXPECT_FALSE(ring.Exists());
    EXPECT_EQ(ring.Claim(), nullptr);
    EXPECT_EQ(ring.ClaimIndices(), nullptr);
    EXPECT_TRUE(gpu.buffers.empty());
    gpu.mappingFails = false;
    const auto storage = gpu.Functions().glBufferStorage;
    gpu.Functions().glBufferStorage = nullptr;
    EXPECT_FALSE(gpu.Create(ring)) << "a driver that has no such function";
    EXPECT_TRUE(gpu.buffers.empty());
    gpu.Functions().glBufferStorage = storage;
    EXPECT_TRUE(gpu.Create(ring));
    EXPECT_NE(ring.Claim(), nullptr);
}

TEST(VertexRing, ReleaseDeletesEverythingOnce) {
    ScriptedGpu gpu;
    VertexRing ring;
    ASSERT_TRUE(gpu.Create(ring));
    ASSERT_TRUE(ring.CreateIndices(gpu.Calls()));
    for (int draw = 0; draw < 4; ++draw) {
        ring.Fence(gpu.Calls());
        ring.Advance(gpu.Calls());
    }
    gpu.questionsOfNextFence = 1000;
    ring.Fence(gpu.Calls());
    ring.Release(gpu.Calls());
    EXPECT_TRUE(gpu.buffers.empty());
    EXPECT_TRUE(gpu.questionsLeft.empty());
    EXPECT_FALSE(ring.Exists());
    ring.Release(gpu.Calls());
    ASSERT_TRUE(gpu.Create(ring)) << "it can be made again";
    EXPECT_EQ(ring.FirstVertex(), 0);
}

} // namespace
