#include "TextParsing.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace OrrinViewer {

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& character : lower) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return lower;
}

std::string_view TakeWord(std::string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
    rest.remove_prefix(word.size());
    return word;
}

std::optional<double> ParseNumber(std::string_view word) {
    // from_chars knows no plus sign.
    const std::string_view digits = word.substr(word.starts_with('+') ? 1 : 0);
    double value = 0.0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace OrrinViewer
