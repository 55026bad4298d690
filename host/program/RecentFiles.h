#pragma once

#include <filesystem>
#include <vector>

namespace OrrinViewer {

// What the user has opened, kept in the registry. Where that cannot be written there are none, and nothing else is
// wrong.

/// At most ten, the last one first.
std::vector<std::filesystem::path> ListRecentFiles();
/// Puts these in front of those of before.
void NoteRecentFiles(const std::vector<std::filesystem::path>& files);

} // namespace OrrinViewer
