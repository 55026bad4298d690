#include "FileError.h"

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

} // namespace OrrinViewer
