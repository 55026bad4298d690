#pragma once

#include <string>
#include <string_view>

namespace OrrinViewer {

/// How a table stores its texts.
enum class TextEncoding {
    Unknown, ///< UTF-8 where it is that, else windows-1252
    Utf8,
    Windows1252,
    Latin1,
};

bool IsUtf8(std::string_view text);

void AppendUtf8(std::string& text, char32_t character);

/// The text in UTF-8. What no character of the encoding is becomes U+FFFD.
std::string ToUtf8(std::string_view text, TextEncoding encoding);

/// The encoding that a name says: "UTF-8", "65001", "ISO-8859-1", "88591", "ANSI 1252", "LDID/87". Unknown for others.
TextEncoding FindEncoding(std::string_view name);

} // namespace OrrinViewer
