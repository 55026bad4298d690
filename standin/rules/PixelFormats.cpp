#include "rules/PixelFormats.h"

#include "core/StateLock.h"
#include "core/SystemDriver.h"
#include "rules/Violations.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

namespace StandInDriver {

namespace {

constexpr DWORD kInvalidPixelFormat = 2000;
constexpr DWORD kSurfaceFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL | PFD_SUPPORT_GDI;

std::map<HWND, int> g_windowFormats;
bool g_onlyGenericFormats = false;
bool g_noPixelFormats = false;
std::vector<PIXELFORMATDESCRIPTOR> g_madeUpFormats;

bool Answer(Call& call, int result) {
    call.result = static_cast<std::uint64_t>(result);
    return false;
}

bool Refuse(Call& call) {
    SetLastError(kInvalidPixelFormat);
    return Answer(call, 0);
}

PIXELFORMATDESCRIPTOR Reported(PIXELFORMATDESCRIPTOR format) {
    if (g_onlyGenericFormats) {
        format.dwFlags |= PFD_GENERIC_FORMAT;
        format.dwFlags &= ~static_cast<DWORD>(PFD_GENERIC_ACCELERATED);
    }
    return format;
}

/// A window whose handle came back has no format yet, whatever an earlier one of that handle had.
void ForgetReusedWindow(HWND window, HDC deviceContext) {
    if (window && System::GetPixelFormat(deviceContext) == 0) {
        g_windowFormats.erase(window);
    }
}

/// The made-up format that serves a request, 1-based; 0 when none has the surface and the kind of pixel asked for.
int ChooseMadeUpFormat(const PIXELFORMATDESCRIPTOR& wanted) {
    int best = 0;
    int bestDistance = 0;
    for (std::size_t index = 0; index < g_madeUpFormats.size(); ++index) {
        const PIXELFORMATDESCRIPTOR& format = g_madeUpFormats[index];
        const DWORD required = wanted.dwFlags & kSurfaceFlags;
        if ((format.dwFlags & required) != required || format.iPixelType != wanted.iPixelType) {
            continue;
        }
        const bool sameBuffering = ((format.dwFlags ^ wanted.dwFlags) & PFD_DOUBLEBUFFER) == 0;
        const int distance = std::abs(format.cColorBits - wanted.cColorBits) +
                             std::abs(format.cDepthBits - wanted.cDepthBits) + (sameBuffering ? 0 : 1000);
        if (best == 0 || distance < bestDistance) {
            best = static_cast<int>(index) + 1;
            bestDistance = distance;
        }
    }
    return best;
}

/// Value of a WGL_ARB_pixel_format attribute in a format; `known` is false for one that a descriptor cannot tell.
int AttributeOf(const PIXELFORMATDESCRIPTOR& format, int attribute, bool& known) {
    constexpr int kNoAcceleration = 0x2025;
    constexpr int kFullAcceleration = 0x2027;
    constexpr int kRgbaPixels = 0x202B;
    constexpr int kIndexPixels = 0x202C;
    const auto has = [&format](DWORD flag) { return (format.dwFlags & flag) != 0 ? 1 : 0; };
    known = true;
    switch (attribute) {
    case 0x2001:
        return has(PFD_DRAW_TO_WINDOW);
    case 0x2002:
        return has(PFD_DRAW_TO_BITMAP);
    case 0x2003:
        return has(PFD_GENERIC_FORMAT) ? kNoAcceleration : kFullAcceleration;
    case 0x200F:
        return has(PFD_SUPPORT_GDI);
    case 0x2010:
        return has(PFD_SUPPORT_OPENGL);
    case 0x2011:
        return has(PFD_DOUBLEBUFFER);
    case 0x2012:
        return has(PFD_STEREO);
    case 0x2013:
        return format.iPixelType == PFD_TYPE_RGBA ? kRgbaPixels : kIndexPixels;
    case 0x2014:
        return format.cColorBits;
    case 0x2015:
        return format.cRedBits;
    case 0x2017:
        return format.cGreenBits;
    case 0x2019:
        return format.cBlueBits;
    case 0x201B:
        return format.cAlphaBits;
    case 0x2022:
        return format.cDepthBits;
    case 0x2023:
        return format.cStencilBits;
    default:
        known = false;
        return 0;
    }
}

/// Numbers of bits are least values, everything else is asked for exactly.
bool Matches(const PIXELFORMATDESCRIPTOR& format, const int* attributes) {
    for (; attributes && *attributes != 0; attributes += 2) {
        bool known = false;
        const int value = AttributeOf(format, attributes[0], known);
        const bool leastValue = attributes[0] >= 0x2014 && attributes[0] <= 0x2023;
        if (known && (leastValue ? value < attributes[1] : value != attributes[1])) {
            return false;
        }
    }
    return true;
}

bool AsksForFullAcceleration(const int* attributes) {
    for (; attributes && *attributes != 0; attributes += 2) {
        if (attributes[0] == 0x2003) {
            return attributes[1] == 0x2027;
        }
    }
    return false;
}

} // namespace

int PixelFormatOf(HDC deviceContext) {
    const StateLock lock;
    const int real = System::GetPixelFormat(deviceContext);
    const auto found = g_windowFormats.find(WindowFromDC(deviceContext));
    return real != 0 && found != g_windowFormats.end() ? found->second : real;
}

std::uint32_t LiveWindowCount() {
    const StateLock lock;
    std::erase_if(g_windowFormats, [](const auto& entry) { return !IsWindow(entry.first); });
    return static_cast<std::uint32_t>(g_windowFormats.size());
}

void SetOnlyGenericFormats(bool on) {
    const StateLock lock;
    g_onlyGenericFormats = on;
}

void SetNoPixelFormats(bool on) {
    const StateLock lock;
    g_noPixelFormats = on;
}

void SetFormatList(const PIXELFORMATDESCRIPTOR* formats, std::uint32_t count) {
    const StateLock lock;
    g_madeUpFormats.assign(formats, formats + count);
}

void ResetPixelFormats() {
    const StateLock lock;
    g_onlyGenericFormats = false;
    g_noPixelFormats = false;
    g_madeUpFormats.clear();
}

bool AnswerChoosePixelFormat(Call& call) {
    const StateLock lock;
    if (g_noPixelFormats) {
        return Refuse(call);
    }
    const auto wanted = PointerArgument<const PIXELFORMATDESCRIPTOR*>(call, 1);
    if (g_madeUpFormats.empty() || !wanted) {
        return true;
    }
    const int chosen = ChooseMadeUpFormat(*wanted);
    return chosen == 0 ? Refuse(call) : Answer(call, chosen);
}

bool AnswerDescribePixelFormat(Call& call) {
    const StateLock lock;
    if (g_noPixelFormats) {
        return Refuse(call);
    }
    if (g_madeUpFormats.empty()) {
        return true;
    }
    const auto number = static_cast<std::int64_t>(call.arguments[1]);
    const auto descriptor = PointerArgument<PIXELFORMATDESCRIPTOR*>(call, 3);
    if (descriptor) {
        if (number < 1 || number > static_cast<std::int64_t>(g_madeUpFormats.size())) {
            return Refuse(call);
        }
        const PIXELFORMATDESCRIPTOR reported = Reported(g_madeUpFormats[static_cast<std::size_t>(number - 1)]);
        std::memcpy(descriptor, &reported, std::min<std::size_t>(call.arguments[2], sizeof(reported)));
    }
    return Answer(call, static_cast<int>(g_madeUpFormats.size()));
}

bool AnswerGetPixelFormat(Call& call) {
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    const int format = PixelFormatOf(deviceContext);
    // Where there is none, the system says so itself, with its own error.
    return format == 0 ? true : Answer(call, format);
}

bool AnswerSetPixelFormat(Call& call) {
    const StateLock lock;
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    const auto format = static_cast<int>(static_cast<std::int64_t>(call.arguments[1]));
    const HWND window = WindowFromDC(deviceContext);
    ForgetReusedWindow(window, deviceContext);
    const int present = window ? PixelFormatOf(deviceContext) : 0;
    if (present != 0) {
        if (present != format) {
            AddViolation("wglSetPixelFormat changes a window's pixel format from %d to %d", present, format);
            return Refuse(call);
        }
        return Answer(call, TRUE);
    }
    const PIXELFORMATDESCRIPTOR* descriptor = PointerArgument<const PIXELFORMATDESCRIPTOR*>(call, 2);
    int real = format;
    if (!g_madeUpFormats.empty()) {
        if (format < 1 || format > static_cast<int>(g_madeUpFormats.size())) {
            return Refuse(call);
        }
        descriptor = &g_madeUpFormats[static_cast<std::size_t>(format - 1)];
        real = System::ChoosePixelFormat(deviceContext, descriptor);
    }
    if (!System::SetPixelFormat(deviceContext, real, descriptor)) {
        return Answer(call, FALSE);
    }
    if (window) {
        g_windowFormats[window] = format;
    }
    return Answer(call, TRUE);
}

bool AnswerChoosePixelFormatARB(Call& call) {
    const StateLock lock;
    const auto attributes = PointerArgument<const int*>(call, 1);
    const auto room = static_cast<UINT>(call.arguments[3]);
    const auto formats = PointerArgument<int*>(call, 4);
    const auto found = PointerArgument<UINT*>(call, 5);
    const bool nothingToFind = g_noPixelFormats || (g_onlyGenericFormats && AsksForFullAcceleration(attributes));
    if (!nothingToFind && g_madeUpFormats.empty()) {
        return true;
    }
    UINT count = 0;
    for (std::size_t index = 0; !nothingToFind && index < g_madeUpFormats.size(); ++index) {
        if (!Matches(g_madeUpFormats[index], attributes)) {
            continue;
        }
        if (formats && count < room) {
            formats[count] = static_cast<int>(index) + 1;
        }
        ++count;
    }
    if (found) {
        *found = std::min(count, room);
    }
    return Answer(call, TRUE);
}

void ChangeDescribedFormat(Call& call) {
    const StateLock lock;
    const auto descriptor = PointerArgument<PIXELFORMATDESCRIPTOR*>(call, 3);
    if (call.result == 0 || !descriptor || call.arguments[2] < sizeof(PIXELFORMATDESCRIPTOR)) {
        return;
    }
    *descriptor = Reported(*descriptor);
}

} // namespace StandInDriver
