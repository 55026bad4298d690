#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace OrrinViewer {

inline std::filesystem::path PathFromUtf8(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

/// With slashes, whatever the system has.
inline std::string Utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

} // namespace OrrinViewer
