#include "LazColor.h"

#include <algorithm>
#include <cstddef>

namespace OrrinViewer {

LazColor LazColorModel::Take(ArithmeticDecoder& decoder, const LazColor& last) {
    constexpr std::uint32_t kChannelsDiffer = 64;
    const std::uint32_t changed = decoder.TakeSymbol(m_changed);
    // The lower byte of red is 0, its upper one 1; of green 2 and 3, of blue 4 and 5.
    const auto byteOf = [](const LazColor& color, std::size_t byte) {
        return static_cast<int>(color[byte / 2] >> (8 * (byte % 2)) & 0xFF);
    };
    LazColor color{};
    const auto take = [&](std::size_t byte, int change) {
        int value = byteOf(last, byte);
        if ((changed >> byte & 1) != 0) {
            const int correction = static_cast<int>(decoder.TakeSymbol(m_corrections[byte]));
            value = (std::clamp(value + change, 0, 255) + correction) & 0xFF;
        }
        color[byte / 2] = static_cast<std::uint16_t>(color[byte / 2] | value << (8 * (byte % 2)));
    };
    take(0, 0);
    take(1, 0);
    if ((changed & kChannelsDiffer) == 0) {
        return {color[0], color[0], color[0]};
    }
    for (const std::size_t upper : {0U, 1U}) {
        const int redChange = byteOf(color, upper) - byteOf(last, upper);
        take(2 + upper, redChange);
        const int greenChange = byteOf(color, 2 + upper) - byteOf(last, 2 + upper);
        take(4 + upper, (redChange + greenChange) / 2);
    }
    return color;
}

} // namespace OrrinViewer
