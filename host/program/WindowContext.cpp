#include "WindowContext.h"

#include <cstdio>

namespace OrrinViewer {

namespace {

/// Whether an installed driver draws in windows. Without one, asking for hardware would end in a message box.
bool HasDriver(HDC deviceContext) {
    PIXELFORMATDESCRIPTOR format = {};
    const int count = DescribePixelFormat(deviceContext, 1, sizeof(format), &format);
    for (int number = 1; number <= count; ++number) {
        DescribePixelFormat(deviceContext, number, sizeof(format), &format);
        constexpr DWORD wanted = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
        if ((format.dwFlags & (wanted | PFD_GENERIC_FORMAT)) == wanted) {
            return true;
        }
    }
    return false;
}

void TellOfSoftware() {
    static bool isTold = false;
    if (!isTold) {
        std::fprintf(stderr, "No graphics driver serves this desktop: the processor draws, with fixed functions.\n");
        isTold = true;
    }
}

} // namespace

bool CreateWindowContext(KTR::COpenGLView& view, HWND window, const wchar_t* name) {
    const HDC deviceContext = GetDC(window);
    const auto create = [&](KTR::OpenGLHardwareAcceleration acceleration) {
        return view.CreateContext(deviceContext, true, KTR::GLContextMain, name, 0, acceleration) == 1;
    };
    if (HasDriver(deviceContext) && create(KTR::AccelerationHardware)) {
        return true;
    }
    if (!create(KTR::AccelerationSoftware)) {
        return false;
    }
    TellOfSoftware();
    return true;
}

} // namespace OrrinViewer
