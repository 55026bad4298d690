#pragma once

#include "core/Functions.h"

#include <vector>

namespace StandInDriver {

/// Questions to the system's driver about the current context, none of them recorded or counted. They change nothing;
/// what the context cannot know is not asked, lest the caller meet an error that it did not make.
class State {
public:
    explicit State(Context* context) : m_context(context) {}

    int Integer(unsigned name) const;
    bool IsEnabled(unsigned name) const;
    const unsigned char* Pointer(unsigned name) const;
    int Attribute(unsigned attribute, unsigned name) const;
    const unsigned char* AttributePointer(unsigned attribute) const;
    /// Whether an attribute goes on with each vertex, not with each instance.
    bool IsPerVertex(unsigned attribute) const;
    /// What glGetIntegeri_v says of a vertex buffer binding; 0 where there are none.
    long long Binding(unsigned name, int binding) const;

    bool HasBuffers() const { return Has(Index_glBindBuffer); }
    bool HasVertexArrays() const { return Has(Index_glBindVertexArray); }
    /// Whether pixels can be read from and written to buffers, which came with GL 2.1 as this function did.
    bool HasPixelBuffers() const { return Has(Index_glUniformMatrix2x3fv); }
    unsigned ElementBuffer() const;
    /// The program in use; 0 for none.
    unsigned Program() const;
    unsigned ProgramPipeline() const;
    /// Whether a program reads an attribute, by its location or by a built-in name such as gl_Vertex.
    bool ProgramReads(unsigned program, int location, const char* builtIn) const;

    /// Size of the buffer bound to a target.
    std::uint64_t BoundBufferSize(unsigned target) const;
    /// False where the driver cannot tell, as of a buffer that was deleted but still serves a vertex array object.
    bool BufferSize(unsigned buffer, std::uint64_t& size) const;
    /// A part of a buffer; empty when it cannot be read now, as while it is mapped.
    std::vector<unsigned char> BufferContent(unsigned buffer, std::size_t offset, std::size_t size) const;

    template <class F> F Function(unsigned index) const { return reinterpret_cast<F>(Find(index)); }

private:
    void* Find(unsigned index) const;
    bool Has(unsigned index) const { return Find(index) != nullptr; }

    Context* m_context;
};

/// Where a draw finds one enabled array.
struct VertexSource {
    const char* name;
    /// The same in a program: the built-in variable's name, or the generic attribute's location.
    const char* builtIn;
    int location;
    unsigned buffer;
    unsigned components;
    unsigned type;
    /// From one vertex to the next; 0 stands for vertices without a gap, unless it was given to a binding.
    std::size_t stride;
    bool strideOfBinding;
    /// An offset where there is a buffer.
    const unsigned char* pointer;

    /// Bytes of one vertex; 0 for a type that is not taken apart here.
    std::size_t ElementSize() const;
    std::size_t Step() const { return stride != 0 || strideOfBinding ? stride : ElementSize(); }
};

/// The enabled arrays of the fixed-function pipeline, of texture coordinates those of the active unit; none in the core
/// profile, where asking would be an error.
std::vector<VertexSource> EnabledClientArrays(const State& state, const Context& context);
/// The first eight generic attributes, where enabled.
std::vector<VertexSource> EnabledAttributes(const State& state);

/// Where a draw has its arguments; `count` stays negative for every other function.
struct DrawShape {
    int first = -1;
    int count = -1;
    int type = -1;
    int indices = -1;
    int baseVertex = -1;
    int instances = -1;
    /// Of a glMultiDraw…: the number of draws, whose first, count and indices are arrays.
    int draws = -1;
};

DrawShape ShapeOfDraw(unsigned index);

} // namespace StandInDriver
