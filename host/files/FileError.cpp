#include "FileError.h"

#include <array>
#include <cstdio>

namespace OrrinViewer {

namespace {

std::string ComposeMessage(const std::filesystem::path& path, std::string_view problem) {
    // The wide name goes through UTF-8: path::string() throws for a name outside the Windows code page.
    const std::u8string name = path.u8string();
    std::string message(name.begin(), name.end());
    message += ": ";
    message += problem;
    return message;
}

} // namespace

FileError::FileError(const std::filesystem::path& path, std::string_view problem)
    : std::runtime_error(ComposeMessage(path, problem)) {}

std::string QuoteForMessage(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::string quoted = "'";
    for (const char character : text.substr(0, kLongest)) {
        const bool printable = character >= ' ' && character <= '~';
        quoted += printable ? character : '?';
    }
    quoted += text.size() > kLongest ? "...'" : "'";
    return quoted;
}

std::string SayFarAway(const Position& position) {
    for (const double value : {position.x, position.y, position.z}) {
        if (!IsCoordinate(value)) {
            std::array<char, 96> text{};
            std::snprintf(text.data(), text.size(), "has the coordinate %g, beyond %g", value, kFarthestCoordinate);
            return text.data();
        }
    }
    return "lies where places are";
}

} // namespace OrrinViewer
