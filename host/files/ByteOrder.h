#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace OrrinViewer {

enum class ByteOrder {
    LittleEndian,
    BigEndian,
};

/// The number that stands at `bytes` (sizeof(Number) of them, at any alignment) in the given order, whatever the order
/// of the machine that runs this.
template <typename Number>
requires std::is_arithmetic_v<Number> Number LoadNumber(const std::uint8_t* bytes, ByteOrder order) {
    std::uint64_t bits = 0;
    for (std::size_t index = 0; index < sizeof(Number); ++index) {
        const std::size_t place = order == ByteOrder::LittleEndian ? index : sizeof(Number) - 1 - index;
        bits |= std::uint64_t{bytes[index]} << (8 * place);
    }
    if constexpr (std::same_as<Number, float>) {
        return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    } else if constexpr (std::same_as<Number, double>) {
        return std::bit_cast<double>(bits);
    } else {
        return static_cast<Number>(bits);
    }
}

template <typename Number> Number LoadLittleEndian(const std::uint8_t* bytes) {
    return LoadNumber<Number>(bytes, ByteOrder::LittleEndian);
}

} // namespace OrrinViewer
