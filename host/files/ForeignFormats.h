#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace OrrinViewer {

/// For a file of a kind that is known and not read: what it is and what converts it, as the end of a sentence that
/// begins with its name. Empty for all others. By how the file begins, and only then by the ending of its name.
std::string DescribeForeignFormat(std::string_view beginning, const std::filesystem::path& path);

} // namespace OrrinViewer
