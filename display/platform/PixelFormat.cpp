#include "PixelFormat.h"

#include <GL/gl.h>
#include <GL/wglext.h>

namespace {

bool HasFlag(const PIXELFORMATDESCRIPTOR& format, DWORD flag) {
    return (format.dwFlags & flag) != 0;
}

} // namespace

namespace KTR {

unsigned int WeightPixelFormats(const PIXELFORMATDESCRIPTOR& format, unsigned int colorBits, bool drawToWindow,
                                OpenGLHardwareAcceleration acceleration) {
    if (format.cColorBits != colorBits || !HasFlag(format, PFD_SUPPORT_OPENGL) || format.cDepthBits < 9 ||
        format.iPixelType != PFD_TYPE_RGBA) {
        return 0;
    }
    const bool suitsSurface = drawToWindow ? HasFlag(format, PFD_DRAW_TO_WINDOW) && HasFlag(format, PFD_DOUBLEBUFFER)
                                           : HasFlag(format, PFD_DRAW_TO_BITMAP);
    if (!suitsSurface) {
        return 0;
    }
    unsigned int weight = 0;
    if (acceleration == AccelerationHardware) {
        if (HasFlag(format, PFD_GENERIC_FORMAT)) {
            return 0;
        }
        weight = HasFlag(format, PFD_GENERIC_ACCELERATED) ? 513 : 1025;
    } else if (acceleration == AccelerationSoftware) {
        if (!HasFlag(format, PFD_GENERIC_FORMAT)) {
            return 0;
        }
        weight = 1;
    }
    return format.cDepthBits >= 24 ? weight + 128 + format.cDepthBits : weight;
}

int EnumPixelFormats(HDC deviceContext, unsigned int colorBits, bool drawToWindow,
                     OpenGLHardwareAcceleration acceleration) {
    const PIXELFORMATDESCRIPTOR request = PixelFormatRequest(drawToWindow, static_cast<int>(colorBits), 32);
    PIXELFORMATDESCRIPTOR format = EmptyPixelFormat();
    const int formatCount = DescribePixelFormat(deviceContext, 1, sizeof(format), &format);
    // The system's choice only tells whether there is any format at all; the weights decide which.
    if (ChoosePixelFormat(deviceContext, &request) == 0 || formatCount == 0) {
        return 0;
    }
    int best = 0;
    unsigned int bestWeight = 0;
    for (int number = formatCount; number >= 1; --number) {
        DescribePixelFormat(deviceContext, number, sizeof(format), &format);
        const unsigned int weight = WeightPixelFormats(format, colorBits, drawToWindow, acceleration);
        if (weight >= bestWeight) {
            best = number;
            bestWeight = weight;
        }
    }
    return bestWeight != 0 ? best : 0;
}

PIXELFORMATDESCRIPTOR EmptyPixelFormat() {
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(format);
    format.nVersion = 1;
    return format;
}

PIXELFORMATDESCRIPTOR PixelFormatRequest(bool drawToWindow, int colorBits, int depthBits) {
    PIXELFORMATDESCRIPTOR request = EmptyPixelFormat();
    request.dwFlags = drawToWindow ? PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER
                                   : PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL;
    request.iPixelType = PFD_TYPE_RGBA;
    request.cColorBits = static_cast<BYTE>(colorBits);
    request.cDepthBits = static_cast<BYTE>(depthBits);
    request.iLayerType = PFD_MAIN_PLANE;
    return request;
}

PixelFormatAttributes WindowPixelFormatAttributes(int colorBits, bool hardware, bool doubleBuffer, bool stereo) {
    // A stereo request gives up the stencil buffer: few drivers have a format with both.
    const int lastAttribute = stereo ? WGL_STEREO_ARB : WGL_STENCIL_BITS_ARB;
    const int lastValue = stereo ? 1 : 8;
    return {WGL_DRAW_TO_WINDOW_ARB,
            1,
            WGL_SUPPORT_OPENGL_ARB,
            1,
            WGL_ACCELERATION_ARB,
            hardware ? WGL_FULL_ACCELERATION_ARB : WGL_NO_ACCELERATION_ARB,
            WGL_DOUBLE_BUFFER_ARB,
            doubleBuffer ? 1 : 0,
            WGL_PIXEL_TYPE_ARB,
            WGL_TYPE_RGBA_ARB,
            WGL_COLOR_BITS_ARB,
            colorBits,
            WGL_RED_BITS_ARB,
            8,
            WGL_GREEN_BITS_ARB,
            8,
            WGL_BLUE_BITS_ARB,
            8,
            WGL_ALPHA_BITS_ARB,
            8,
            WGL_DEPTH_BITS_ARB,
            24,
            lastAttribute,
            lastValue,
            0};
}

PixelFormatAttributes BitmapPixelFormatAttributes(int colorBits) {
    return {WGL_DRAW_TO_BITMAP_ARB,
            1,
            WGL_SUPPORT_OPENGL_ARB,
            1,
            WGL_COLOR_BITS_ARB,
            colorBits,
            WGL_RED_BITS_ARB,
            8,
            WGL_GREEN_BITS_ARB,
            8,
            WGL_BLUE_BITS_ARB,
            8,
            WGL_ALPHA_BITS_ARB,
            8,
            WGL_PIXEL_TYPE_ARB,
            WGL_TYPE_RGBA_ARB,
            WGL_ACCELERATION_ARB,
            WGL_NO_ACCELERATION_ARB,
            0};
}

} // namespace KTR
