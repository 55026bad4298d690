#pragma once

#include <string>
#include <string_view>

namespace OrrinViewer {

/// Windows' UTF-16 and the UTF-8 that files and this program's own texts are in. What is no valid text comes out with
/// replacement characters.
std::wstring WideText(std::string_view utf8);
std::string Utf8Text(std::wstring_view wide);

} // namespace OrrinViewer
