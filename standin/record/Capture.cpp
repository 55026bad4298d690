#include "core/SystemDriver.h"
#include "record/Journal.h"
#include "rules/Contexts.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

namespace StandInDriver {

namespace {

constexpr unsigned kByte = 0x1400;
constexpr unsigned kUnsignedByte = 0x1401;
constexpr unsigned kShort = 0x1402;
constexpr unsigned kUnsignedShort = 0x1403;
constexpr unsigned kInt = 0x1404;
constexpr unsigned kUnsignedInt = 0x1405;
constexpr unsigned kFloat = 0x1406;
constexpr unsigned kDouble = 0x140A;

std::size_t SizeOfType(unsigned type) {
    switch (type) {
    case kByte:
    case kUnsignedByte:
        return 1;
    case kShort:
    case kUnsignedShort:
        return 2;
    case kInt:
    case kUnsignedInt:
    case kFloat:
        return 4;
    case kDouble:
        return 8;
    default:
        return 0;
    }
}

template <class T> double ReadAs(const unsigned char* address) {
    T value;
    std::memcpy(&value, address, sizeof(value));
    return static_cast<double>(value);
}

double ReadNumber(unsigned type, const unsigned char* address) {
    switch (type) {
    case kByte:
        return ReadAs<signed char>(address);
    case kUnsignedByte:
        return ReadAs<unsigned char>(address);
    case kShort:
        return ReadAs<short>(address);
    case kUnsignedShort:
        return ReadAs<unsigned short>(address);
    case kInt:
        return ReadAs<int>(address);
    case kUnsignedInt:
        return ReadAs<unsigned>(address);
    case kFloat:
        return ReadAs<float>(address);
    default:
        return ReadAs<double>(address);
    }
}

// Values behind a pointer, as many as the function's name says.

struct ValueRule {
    unsigned type = 0;
    unsigned components = 0;
    int countArgument = -1;
    unsigned pointerArgument = 0;
};

unsigned TakeDigit(std::string_view& text) {
    if (text.empty() || text.front() < '1' || text.front() > '4') {
        return 0;
    }
    const auto digit = static_cast<unsigned>(text.front() - '0');
    text.remove_prefix(1);
    return digit;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

unsigned TypeOfSuffix(std::string_view suffix) {
    constexpr std::pair<std::string_view, unsigned> kSuffixes[] = {
        {"b", kByte}, {"ub", kUnsignedByte}, {"s", kShort}, {"us", kUnsignedShort},
        {"i", kInt},  {"ui", kUnsignedInt},  {"f", kFloat}, {"d", kDouble}};
    for (const auto& [text, type] : kSuffixes) {
        if (suffix == text) {
            return type;
        }
    }
    return 0;
}

/// glUniform4fv, glProgramUniform2iv, glUniformMatrix4x3fv: an array of vectors or matrices.
ValueRule UniformRule(std::string_view name, unsigned firstArgument) {
    ValueRule rule;
    const bool matrix = TakePrefix(name, "Matrix");
    const unsigned columns = TakeDigit(name);
    rule.components = columns;
    if (matrix) {
        rule.components *= TakePrefix(name, "x") ? TakeDigit(name) : columns;
    }
    if (!name.ends_with('v')) {
        return {};
    }
    rule.type = TypeOfSuffix(name.substr(0, name.size() - 1));
    rule.countArgument = static_cast<int>(firstArgument) + 1;
    rule.pointerArgument = firstArgument + (matrix ? 3 : 2);
    return rule;
}

/// glVertex3dv, glColor4ubv: one vector.
ValueRule VectorRule(std::string_view name, unsigned pointerArgument) {
    ValueRule rule;
    rule.components = TakeDigit(name);
    if (!name.ends_with('v')) {
        return {};
    }
    rule.type = TypeOfSuffix(name.substr(0, name.size() - 1));
    rule.pointerArgument = pointerArgument;
    return rule;
}

ValueRule RuleOf(std::string_view name) {
    TakePrefix(name, "gl");
    for (const std::string_view matrix : {"LoadMatrix", "MultMatrix", "LoadTransposeMatrix", "MultTransposeMatrix"}) {
        if (TakePrefix(name, matrix)) {
            return {TypeOfSuffix(name), 16, -1, 0};
        }
    }
    if (name == "ClipPlane") {
        return {kDouble, 4, -1, 1};
    }
    if (TakePrefix(name, "ProgramUniform")) {
        return UniformRule(name, 1);
    }
    if (TakePrefix(name, "Uniform")) {
        return UniformRule(name, 0);
    }
    for (const std::string_view vector : {"Vertex", "Color", "Normal", "TexCoord", "RasterPos"}) {
        if (TakePrefix(name, vector)) {
            return VectorRule(name, 0);
        }
    }
    return {};
}

const ValueRule& RuleOfFunction(unsigned index) {
    static const ValueRule* const rules = [] {
        auto* made = new ValueRule[kFunctionCount];
        for (unsigned function = 0; function < kFunctionCount; ++function) {
            const ValueRule rule = RuleOf(kFunctions[function].name);
            made[function] = rule.type != 0 && rule.components != 0 ? rule : ValueRule();
        }
        return made;
    }();
    return rules[index];
}

void CaptureValues(const Call& call, JournalEntry& entry) {
    const ValueRule& rule = RuleOfFunction(call.index);
    if (rule.type == 0) {
        return;
    }
    const auto* const address = PointerArgument<const unsigned char*>(call, rule.pointerArgument);
    const auto count = rule.countArgument < 0 ? 1 : static_cast<std::int64_t>(call.arguments[rule.countArgument]);
    std::vector<double> numbers;
    for (std::int64_t position = 0; address && position < count * rule.components; ++position) {
        numbers.push_back(ReadNumber(rule.type, address + static_cast<std::size_t>(position) * SizeOfType(rule.type)));
    }
    entry.AddArray("value", rule.components, numbers);
}

// Vertices that a draw reads, in the order in which it reads them.

/// Questions to the system's driver about the current context. They change nothing, but in the core profile those about
/// fixed-function state would raise an error that the caller sees, so they are not asked there.
class State {
public:
    explicit State(Context* context) : m_context(context) {}

    int Integer(unsigned name) const {
        int value = 0;
        Function<void (*)(unsigned, int*)>(Index_glGetIntegerv)(name, &value);
        return value;
    }
    bool IsEnabled(unsigned name) const { return Function<unsigned char (*)(unsigned)>(Index_glIsEnabled)(name) != 0; }
    const unsigned char* Pointer(unsigned name) const {
        void* value = nullptr;
        Function<void (*)(unsigned, void**)>(Index_glGetPointerv)(name, &value);
        return static_cast<const unsigned char*>(value);
    }
    int Attribute(unsigned attribute, unsigned name) const {
        int value = 0;
        if (const auto function = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetVertexAttribiv)) {
            function(attribute, name, &value);
        }
        return value;
    }
    const unsigned char* AttributePointer(unsigned attribute) const {
        constexpr unsigned kAttributePointer = 0x8645;
        void* value = nullptr;
        if (const auto function = Function<void (*)(unsigned, unsigned, void**)>(Index_glGetVertexAttribPointerv)) {
            function(attribute, kAttributePointer, &value);
        }
        return static_cast<const unsigned char*>(value);
    }
    /// What glGetIntegeri_v says of a vertex buffer binding; 0 where there are none.
    long long Binding(unsigned name, int binding) const {
        int value = 0;
        const auto function = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetIntegeri_v);
        if (function && Function<void (*)()>(Index_glBindVertexBuffer)) {
            function(name, static_cast<unsigned>(binding), &value);
        }
        return value;
    }
    /// A part of a buffer; empty when it cannot be read now, as while it is mapped.
    std::vector<unsigned char> BufferContent(unsigned buffer, std::size_t offset, std::size_t size) const {
        constexpr unsigned kSize = 0x8764;
        constexpr unsigned kMapped = 0x88BC;
        constexpr unsigned kAccessFlags = 0x911F;
        constexpr int kPersistent = 0x40;
        const auto ask = Function<void (*)(unsigned, unsigned, int*)>(Index_glGetNamedBufferParameteriv);
        const auto read = Function<void (*)(unsigned, long long, long long, void*)>(Index_glGetNamedBufferSubData);
        if (!ask || !read) {
            return {};
        }
        int mapped = 0;
        int access = 0;
        int whole = 0;
        ask(buffer, kMapped, &mapped);
        ask(buffer, kAccessFlags, &access);
        ask(buffer, kSize, &whole);
        if ((mapped != 0 && (access & kPersistent) == 0) || offset + size > static_cast<std::size_t>(whole)) {
            return {};
        }
        std::vector<unsigned char> content(size);
        read(buffer, static_cast<long long>(offset), static_cast<long long>(size), content.data());
        return content;
    }

private:
    template <class F> F Function(unsigned index) const {
        return reinterpret_cast<F>(SystemFunction(index, m_context));
    }

    Context* m_context;
};

struct VertexSource {
    const char* name;
    unsigned buffer;
    unsigned components;
    unsigned type;
    std::size_t stride;
    const unsigned char* pointer;
};

void CaptureSource(const State& state, const VertexSource& source, const std::vector<std::uint32_t>& order,
                   JournalEntry& entry) {
    const std::size_t typeSize = SizeOfType(source.type);
    if (order.empty() || typeSize == 0 || source.components == 0 || source.components > 4) {
        return;
    }
    const std::size_t stride = source.stride != 0 ? source.stride : typeSize * source.components;
    const auto [least, most] = std::minmax_element(order.begin(), order.end());
    const std::size_t begin = *least * stride;
    const std::size_t size = *most * stride + typeSize * source.components - begin;
    std::vector<unsigned char> content;
    const unsigned char* first = nullptr;
    if (source.buffer != 0) {
        content = state.BufferContent(source.buffer, reinterpret_cast<std::uintptr_t>(source.pointer) + begin, size);
        first = content.empty() ? nullptr : content.data();
    } else if (source.pointer) {
        first = source.pointer + begin;
    }
    if (!first) {
        return;
    }
    std::vector<double> numbers;
    numbers.reserve(order.size() * source.components);
    for (const std::uint32_t vertex : order) {
        const unsigned char* const address = first + (vertex * stride - begin);
        for (unsigned component = 0; component < source.components; ++component) {
            numbers.push_back(ReadNumber(source.type, address + component * typeSize));
        }
    }
    entry.AddArray(source.name, source.components, numbers);
}

void CaptureClientArrays(const State& state, const std::vector<std::uint32_t>& order, JournalEntry& entry) {
    constexpr struct {
        const char* name;
        unsigned enabled, size, type, stride, pointer, buffer;
    } kArrays[] = {{"vertex", 0x8074, 0x807A, 0x807B, 0x807C, 0x808E, 0x8896},
                   {"normal", 0x8075, 0, 0x807E, 0x807F, 0x808F, 0x8897},
                   {"color", 0x8076, 0x8081, 0x8082, 0x8083, 0x8090, 0x8898},
                   {"texcoord", 0x8078, 0x8088, 0x8089, 0x808A, 0x8092, 0x889A}};
    for (const auto& array : kArrays) {
        if (!state.IsEnabled(array.enabled)) {
            continue;
        }
        const unsigned components = array.size == 0 ? 3 : static_cast<unsigned>(state.Integer(array.size));
        const VertexSource source = {array.name,
                                     static_cast<unsigned>(state.Integer(array.buffer)),
                                     components,
                                     static_cast<unsigned>(state.Integer(array.type)),
                                     static_cast<std::size_t>(state.Integer(array.stride)),
                                     state.Pointer(array.pointer)};
        CaptureSource(state, source, order, entry);
    }
}

void CaptureAttributes(const State& state, const std::vector<std::uint32_t>& order, JournalEntry& entry) {
    constexpr const char* kNames[] = {"attribute0", "attribute1", "attribute2", "attribute3",
                                      "attribute4", "attribute5", "attribute6", "attribute7"};
    for (unsigned attribute = 0; attribute < std::size(kNames); ++attribute) {
        if (state.Attribute(attribute, 0x8622) == 0) {
            continue;
        }
        VertexSource source = {kNames[attribute],
                               static_cast<unsigned>(state.Attribute(attribute, 0x889F)),
                               static_cast<unsigned>(state.Attribute(attribute, 0x8623)),
                               static_cast<unsigned>(state.Attribute(attribute, 0x8625)),
                               static_cast<std::size_t>(state.Attribute(attribute, 0x8624)),
                               state.AttributePointer(attribute)};
        if (source.buffer != 0 && source.stride == 0) {
            // Set by format and binding, which the older questions know nothing of.
            const int binding = state.Attribute(attribute, 0x82D4);
            source.stride = static_cast<std::size_t>(state.Binding(0x82D8, binding));
            source.pointer = reinterpret_cast<const unsigned char*>(state.Binding(0x82D7, binding) +
                                                                    state.Attribute(attribute, 0x82D5));
        }
        CaptureSource(state, source, order, entry);
    }
}

std::vector<std::uint32_t> ReadIndices(const State& state, unsigned type, std::size_t count,
                                       const unsigned char* pointer, int baseVertex, JournalEntry& entry) {
    constexpr unsigned kElementBuffer = 0x8895;
    constexpr unsigned kPrimitiveRestart = 0x8F9D;
    constexpr unsigned kFixedRestart = 0x8D69;
    const std::size_t typeSize = SizeOfType(type);
    std::vector<unsigned char> content;
    const unsigned char* first = pointer;
    if (const auto buffer = static_cast<unsigned>(state.Integer(kElementBuffer))) {
        content = state.BufferContent(buffer, reinterpret_cast<std::uintptr_t>(pointer), typeSize * count);
        first = content.empty() ? nullptr : content.data();
    }
    std::vector<std::uint32_t> order;
    std::vector<double> numbers;
    if (!first) {
        return order;
    }
    const bool restarts = state.IsEnabled(kPrimitiveRestart) || state.IsEnabled(kFixedRestart);
    const double restart = typeSize == 1 ? 0xFF : typeSize == 2 ? 0xFFFF : std::numeric_limits<std::uint32_t>::max();
    for (std::size_t position = 0; position < count; ++position) {
        const double index = ReadNumber(type, first + position * typeSize);
        numbers.push_back(index);
        if (!restarts || index != restart) {
            order.push_back(static_cast<std::uint32_t>(index) + static_cast<std::uint32_t>(baseVertex));
        }
    }
    entry.AddArray("index", 1, numbers);
    return order;
}

struct DrawShape {
    int first = -1;
    int count = -1;
    int type = -1;
    int baseVertex = -1;
};

/// Where a draw has its arguments; `count` stays negative for every other function.
DrawShape ShapeOf(unsigned index) {
    switch (index) {
    case Index_glDrawArrays:
    case Index_glDrawArraysInstanced:
        return {1, 2, -1, -1};
    case Index_glDrawElements:
    case Index_glDrawElementsInstanced:
        return {-1, 1, 2, -1};
    case Index_glDrawElementsBaseVertex:
        return {-1, 1, 2, 4};
    case Index_glDrawRangeElements:
        return {-1, 3, 4, -1};
    case Index_glDrawRangeElementsBaseVertex:
        return {-1, 3, 4, 6};
    default:
        return {};
    }
}

void CaptureDraw(const Call& call, JournalEntry& entry) {
    const DrawShape shape = ShapeOf(call.index);
    if (shape.count < 0 || !call.context) {
        return;
    }
    const auto count = static_cast<std::int64_t>(call.arguments[shape.count]);
    if (count <= 0) {
        return;
    }
    const State state(call.context);
    std::vector<std::uint32_t> order;
    if (shape.type < 0) {
        for (std::int64_t position = 0; position < count; ++position) {
            order.push_back(static_cast<std::uint32_t>(call.arguments[shape.first]) +
                            static_cast<std::uint32_t>(position));
        }
    } else {
        const int base = shape.baseVertex < 0 ? 0 : static_cast<int>(call.arguments[shape.baseVertex]);
        order = ReadIndices(state, static_cast<unsigned>(call.arguments[shape.type]), static_cast<std::size_t>(count),
                            PointerArgument<const unsigned char*>(call, static_cast<unsigned>(shape.type) + 1), base,
                            entry);
    }
    if (!call.context->coreProfile) {
        CaptureClientArrays(state, order, entry);
    }
    CaptureAttributes(state, order, entry);
}

} // namespace

void CaptureData(const Call& call, JournalEntry& entry) {
    CaptureValues(call, entry);
    CaptureDraw(call, entry);
}

} // namespace StandInDriver
