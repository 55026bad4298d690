#pragma once

// Text for display lists, which have one list for each character of the ANSI code page, and back.

#include "../Framework.h"

#include <array>
#include <memory>

namespace KTR {

/// Bytes of a string for display lists, the terminating zero included. Longer text is cut.
inline constexpr std::size_t kListTextBytes = 255;

/// Lists for one font.
inline constexpr int kListCharacters = 256;

/// Characters that the code page lacks become its question mark. `text` must not be null.
std::array<char, kListTextBytes> NarrowText(const wchar_t* text);
/// Null when there is no memory for it.
std::unique_ptr<wchar_t[]> WideText(const char* text);

} // namespace KTR
