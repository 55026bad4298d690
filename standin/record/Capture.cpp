#include "core/State.h"
#include "core/Values.h"
#include "record/Journal.h"
#include "rules/Contexts.h"

#include <algorithm>
#include <limits>

namespace StandInDriver {

namespace {

void CaptureValues(const Call& call, JournalEntry& entry) {
    const CallValues values = ValuesOf(call);
    if (values.components != 0) {
        entry.AddArray("value", values.components, values.numbers);
    }
}

// Vertices that a draw reads, in the order in which it reads them.

void CaptureSource(const State& state, const VertexSource& source, const std::vector<std::uint32_t>& order,
                   JournalEntry& entry) {
    const std::size_t typeSize = SizeOfType(source.type);
    if (order.empty() || source.ElementSize() == 0) {
        return;
    }
    const std::size_t stride = source.Step();
    const auto [least, most] = std::minmax_element(order.begin(), order.end());
    const std::size_t begin = *least * stride;
    const std::size_t size = *most * stride + source.ElementSize() - begin;
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

std::vector<std::uint32_t> ReadIndices(const State& state, unsigned type, std::size_t count,
                                       const unsigned char* pointer, int baseVertex, JournalEntry& entry) {
    constexpr unsigned kPrimitiveRestart = 0x8F9D;
    constexpr unsigned kFixedRestart = 0x8D69;
    const std::size_t typeSize = SizeOfType(type);
    std::vector<unsigned char> content;
    const unsigned char* first = pointer;
    if (const auto buffer = state.ElementBuffer()) {
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

void CaptureDraw(const Call& call, JournalEntry& entry) {
    const DrawShape shape = ShapeOfDraw(call.index);
    if (shape.count < 0 || shape.draws >= 0 || !call.context) {
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
        order =
            ReadIndices(state, static_cast<unsigned>(call.arguments[shape.type]), static_cast<std::size_t>(count),
                        PointerArgument<const unsigned char*>(call, static_cast<unsigned>(shape.indices)), base, entry);
    }
    for (const VertexSource& source : EnabledClientArrays(state, *call.context)) {
        CaptureSource(state, source, order, entry);
    }
    for (const VertexSource& source : EnabledAttributes(state)) {
        CaptureSource(state, source, order, entry);
    }
}

} // namespace

void CaptureData(const Call& call, JournalEntry& entry) {
    CaptureValues(call, entry);
    CaptureDraw(call, entry);
}

} // namespace StandInDriver
