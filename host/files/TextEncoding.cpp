#include "TextEncoding.h"

#include "TextParsing.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace OrrinViewer {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// What windows-1252 has where Latin-1 has control characters, 0x80 to 0x9F.
constexpr std::array<char16_t, 32> kWindows1252 = {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                   0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
                                                   0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                   0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

/// The bytes of the well-formed character that the text begins with; 0 where it begins with none.
std::size_t LengthOfCharacter(std::string_view text) {
    const auto byte = [&text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const std::uint8_t first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Longer than need be, a half of a pair of UTF-16, or beyond the last character.
    const bool isWrong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return isWrong ? 0 : length;
}

std::string MendUtf8(std::string_view text) {
    std::string mended;
    while (!text.empty()) {
        const std::size_t length = LengthOfCharacter(text);
        if (length == 0) {
            AppendUtf8(mended, kReplacement);
        }
        mended += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return mended;
}

} // namespace

void AppendUtf8(std::string& text, char32_t character) {
    const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | (character >> 6));
        append(0x80 | (character & 0x3F));
    } else {
        if (character < 0x10000) {
            append(0xE0 | (character >> 12));
        } else {
            append(0xF0 | (character >> 18));
            append(0x80 | ((character >> 12) & 0x3F));
        }
        append(0x80 | ((character >> 6) & 0x3F));
        append(0x80 | (character & 0x3F));
    }
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = LengthOfCharacter(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string ToUtf8(std::string_view text, TextEncoding encoding) {
    if (encoding == TextEncoding::Utf8 || (encoding == TextEncoding::Unknown && IsUtf8(text))) {
        return MendUtf8(text);
    }
    std::string converted;
    for (const char character : text) {
        const auto byte = static_cast<std::uint8_t>(character);
        const bool isMapped = encoding != TextEncoding::Latin1 && byte >= 0x80 && byte < 0xA0;
        AppendUtf8(converted, isMapped ? char32_t{kWindows1252[byte - 0x80U]} : char32_t{byte});
    }
    return converted;
}

TextEncoding FindEncoding(std::string_view name) {
    std::string plain;
    for (const char character : LowerCase(name)) {
        if ((character >= 'a' && character <= 'z') || (character >= '0' && character <= '9')) {
            plain += character;
        }
    }
    if (plain == "utf8" || plain == "65001" || plain == "cp65001") {
        return TextEncoding::Utf8;
    }
    if (plain == "88591" || plain == "iso88591" || plain == "latin1" || plain == "28591") {
        return TextEncoding::Latin1;
    }
    for (const char* windows : {"1252", "cp1252", "ansi1252", "windows1252", "ldid87", "ldid3"}) {
        if (plain == windows) {
            return TextEncoding::Windows1252;
        }
    }
    return TextEncoding::Unknown;
}

} // namespace OrrinViewer
