#pragma once

#include "MapFurniture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OrrinViewer {

/// What the line below the map tells, beside the place under the mouse.
struct StatusFacts {
    std::string scale;          ///< as FormatScale gives it
    bool isPerspective = false; ///< the scale holds for what is as far away as the middle
    std::uint64_t drawnPoints = 0;
    std::uint64_t points = 0;     ///< that there are; 0: nothing is told of them
    std::string system;           ///< of the coordinates; empty: not known
    double frameMilliseconds = 0; ///< of the last frame; 0: none yet
    bool drawsWithPrograms = false;
};

/// The facts as short texts, the most important one first.
std::vector<std::string> DescribeStatus(const StatusFacts& facts);

/// Height of the line, and where its texts stand in a window of that width: the place at the left, the facts at the
/// right, as many as there is room for. What does not fit as a whole is left out.
double StatusHeight(const TextSizes& sizes);
std::vector<PixelText> LayOutStatus(const std::string& place, const std::vector<std::string>& facts, int widthPixels,
                                    const TextSizes& sizes);

} // namespace OrrinViewer
