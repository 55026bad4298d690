#pragma once

#include "../values/BasicTypes.h"

namespace KTR {

/// How the grid of a profile looks.
struct GLProfileGridStyle {
    GLRGBAColor lineColor{128, 128, 128, 110};
    GLRGBAColor cornerColor{230, 180, 60, 200}; ///< where legs meet
    GLRGBAColor textColor{220, 220, 220, 255};
    double spacingPixels = 80.0;   ///< least distance of neighbouring lines, 20 to 1000
    const wchar_t* unit = nullptr; ///< behind the numbers, as "m"; null for none
};

} // namespace KTR
