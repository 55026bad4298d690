#pragma once

#include "MapFurniture.h"
#include "data/ReadingProgress.h"

#include <cstddef>
#include <string>
#include <vector>

namespace OrrinViewer {

/// What is being read, in a line: "roads.geojson (2 of 5): reading, 45 %, 12,345 features". The number of a file that
/// is the only one is left out.
std::string DescribeReading(const std::string& name, std::size_t fileNumber, std::size_t fileCount,
                            const ReadingState& state);

/// What is wrong with a file, without the folders before its name: whoever looks at a window knows where the file is.
std::string WithoutFolders(const std::string& fault);

/// A text in lines of at most that width, broken between words; within one where it is wider than that.
std::vector<std::string> BreakLines(const std::string& text, double widthPixels, const TextSizes& sizes);

} // namespace OrrinViewer
