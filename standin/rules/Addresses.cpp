#include "rules/Addresses.h"

#include "core/State.h"
#include "core/Values.h"
#include "rules/Contexts.h"
#include "rules/Violations.h"

#include <algorithm>
#include <string_view>

namespace StandInDriver {

namespace {

/// Windows leaves the first 64 KiB of every process empty: what lies there is an offset that lacks its buffer.
constexpr std::uintptr_t kLeastAddress = 0x10000;

std::uintptr_t AddressOf(const unsigned char* pointer) {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

unsigned long long Shown(std::uint64_t number) {
    return static_cast<unsigned long long>(number);
}

std::int64_t SignedArgument(const Call& call, int position) {
    return static_cast<std::int64_t>(call.arguments[position]);
}

/// One of the draws that a call makes; a glMultiDraw… makes several.
struct Draw {
    std::uint64_t first;
    std::uint64_t count;
    std::uintptr_t indices;
};

/// Those that read something. A negative first or count is an error that OpenGL reports by itself.
std::vector<Draw> DrawsOf(const Call& call, const DrawShape& shape) {
    std::vector<Draw> draws;
    const auto add = [&](std::int64_t first, std::int64_t count, std::uintptr_t indices) {
        if (first >= 0 && count > 0) {
            draws.push_back({static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(count), indices});
        }
    };
    if (shape.draws < 0) {
        if (shape.instances < 0 || SignedArgument(call, shape.instances) > 0) {
            add(shape.first < 0 ? 0 : SignedArgument(call, shape.first), SignedArgument(call, shape.count),
                shape.indices < 0 ? 0 : static_cast<std::uintptr_t>(call.arguments[shape.indices]));
        }
        return draws;
    }
    const auto argument = [](int position) { return static_cast<unsigned>(position); };
    const auto* const counts = PointerArgument<const int*>(call, argument(shape.count));
    for (std::int64_t draw = 0; counts && draw < SignedArgument(call, shape.draws); ++draw) {
        if (shape.first >= 0) {
            add(PointerArgument<const int*>(call, argument(shape.first))[draw], counts[draw], 0);
        } else {
            add(0, counts[draw], PointerArgument<const std::uintptr_t*>(call, argument(shape.indices))[draw]);
        }
    }
    return draws;
}

bool JudgeIndices(const Call& call, const State& state, unsigned type, const std::vector<Draw>& draws) {
    constexpr unsigned kElementBuffer = 0x8893;
    const unsigned buffer = state.ElementBuffer();
    const std::uint64_t size = buffer != 0 ? state.BoundBufferSize(kElementBuffer) : 0;
    for (const Draw& draw : draws) {
        const std::uint64_t needed = draw.count * SizeOfType(type);
        if (buffer == 0 && draw.indices < kLeastAddress) {
            AddViolation("%s reads indices at 0x%llX, with no buffer bound to GL_ELEMENT_ARRAY_BUFFER",
                         kFunctions[call.index].name, Shown(draw.indices));
            return false;
        }
        if (buffer != 0 && (draw.indices >= size || needed > size - draw.indices)) {
            AddViolation("%s reads %llu bytes of indices at 0x%llX, beyond the %llu of buffer %u, which is bound to "
                         "GL_ELEMENT_ARRAY_BUFFER",
                         kFunctions[call.index].name, Shown(needed), Shown(draw.indices), Shown(size), buffer);
            return false;
        }
    }
    return true;
}

/// Whether a vertex array starts, or with draws that count its vertices ends, beyond its buffer.
bool LeavesBuffer(const State& state, const VertexSource& source, std::uint64_t size, bool counted,
                  const std::vector<Draw>& draws) {
    const std::uint64_t start = AddressOf(source.pointer);
    if (start >= size) {
        return true;
    }
    const auto ends = [&](const Draw& draw) {
        return (draw.first + draw.count - 1) * source.Step() + source.ElementSize() > size - start;
    };
    return counted && std::any_of(draws.begin(), draws.end(), ends) &&
           (source.location < 0 || state.IsPerVertex(static_cast<unsigned>(source.location)));
}

/// The arrays of one draw, and who reads them: the fixed-function pipeline, or a program that has the attribute.
class DrawnArrays {
public:
    DrawnArrays(const State& state, const Context& context)
        : m_state(state), m_arrays(EnabledClientArrays(state, context)), m_program(state.Program()) {
        const std::vector<VertexSource> attributes = EnabledAttributes(state);
        m_arrays.insert(m_arrays.end(), attributes.begin(), attributes.end());
        m_hasAttribute0 = Has([](const VertexSource& source) { return source.location == 0; });
    }

    const std::vector<VertexSource>& All() const { return m_arrays; }

    bool IsRead(const VertexSource& source) const {
        // Attribute 0 stands in for the vertex array where both are enabled.
        const bool isVertex = source.builtIn && std::string_view(source.builtIn) == "gl_Vertex";
        if (isVertex && m_hasAttribute0) {
            return false;
        }
        if (m_program != 0) {
            return m_state.ProgramReads(m_program, source.location, source.builtIn);
        }
        if (m_state.ProgramPipeline() != 0) {
            return false;
        }
        const bool draws = m_hasAttribute0 || Has([](const VertexSource& other) {
                               return other.builtIn && std::string_view(other.builtIn) == "gl_Vertex";
                           });
        return draws && source.location <= 0;
    }

private:
    template <class Test> bool Has(const Test& test) const {
        return std::any_of(m_arrays.begin(), m_arrays.end(), test);
    }

    const State& m_state;
    std::vector<VertexSource> m_arrays;
    unsigned m_program;
    bool m_hasAttribute0 = false;
};

bool JudgeArray(const Call& call, const State& state, const DrawnArrays& arrays, const VertexSource& source,
                bool counted, const std::vector<Draw>& draws) {
    const char* const function = kFunctions[call.index].name;
    const std::uintptr_t address = AddressOf(source.pointer);
    std::uint64_t size = 0;
    if (source.buffer == 0) {
        if (call.context->coreProfile || address >= kLeastAddress || !arrays.IsRead(source)) {
            return true;
        }
        AddViolation("%s reads the %s array at 0x%llX, which has neither an address nor a buffer", function,
                     source.name, Shown(address));
        return false;
    }
    if (!state.BufferSize(source.buffer, size) || !LeavesBuffer(state, source, size, counted, draws) ||
        !arrays.IsRead(source)) {
        return true;
    }
    AddViolation("%s reads the %s array at 0x%llX, beyond the %llu bytes of buffer %u, which was bound to "
                 "GL_ARRAY_BUFFER when the array was set",
                 function, source.name, Shown(address), Shown(size), source.buffer);
    return false;
}

/// Where a function has the address of its pixels and the extents of their block.
struct Transfer {
    unsigned function;
    bool packs;
    unsigned pointer;
    unsigned firstExtent;
    unsigned extents;
    /// Whether a null address, where no buffer is bound, means that there is nothing to read.
    bool takesNull;
};

constexpr Transfer kTransfers[] = {
    {Index_glTexImage1D, false, 7, 3, 1, true},
    {Index_glTexImage2D, false, 8, 3, 2, true},
    {Index_glTexImage3D, false, 9, 3, 3, true},
    {Index_glTexSubImage1D, false, 6, 3, 1, false},
    {Index_glTexSubImage2D, false, 8, 4, 2, false},
    {Index_glTexSubImage3D, false, 10, 5, 3, false},
    {Index_glTextureSubImage1D, false, 6, 3, 1, false},
    {Index_glTextureSubImage2D, false, 8, 4, 2, false},
    {Index_glTextureSubImage3D, false, 10, 5, 3, false},
    {Index_glCompressedTexImage1D, false, 6, 3, 1, true},
    {Index_glCompressedTexImage2D, false, 7, 3, 2, true},
    {Index_glCompressedTexImage3D, false, 8, 3, 3, true},
    {Index_glCompressedTexSubImage1D, false, 6, 3, 1, false},
    {Index_glCompressedTexSubImage2D, false, 8, 4, 2, false},
    {Index_glCompressedTexSubImage3D, false, 10, 5, 3, false},
    {Index_glDrawPixels, false, 4, 0, 2, false},
    {Index_glBitmap, false, 6, 0, 2, true},
    {Index_glPolygonStipple, false, 0, 0, 0, false},
    {Index_glReadPixels, true, 6, 2, 2, false},
    {Index_glReadnPixels, true, 7, 2, 2, false},
    {Index_glGetTexImage, true, 4, 0, 0, false},
    {Index_glGetnTexImage, true, 5, 0, 0, false},
    {Index_glGetCompressedTexImage, true, 2, 0, 0, false},
    {Index_glGetPolygonStipple, true, 0, 0, 0, false},
};

const Transfer* TransferOf(unsigned index) {
    const auto* const found = std::find_if(std::begin(kTransfers), std::end(kTransfers),
                                           [index](const Transfer& transfer) { return transfer.function == index; });
    return found == std::end(kTransfers) ? nullptr : found;
}

bool MovesPixels(const Call& call, const State& state, const Transfer& transfer) {
    for (unsigned extent = 0; extent < transfer.extents; ++extent) {
        if (SignedArgument(call, static_cast<int>(transfer.firstExtent + extent)) <= 0) {
            return false;
        }
    }
    if (std::string_view(kFunctions[call.index].name).ends_with("TexImage")) {
        // A texture is asked for, of which there may be none.
        constexpr unsigned kTextureWidth = 0x1000;
        int width = 0;
        state.Function<void (*)(unsigned, int, unsigned, int*)>(Index_glGetTexLevelParameteriv)(
            static_cast<unsigned>(call.arguments[0]), static_cast<int>(SignedArgument(call, 1)), kTextureWidth, &width);
        return width > 0;
    }
    return true;
}

} // namespace

bool ReadsArrays(unsigned index) {
    return ShapeOfDraw(index).count >= 0;
}

bool JudgeDrawnArrays(const Call& call) {
    const DrawShape shape = ShapeOfDraw(call.index);
    const std::vector<Draw> draws = DrawsOf(call, shape);
    if (draws.empty()) {
        return true;
    }
    const State state(call.context);
    if (shape.type >= 0) {
        const auto type = static_cast<unsigned>(call.arguments[shape.type]);
        // Any other type is an error that OpenGL reports by itself.
        if (SizeOfType(type) == 0 || !JudgeIndices(call, state, type, draws)) {
            return SizeOfType(type) == 0;
        }
    }
    const bool counted = shape.type < 0 && shape.instances < 0;
    const DrawnArrays arrays(state, *call.context);
    return std::all_of(arrays.All().begin(), arrays.All().end(), [&](const VertexSource& source) {
        return JudgeArray(call, state, arrays, source, counted, draws);
    });
}

bool TransfersPixels(unsigned index) {
    return TransferOf(index) != nullptr;
}

bool JudgeTransfer(const Call& call) {
    constexpr unsigned kPackBuffer = 0x88EB;
    constexpr unsigned kUnpackBuffer = 0x88EC;
    constexpr unsigned kPackBufferBinding = 0x88ED;
    constexpr unsigned kUnpackBufferBinding = 0x88EF;
    const Transfer& transfer = *TransferOf(call.index);
    const std::uint64_t address = call.arguments[transfer.pointer];
    const char* const function = kFunctions[call.index].name;
    const char* const verb = transfer.packs ? "writes" : "reads";
    const char* const target = transfer.packs ? "GL_PIXEL_PACK_BUFFER" : "GL_PIXEL_UNPACK_BUFFER";
    const State state(call.context);
    const int binding = transfer.packs ? kPackBufferBinding : kUnpackBufferBinding;
    const int buffer = state.HasPixelBuffers() ? state.Integer(static_cast<unsigned>(binding)) : 0;
    if (buffer == 0) {
        if (address >= kLeastAddress || (address == 0 && transfer.takesNull) || !MovesPixels(call, state, transfer)) {
            return true;
        }
        AddViolation("%s %s pixels at 0x%llX, with no buffer bound to %s", function, verb, Shown(address), target);
        return false;
    }
    const std::uint64_t size = state.BoundBufferSize(transfer.packs ? kPackBuffer : kUnpackBuffer);
    if (address < size || !MovesPixels(call, state, transfer)) {
        return true;
    }
    AddViolation("%s %s pixels at 0x%llX, beyond the %llu bytes of buffer %d, which is bound to %s", function, verb,
                 Shown(address), Shown(size), buffer, target);
    return false;
}

bool SetsArray(unsigned index) {
    const std::string_view name = kFunctions[index].name;
    return name.starts_with("gl") && name.ends_with("Pointer");
}

void JudgeArrayAddress(const Call& call) {
    constexpr unsigned kArrayBufferBinding = 0x8894;
    constexpr unsigned kVertexArrayBinding = 0x85B5;
    const std::string_view letters = kFunctions[call.index].letters;
    const std::uint64_t address = call.arguments[letters.size() - 1];
    const State state(call.context);
    if (address == 0 || !state.HasVertexArrays() || state.Integer(kArrayBufferBinding) != 0) {
        return;
    }
    if (const int vertexArray = state.Integer(kVertexArrayBinding)) {
        AddViolation("%s is given 0x%llX while vertex array %d is bound and no buffer, where only offsets into "
                     "buffers are taken",
                     kFunctions[call.index].name, Shown(address), vertexArray);
    }
}

} // namespace StandInDriver
