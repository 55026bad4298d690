#include "VersionPolicy.h"

#include "Notice.h"

#include <afx.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string_view>

namespace {

constexpr DWORD kEnvironmentCharacters = 128;

/// Reads a variable into `text`. One that is empty or longer than the buffer counts as not set.
bool ReadEnvironmentVariable(const wchar_t* name, wchar_t (&text)[kEnvironmentCharacters]) {
    const DWORD length = GetEnvironmentVariableW(name, text, kEnvironmentCharacters);
    return length >= 1 && length <= kEnvironmentCharacters && text[0] != L'\0';
}

/// Whether the text has a word, which is in upper case, in upper or lower case.
bool HasWord(std::string_view text, std::string_view word) {
    const auto isSame = [](char one, char wanted) {
        return (one >= 'a' && one <= 'z' ? static_cast<char>(one - 'a' + 'A') : one) == wanted;
    };
    return std::search(text.begin(), text.end(), word.begin(), word.end(), isSame) != text.end();
}

KTR::GLVideoCardVendor FindVendor(const char* versionText) {
    if (HasWord(versionText, "NVIDIA")) {
        return KTR::VendorNVIDIA;
    }
    if (HasWord(versionText, "INTEL")) {
        return KTR::VendorIntel;
    }
    // A plain search on purpose: any text with these letters counts, "Compatibility" among them.
    if (HasWord(versionText, "ATI")) {
        return KTR::VendorATI;
    }
    return KTR::VendorOther;
}

} // namespace

namespace KTR {

ParsedGLVersion ParseGLVersionText(const char* text) {
    while (*text != '\0' && (*text < '0' || *text > '9')) {
        ++text;
    }
    ParsedGLVersion parsed;
    // As sscanf's "%i.%i", which MinGW's runtime has memory for, unchecked.
    //
    // NOTE: a number too long for an int is clamped here; the policy then sees a very new driver.
    char* end = nullptr;
    parsed.major = static_cast<int>(std::strtol(text, &end, 0));
    if (end == text || *end != '.') {
        return parsed;
    }
    const char* const minor = end + 1;
    parsed.minor = static_cast<int>(std::strtol(minor, &end, 0));
    if (end == minor) {
        return parsed;
    }
    parsed.understood = true;
    parsed.combined = static_cast<int>(static_cast<unsigned>(parsed.minor) + 10U * static_cast<unsigned>(parsed.major));
    parsed.vendor = FindVendor(text);
    return parsed;
}

VersionChoice ChooseVersion(int combined, bool hasKeyEntryPoints) {
    // Compared unsigned: a version that overflowed to a negative number counts as the newest.
    const auto version = static_cast<unsigned>(combined);
    if (version <= 20) {
        return version < 20 ? VersionChoice{1, 1, false, 1, 1} : VersionChoice{1, 1, false, 2, 0};
    }
    if (!hasKeyEntryPoints) {
        return {2, 0, true, 2, 0};
    }
    // Drivers of 3.0 to 4.3 lack the persistent mapping that the 4.x pipeline stands on.
    return version >= 44 ? VersionChoice{2, 0, false, 4, 4} : VersionChoice{2, 0, false, 2, 0};
}

bool GetOpenGL11UserEnvironmentVariable() {
    wchar_t text[kEnvironmentCharacters] = {};
    if (!ReadEnvironmentVariable(L"ORRIN_OPENGL_VERSION", text)) {
        SendToDebugger(
            L"\n    Environment Variablee - ORRIN_OPENGL_VERSION: NOT SET - By default use best OpenGL version "
            L"available.\n");
        return false;
    }
    const int requested = _wtoi(text);
    wchar_t message[kEnvironmentCharacters] = {};
    _snwprintf(message, kEnvironmentCharacters - 1,
               L"\n     Environment Variable - ORRIN_OPENGL_VERSION: SET - Requested OpenGL version: %ld\n",
               static_cast<long>(requested));
    SendToDebugger(message);
    return requested == 1 || requested == 11;
}

bool GetOpenGLTextureCacheEnvironmentVariable() {
    wchar_t text[kEnvironmentCharacters] = {};
    if (!ReadEnvironmentVariable(L"ORRIN_TEXTURE_CACHE", text)) {
        SendToDebugger(
            L"     Environment Variable - ORRIN_TEXTURE_CACHE: NOT SET - By default Texture Cache is ON.\n\n");
        return true;
    }
    if (_wtoi(text) != 0) {
        SendToDebugger(L"     Environment Variable - ORRIN_TEXTURE_CACHE: SET - Texture Cache "
                       L"ON.\n------------------------\n\n");
        return true;
    }
    SendToDebugger(L"     Environment Variable - ORRIN_TEXTURE_CACHE: SET - Texture Cache OFF.\n\n");
    return false;
}

} // namespace KTR
