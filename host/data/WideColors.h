#pragma once

#include "PointCloud.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// Brings 16-bit colours down to 8 bits, point by point.
///
/// Many programs write 0 to 255 into the 16-bit fields, which read as 16-bit colours are all but black. Which of the
/// two a file does shows only at its first channel above 255. Until then channels are kept as they are; when it comes,
/// all the colours before turn out to have been darker than 1/256 of full brightness, and become black.
class WideColors {
public:
    /// Colours are appended to `colors`, which the caller owns and keeps alive.
    explicit WideColors(std::vector<Rgb>& colors) : m_colors(colors) {}

    void Add(std::uint16_t red, std::uint16_t green, std::uint16_t blue) {
        if (!m_fullRange && (red > 255 || green > 255 || blue > 255)) {
            std::fill(m_colors.begin(), m_colors.end(), Rgb{});
            m_fullRange = true;
        }
        const int shift = m_fullRange ? 8 : 0;
        m_colors.push_back({static_cast<std::uint8_t>(red >> shift), static_cast<std::uint8_t>(green >> shift),
                            static_cast<std::uint8_t>(blue >> shift)});
    }

private:
    std::vector<Rgb>& m_colors;
    bool m_fullRange = false;
};

} // namespace OrrinViewer
