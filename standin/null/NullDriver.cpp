#include "null/NullDriver.h"

#include "core/StateLock.h"
#include "core/Thunk.h"

#include <algorithm>
#include <atomic>
#include <string_view>

namespace StandInDriver {

namespace {

constexpr unsigned kAlreadySignaled = 0x911A;
constexpr int kSignaled = 0x9119;

std::atomic<unsigned char*> g_memory = nullptr;
std::atomic<long long> g_memorySize = 0;

/// Plain memory for every mapping alike: nobody reads it, and a caller that walks through a ring walks through it too.
/// What it outgrows is kept, for it may still be mapped.
unsigned char* MappedMemory(long long offset, long long length) {
    const long long end = offset + length;
    if (end > g_memorySize.load(std::memory_order_acquire)) {
        const StateLock lock;
        const long long size = std::max(end, 2 * g_memorySize.load());
        void* const memory = VirtualAlloc(nullptr, static_cast<SIZE_T>(size), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
        if (!memory) {
            return nullptr;
        }
        g_memory = static_cast<unsigned char*>(memory);
        g_memorySize.store(size, std::memory_order_release);
    }
    return g_memory.load(std::memory_order_relaxed) + offset;
}

constexpr long long kWholeBuffer = 64LL << 20;

void* ORRIN_GLCALL MapBufferRange(unsigned, long long offset, long long length, unsigned) {
    return MappedMemory(offset, length);
}

/// The size of the buffer is not known here; it is taken to fit.
void* ORRIN_GLCALL MapBuffer(unsigned, unsigned) {
    return MappedMemory(0, kWholeBuffer);
}

unsigned char ORRIN_GLCALL UnmapBuffer(unsigned) {
    return 1;
}

void* ORRIN_GLCALL FenceSync(unsigned, unsigned) {
    static char fence;
    return &fence;
}

unsigned ORRIN_GLCALL ClientWaitSync(void*, unsigned, unsigned long long) {
    return kAlreadySignaled;
}

void ORRIN_GLCALL GetSynciv(void*, unsigned, int room, int* length, int* values) {
    if (room > 0 && values) {
        *values = kSignaled;
    }
    if (length) {
        *length = 1;
    }
}

bool ReachesTheSystem(std::string_view name) {
    constexpr std::string_view kPrefixes[] = {"glGet",
                                              "glIs",
                                              "glGen",
                                              "glCreate",
                                              "glDelete",
                                              "glShader",
                                              "glCompile",
                                              "glAttach",
                                              "glDetach",
                                              "glLink",
                                              "glValidate",
                                              "glBindAttrib",
                                              "glBindFrag",
                                              "glTransformFeedback",
                                              "glProgramParameter",
                                              "glProgramBinary",
                                              "glUniformBlock",
                                              "glCheck",
                                              "glNewList",
                                              "glEndList",
                                              "glSpecialize"};
    return std::any_of(std::begin(kPrefixes), std::end(kPrefixes),
                       [name](std::string_view prefix) { return name.starts_with(prefix); }) &&
           !name.starts_with("glGenerate");
}

void* FindNullFunction(unsigned index) {
    if (!IsGLFunction(index)) {
        return nullptr;
    }
    switch (index) {
    case Index_glMapBufferRange:
    case Index_glMapNamedBufferRange:
        return reinterpret_cast<void*>(MapBufferRange);
    case Index_glMapBuffer:
    case Index_glMapNamedBuffer:
        return reinterpret_cast<void*>(MapBuffer);
    case Index_glUnmapBuffer:
    case Index_glUnmapNamedBuffer:
        return reinterpret_cast<void*>(UnmapBuffer);
    case Index_glFenceSync:
        return reinterpret_cast<void*>(FenceSync);
    case Index_glClientWaitSync:
        return reinterpret_cast<void*>(ClientWaitSync);
    case Index_glGetSynciv:
        return reinterpret_cast<void*>(GetSynciv);
    case Index_glDeleteSync:
    case Index_glGetError:
        return CodeOfFunction(index).nothing;
    default:
        return ReachesTheSystem(kFunctions[index].name) ? nullptr : CodeOfFunction(index).nothing;
    }
}

} // namespace

void* NullFunction(unsigned index) {
    static void* const* const functions = [] {
        auto* made = new void*[kFunctionCount];
        for (unsigned function = 0; function < kFunctionCount; ++function) {
            made[function] = FindNullFunction(function);
        }
        return made;
    }();
    return functions[index];
}

} // namespace StandInDriver
