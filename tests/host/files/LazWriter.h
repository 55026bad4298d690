#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A point as the tests of compressed files make it; which of it a file keeps its point format says.
struct LazPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::uint16_t intensity = 0;
    std::uint32_t returnNumber = 1;
    std::uint32_t returnCount = 1;
    std::uint32_t flags = 0; ///< in formats 0 to 3 of scan direction and edge; later also of the class, below them
    std::uint32_t classNumber = 0;
    std::uint32_t channel = 0;
    bool isTimeChanged = false;
    std::uint16_t color[3] = {};

    bool operator==(const LazPoint&) const = default;
};

/// What a compressed file is made of.
struct LazShape {
    int pointFormat = 3; ///< 0 to 3, 6 to 8
    int extraBytes = 0;
    std::uint32_t chunkSize = 50'000; ///< 0: chunks of two sizes in turn, as octrees have them
    std::uint16_t itemVersion = 0;    ///< 0: that of the format
    bool isTableAtTheEnd = false;     ///< as a writer leaves it that cannot go back
    /// Of each chunk in an octree, whose index has a page for the first half of them and one for the others.
    std::vector<std::int32_t> levels{};
};

/// A LAZ file of the points, with scale 0.01 and offset 0.
std::string BuildLaz(const std::vector<LazPoint>& points, const LazShape& shape);

} // namespace OrrinViewer
