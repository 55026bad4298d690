#pragma once

#include "PointCloud.h"

#include <cstdint>

namespace OrrinViewer {

/// A point as its file has it. What the file does not have is 0.
struct CloudPoint {
    Position position;
    std::uint16_t red = 0; ///< as recorded; of 8 or of 16 bits, see CloudTraits
    std::uint16_t green = 0;
    std::uint16_t blue = 0;
    std::uint8_t classNumber = 0;
    float intensity = 0.0F;
};

/// What the points of a file can have.
struct CloudFields {
    bool colors = false;
    bool classes = false;
    bool intensities = false;
    bool zeroIsAbsent = false; ///< fields that are zero in all points were never filled in
    ClassMeaning classMeaning = ClassMeaning::Survey;
};

} // namespace OrrinViewer
