#include "core/State.h"

#include "core/SystemDriver.h"
#include "core/Values.h"
#include "rules/Contexts.h"

#include <cstring>

namespace StandInDriver {

namespace {

constexpr unsigned kBufferSize = 0x8764;

} // namespace

void* State::Find(unsigned index) const {
    return SystemFunction(index, m_context);
}

int State::Integer(unsigned name) const {
    int value = 0;
    Function<void (*)(unsigned, int*)>(Index_glGetIntegerv)(name, &value);
    return value;
}

bool State::IsEnabled(unsigned name) const {
    return Function<unsigned char (*)(unsigned)>(Index_glIsEnabled)(name) != 0;
}

const unsigned char* State::Pointer(unsigned name) const {
    void* value = nullptr;
    Function<void (*)(unsigned, void**)>(Index_glGetPointerv)(name, &value);
    return static_cast<const unsigned char*>(value);
}

int State::Attribute(unsigned attribute, unsigned name) const {
    int value = 0;
    if (const auto function = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetVertexAttribiv)) {
        function(attribute, name, &value);
    }
    return value;
}

const unsigned char* State::AttributePointer(unsigned attribute) const {
    constexpr unsigned kAttributePointer = 0x8645;
    void* value = nullptr;
    if (const auto function = Function<void (*)(unsigned, unsigned, void**)>(Index_glGetVertexAttribPointerv)) {
        function(attribute, kAttributePointer, &value);
    }
    return static_cast<const unsigned char*>(value);
}

bool State::IsPerVertex(unsigned attribute) const {
    constexpr unsigned kDivisor = 0x88FE;
    return !Has(Index_glVertexAttribDivisor) || Attribute(attribute, kDivisor) == 0;
}

long long State::Binding(unsigned name, int binding) const {
    int value = 0;
    const auto function = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetIntegeri_v);
    if (function && Has(Index_glBindVertexBuffer)) {
        function(name, static_cast<unsigned>(binding), &value);
    }
    return value;
}

unsigned State::ElementBuffer() const {
    constexpr unsigned kElementBufferBinding = 0x8895;
    return HasBuffers() ? static_cast<unsigned>(Integer(kElementBufferBinding)) : 0;
}

unsigned State::Program() const {
    constexpr unsigned kCurrentProgram = 0x8B8D;
    return Has(Index_glUseProgram) ? static_cast<unsigned>(Integer(kCurrentProgram)) : 0;
}

unsigned State::ProgramPipeline() const {
    constexpr unsigned kPipelineBinding = 0x825A;
    return Has(Index_glBindProgramPipeline) ? static_cast<unsigned>(Integer(kPipelineBinding)) : 0;
}

bool State::ProgramReads(unsigned program, int location, const char* builtIn) const {
    constexpr unsigned kActiveAttributes = 0x8B89;
    int count = 0;
    Function<void (*)(unsigned, unsigned, int*)>(Index_glGetProgramiv)(program, kActiveAttributes, &count);
    const auto describe =
        Function<void (*)(unsigned, unsigned, int, int*, int*, unsigned*, char*)>(Index_glGetActiveAttrib);
    const auto locate = Function<int (*)(unsigned, const char*)>(Index_glGetAttribLocation);
    for (int index = 0; index < count; ++index) {
        char name[256] = {};
        int length = 0;
        int size = 0;
        unsigned type = 0;
        describe(program, static_cast<unsigned>(index), sizeof(name), &length, &size, &type, name);
        if (builtIn ? std::strcmp(name, builtIn) == 0 : locate(program, name) == location) {
            return true;
        }
    }
    return false;
}

std::uint64_t State::BoundBufferSize(unsigned target) const {
    if (const auto ask = Function<void (*)(unsigned, unsigned, long long*)>(Index_glGetBufferParameteri64v)) {
        long long size = 0;
        ask(target, kBufferSize, &size);
        return static_cast<std::uint64_t>(size);
    }
    int size = 0;
    Function<void (*)(unsigned, unsigned, int*)>(Index_glGetBufferParameteriv)(target, kBufferSize, &size);
    return static_cast<std::uint64_t>(size);
}

bool State::BufferSize(unsigned buffer, std::uint64_t& size) const {
    const auto ask = Function<void (*)(unsigned, unsigned, long long*)>(Index_glGetNamedBufferParameteri64v);
    const auto isBuffer = Function<unsigned char (*)(unsigned)>(Index_glIsBuffer);
    if (!ask || !isBuffer(buffer)) {
        return false;
    }
    long long value = 0;
    ask(buffer, kBufferSize, &value);
    size = static_cast<std::uint64_t>(value);
    return true;
}

std::vector<unsigned char> State::BufferContent(unsigned buffer, std::size_t offset, std::size_t size) const {
    constexpr unsigned kMapped = 0x88BC;
    constexpr unsigned kAccessFlags = 0x911F;
    constexpr int kPersistent = 0x40;
    const auto ask = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetNamedBufferParameteriv);
    const auto read = Function<void (*)(unsigned, long long, long long, void*)>(Index_glGetNamedBufferSubData);
    std::uint64_t whole = 0;
    if (!ask || !read || !BufferSize(buffer, whole)) {
        return {};
    }
    int mapped = 0;
    int access = 0;
    ask(buffer, kMapped, &mapped);
    ask(buffer, kAccessFlags, &access);
    if ((mapped != 0 && (access & kPersistent) == 0) || offset > whole || size > whole - offset) {
        return {};
    }
    std::vector<unsigned char> content(size);
    read(buffer, static_cast<long long>(offset), static_cast<long long>(size), content.data());
    return content;
}

std::size_t VertexSource::ElementSize() const {
    return components <= 4 ? SizeOfType(type) * components : 0;
}

std::vector<VertexSource> EnabledClientArrays(const State& state, const Context& context) {
    constexpr struct {
        const char *name, *builtIn;
        unsigned enabled, size, type, stride, pointer, buffer;
    } kArrays[] = {{"vertex", "gl_Vertex", 0x8074, 0x807A, 0x807B, 0x807C, 0x808E, 0x8896},
                   {"normal", "gl_Normal", 0x8075, 0, 0x807E, 0x807F, 0x808F, 0x8897},
                   {"color", "gl_Color", 0x8076, 0x8081, 0x8082, 0x8083, 0x8090, 0x8898},
                   {"texcoord", "gl_MultiTexCoord0", 0x8078, 0x8088, 0x8089, 0x808A, 0x8092, 0x889A}};
    std::vector<VertexSource> sources;
    for (const auto& array : kArrays) {
        if (context.coreProfile || !state.IsEnabled(array.enabled)) {
            continue;
        }
        VertexSource source = {};
        source.name = array.name;
        source.builtIn = array.builtIn;
        source.location = -1;
        source.buffer = state.HasBuffers() ? static_cast<unsigned>(state.Integer(array.buffer)) : 0;
        source.components = array.size == 0 ? 3 : static_cast<unsigned>(state.Integer(array.size));
        source.type = static_cast<unsigned>(state.Integer(array.type));
        source.stride = static_cast<std::size_t>(state.Integer(array.stride));
        source.pointer = state.Pointer(array.pointer);
        sources.push_back(source);
    }
    return sources;
}

std::vector<VertexSource> EnabledAttributes(const State& state) {
    constexpr const char* kNames[] = {"attribute0", "attribute1", "attribute2", "attribute3",
                                      "attribute4", "attribute5", "attribute6", "attribute7"};
    constexpr unsigned kEnabled = 0x8622;
    constexpr unsigned kSize = 0x8623;
    constexpr unsigned kStride = 0x8624;
    constexpr unsigned kType = 0x8625;
    constexpr unsigned kAttributeBuffer = 0x889F;
    constexpr unsigned kAttributeBinding = 0x82D4;
    constexpr unsigned kRelativeOffset = 0x82D5;
    constexpr unsigned kBindingOffset = 0x82D7;
    constexpr unsigned kBindingStride = 0x82D8;
    std::vector<VertexSource> sources;
    for (unsigned attribute = 0; attribute < std::size(kNames); ++attribute) {
        if (state.Attribute(attribute, kEnabled) == 0) {
            continue;
        }
        VertexSource source = {};
        source.name = kNames[attribute];
        source.location = static_cast<int>(attribute);
        source.buffer = static_cast<unsigned>(state.Attribute(attribute, kAttributeBuffer));
        source.components = static_cast<unsigned>(state.Attribute(attribute, kSize));
        source.type = static_cast<unsigned>(state.Attribute(attribute, kType));
        source.stride = static_cast<std::size_t>(state.Attribute(attribute, kStride));
        source.pointer = state.AttributePointer(attribute);
        if (source.buffer != 0 && source.stride == 0) {
            // Set by format and binding, which the older questions know nothing of.
            const int binding = state.Attribute(attribute, kAttributeBinding);
            source.stride = static_cast<std::size_t>(state.Binding(kBindingStride, binding));
            source.strideOfBinding = true;
            source.pointer = reinterpret_cast<const unsigned char*>(state.Binding(kBindingOffset, binding) +
                                                                    state.Attribute(attribute, kRelativeOffset));
        }
        sources.push_back(source);
    }
    return sources;
}

DrawShape ShapeOfDraw(unsigned index) {
    DrawShape shape;
    switch (index) {
    case Index_glDrawArraysInstanced:
    case Index_glDrawArraysInstancedBaseInstance:
        shape.instances = 3;
        [[fallthrough]];
    case Index_glDrawArrays:
        shape.first = 1;
        shape.count = 2;
        return shape;
    case Index_glDrawElementsInstanced:
    case Index_glDrawElementsInstancedBaseInstance:
    case Index_glDrawElementsInstancedBaseVertex:
    case Index_glDrawElementsInstancedBaseVertexBaseInstance:
        shape.instances = 4;
        [[fallthrough]];
    case Index_glDrawElements:
    case Index_glDrawElementsBaseVertex:
        shape.count = 1;
        shape.type = 2;
        shape.indices = 3;
        break;
    case Index_glDrawRangeElements:
    case Index_glDrawRangeElementsBaseVertex:
        shape.count = 3;
        shape.type = 4;
        shape.indices = 5;
        break;
    case Index_glMultiDrawArrays:
        shape.first = 1;
        shape.count = 2;
        shape.draws = 3;
        return shape;
    case Index_glMultiDrawElements:
    case Index_glMultiDrawElementsBaseVertex:
        shape.count = 1;
        shape.type = 2;
        shape.indices = 3;
        shape.draws = 4;
        break;
    default:
        return shape;
    }
    const bool hasBase = index == Index_glDrawElementsBaseVertex || index == Index_glDrawRangeElementsBaseVertex;
    const bool instancedBase = index == Index_glDrawElementsInstancedBaseVertex ||
                               index == Index_glDrawElementsInstancedBaseVertexBaseInstance;
    shape.baseVertex = hasBase ? shape.indices + 1 : instancedBase ? shape.instances + 1 : -1;
    return shape;
}

} // namespace StandInDriver
