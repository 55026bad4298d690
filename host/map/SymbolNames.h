#pragma once

namespace OrrinViewer {

/// What points may be shown as, in the order of the library's symbols.
inline constexpr const char* kSymbolNames[] = {"circle", "square", "triangle", "diamond",
                                               "cross",  "plus",   "star",     "arrow"};

} // namespace OrrinViewer
