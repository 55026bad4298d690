#pragma once

#include "LazChunk.h"
#include "LazColor.h"

#include <array>
#include <optional>
#include <vector>

namespace OrrinViewer {

/// Points of the formats 6 to 8: each attribute has a stream, of which only those are read that are shown. A stream
/// without bytes means that all points have the attribute of the first. Each of the scanner's four channels has its own
/// statistics.
class LazLayeredChunk final : public LazChunk {
public:
    LazLayeredChunk(const LazRecordLayout& layout, std::span<const std::uint8_t> bytes);
    void TakePoint(std::span<std::uint8_t> record) override;

private:
    /// The fields that are decompressed, and those that they depend on.
    struct Point {
        std::int32_t x = 0;
        std::int32_t y = 0;
        std::int32_t z = 0;
        std::uint16_t intensity = 0;
        std::uint32_t returnNumber = 0;
        std::uint32_t returnCount = 0;
        std::uint32_t flags = 0; ///< of the class, then the scan's direction and edge
        std::uint32_t classNumber = 0;
        bool isTimeChanged = false;
    };
    struct Channel;
    struct ColorChannel;

    void TakeReturns(Channel& channel, std::uint32_t changed);
    void TakeCoordinates(Channel& channel);
    void TakeAttributes(Channel& channel);
    void TakeColor(std::size_t channel);
    void StorePoint(std::span<std::uint8_t> record) const;

    LazRecordLayout m_layout;
    std::vector<std::uint8_t> m_first; ///< record
    bool m_isFirst = true;
    std::size_t m_current = 0;
    std::array<std::unique_ptr<Channel>, 4> m_channels;
    std::size_t m_currentColor = 0;
    std::array<std::unique_ptr<ColorChannel>, 4> m_colorChannels;
    LazColor m_color{};

    ArithmeticDecoder m_coordinates; ///< x, y and returns
    std::optional<ArithmeticDecoder> m_heights;
    std::optional<ArithmeticDecoder> m_classes;
    std::optional<ArithmeticDecoder> m_flags;
    std::optional<ArithmeticDecoder> m_intensities;
    std::optional<ArithmeticDecoder> m_colors;

public:
    ~LazLayeredChunk() override;
};

} // namespace OrrinViewer
