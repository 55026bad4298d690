#pragma once

#include "../values/BasicTypes.h"

#include <span>

namespace KTR {

class COpenGLView;
struct GLLineTextStyle;

/// Draws a string along a line of places of the model, each piece of it that can be seen for itself. S_FALSE where
/// nothing was drawn since nothing fits. Throws when there is no memory.
long DrawStringAlongLine(COpenGLView& view, const wchar_t* text, std::span<const PointXYZ> places,
                         const GLLineTextStyle& style);

} // namespace KTR
