#pragma once

#include "../Export.h"
#include "../Framework.h"

#include <array>

namespace KTR {

/// Which pixel formats are acceptable. Any other value filters nothing and adds no weight.
enum OpenGLHardwareAcceleration : int {
    AccelerationHardware = 1, ///< formats of an installable driver
    AccelerationSoftware = 2, ///< the system's generic formats
};

/// Weighs a format for OpenGL drawing with `colorBits` bits of colour; 0 means unusable, more is better.
ORRIN_DISPLAY_API unsigned int WeightPixelFormats(const PIXELFORMATDESCRIPTOR& format, unsigned int colorBits,
                                                  bool drawToWindow, OpenGLHardwareAcceleration acceleration);

/// Number of the device context's best format by WeightPixelFormats (the lowest of equals), or 0. Nothing is set.
ORRIN_DISPLAY_API int EnumPixelFormats(HDC deviceContext, unsigned int colorBits, bool drawToWindow,
                                       OpenGLHardwareAcceleration acceleration);

/// A descriptor with its header set and everything else zero.
PIXELFORMATDESCRIPTOR EmptyPixelFormat();
/// The request that the system's own choice is asked with.
PIXELFORMATDESCRIPTOR PixelFormatRequest(bool drawToWindow, int colorBits, int depthBits);

/// Zero-terminated attribute/value pairs for wglChoosePixelFormatARB.
using PixelFormatAttributes = std::array<int, 25>;
PixelFormatAttributes WindowPixelFormatAttributes(int colorBits, bool hardware, bool doubleBuffer, bool stereo);
PixelFormatAttributes BitmapPixelFormatAttributes(int colorBits);

} // namespace KTR
