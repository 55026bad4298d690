#include "../view/OpenGLView.h"

#include "Notice.h"

#include <cwchar>
#include <iterator>

namespace KTR {

namespace {

constexpr UINT kMaximumFormats = 512;
constexpr std::size_t kTextCapacity = 256; ///< of the beginning of a message, and of what follows it

bool HasFlag(const PIXELFORMATDESCRIPTOR& format, DWORD flag) {
    return (format.dwFlags & flag) != 0;
}

bool IsFirstFit(const PIXELFORMATDESCRIPTOR& format, int colorBits, bool drawToWindow, bool hardware) {
    if (format.cColorBits != colorBits || !HasFlag(format, PFD_SUPPORT_OPENGL) || format.cDepthBits <= 8 ||
        format.iPixelType != PFD_TYPE_RGBA) {
        return false;
    }
    const bool suitsDriver = hardware
                                 ? !HasFlag(format, PFD_GENERIC_FORMAT) && !HasFlag(format, PFD_GENERIC_ACCELERATED)
                                 : HasFlag(format, PFD_GENERIC_FORMAT);
    const bool suitsSurface = drawToWindow ? HasFlag(format, PFD_DRAW_TO_WINDOW) && HasFlag(format, PFD_DOUBLEBUFFER)
                                           : HasFlag(format, PFD_DRAW_TO_BITMAP) && HasFlag(format, PFD_SUPPORT_GDI);
    return suitsDriver && suitsSurface;
}

/// A window's format is set once for its life; a record that is asked for the same window again takes what is there.
void AdoptWindowPixelFormat(HDC deviceContext, GLRenderingContextRecord& record, int format) {
    if (record.pixelFormatNumber != format) {
        record.pixelFormatNumber = format;
        DescribePixelFormat(deviceContext, format, sizeof(record.pixelFormat), &record.pixelFormat);
    }
}

void ShowPixelFormatFailure(const COpenGLView& view, const wchar_t* beginning, const GLRenderingContextRecord& record,
                            unsigned int available) {
    const DWORD lastError = GetLastError();
    const unsigned int glError = view.GetError();
    const unsigned int glErrorAgain = view.GetError();
    wchar_t message[2 * kTextCapacity] = {};
    _snwprintf(message, std::size(message) - 1,
               L"%ls : %ld of %ld available\n\nglGetError: %8lx or  %ld  GetError: %ld", beginning,
               static_cast<long>(record.pixelFormatNumber), static_cast<long>(available),
               static_cast<unsigned long>(glError), static_cast<long>(glErrorAgain), static_cast<long>(lastError));
    SendToDebugger(message);
    ShowFrameworkMessageBox(message);
}

} // namespace

int COpenGLView::SearchAllPixelFormats(HDC deviceContext, bool drawToWindow, bool hardware,
                                       PIXELFORMATDESCRIPTOR& descriptor, int& format, int colorBits) {
    if (colorBits < 1) {
        colorBits = GetDeviceCaps(deviceContext, BITSPIXEL);
    }
    descriptor = EmptyPixelFormat();
    const int formatCount = DescribePixelFormat(deviceContext, 1, sizeof(descriptor), &descriptor);
    format = 1;
    for (; format <= formatCount; ++format) {
        DescribePixelFormat(deviceContext, format, sizeof(descriptor), &descriptor);
        if (IsFirstFit(descriptor, colorBits, drawToWindow, hardware) &&
            SetPixelFormat(deviceContext, format, &descriptor)) {
            return 1;
        }
    }
    return 0;
}

int COpenGLView::SetupAdvancedPixelFormatForOpenGL(HDC deviceContext, GLRenderingContextTypes type, bool drawToWindow,
                                                   int colorBits, bool hardware, bool doubleBuffer, bool stereo) {
    const PixelFormatAttributes attributes =
        drawToWindow ? WindowPixelFormatAttributes(colorBits, hardware, doubleBuffer, stereo)
                     : BitmapPixelFormatAttributes(colorBits);
    GLRenderingContextRecord& record = m_contexts[type];
    const HWND window = WindowFromDC(deviceContext);
    const int current = GetPixelFormat(deviceContext);
    if (window && record.window == window && record.pixelFormatSet && current != 0) {
        AdoptWindowPixelFormat(deviceContext, record, current);
        return 1;
    }

    const HWND windowBefore = record.window;
    const bool setBefore = record.pixelFormatSet;
    const int numberBefore = record.pixelFormatNumber;
    const PIXELFORMATDESCRIPTOR formatBefore = record.pixelFormat;
    record.window = reinterpret_cast<HWND>(INVALID_HANDLE_VALUE);
    record.pixelFormatSet = false;
    record.pixelFormat.nSize = sizeof(record.pixelFormat);
    record.pixelFormat.nVersion = 1;

    int formats[kMaximumFormats] = {};
    UINT available = 0;
    m_gfn_wglChoosePixelFormatARB(deviceContext, attributes.data(), nullptr, kMaximumFormats, formats, &available);
    UINT chosen = 0;
    int result = 0;
    if (m_gfn_wglChoosePixelFormatARB(deviceContext, attributes.data(), nullptr, 1, &record.pixelFormatNumber,
                                      &chosen) &&
        chosen > 0) {
        DescribePixelFormat(deviceContext, record.pixelFormatNumber, sizeof(record.pixelFormat), &record.pixelFormat);
        result = SetPixelFormat(deviceContext, record.pixelFormatNumber, &record.pixelFormat);
        if (!result) {
            result = SearchAllPixelFormats(deviceContext, drawToWindow, hardware, record.pixelFormat,
                                           record.pixelFormatNumber, colorBits);
        }
        if (!result) {
            ShowPixelFormatFailure(*this, L"SetPixelFormat Search Failed:  Format", record, available);
        }
    } else {
        result = SearchAllPixelFormats(deviceContext, drawToWindow, hardware, record.pixelFormat,
                                       record.pixelFormatNumber, colorBits);
        if (!result) {
            wchar_t beginning[kTextCapacity] = {};
            _snwprintf(beginning, kTextCapacity - 1,
                       L"wglChoosePixelFormatARB Search Failed:  Draw To Window: %d  hdc: %p \nFormat",
                       drawToWindow ? 1 : 0, static_cast<void*>(deviceContext));
            ShowPixelFormatFailure(*this, beginning, record, available);
        }
    }
    if (!result) {
        // No format is no format: a later try must not take the last one looked at for the window's own.
        record.pixelFormatNumber = 0;
        if (record.renderingContext) {
            // The context that the record has already still draws in its own window.
            record.window = windowBefore;
            record.pixelFormatSet = setBefore;
            record.pixelFormatNumber = numberBefore;
            record.pixelFormat = formatBefore;
        }
        return 0;
    }
    record.drawToWindow = drawToWindow;
    record.hardwareAccelerated = hardware;
    record.doubleBuffered = doubleBuffer;
    record.stereo = stereo;
    record.window = window;
    record.pixelFormatSet = true;
    return result;
}

int COpenGLView::CheckDCPixelFormat(HDC deviceContext, GLRenderingContextTypes type) {
    const GLRenderingContextRecord& record = m_contexts[type];
    const int current = GetPixelFormat(deviceContext);
    if (record.pixelFormatNumber == 0 || (current != 0 && current == record.pixelFormatNumber)) {
        return 1;
    }
    return SetPixelFormat(deviceContext, record.pixelFormatNumber, &record.pixelFormat);
}

} // namespace KTR
