#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace OrrinViewer {

/// What separates the words of a line.
constexpr std::string_view kBlanks = " \t\r\v\f";

/// The text with its ASCII letters in lower case.
std::string LowerCase(std::string_view text);

/// Takes the next word, and the blanks before it, off the front of `rest`. Empty when none is left.
std::string_view TakeWord(std::string_view& rest);

/// The number that the whole word is, be it infinite or not a number. The decimal point is one whatever the user's
/// locale is.
std::optional<double> ParseNumber(std::string_view word);

} // namespace OrrinViewer
