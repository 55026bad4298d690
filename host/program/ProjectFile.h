#pragma once

#include "Project.h"

#include <filesystem>

namespace OrrinViewer {

/// The ending of a project's name.
inline constexpr char kProjectEnding[] = ".orrin";

/// Reads a project, a JSON document whose "format" says that it is one. What it does not know is passed over: a later
/// version may have more. Whether the layers' files are there is for their readers to say. Throws FileError.
Project ReadProjectFile(const std::filesystem::path& path);

/// Writes a project. Files are named relative to it, so that both can be moved together; those on another drive by
/// their whole paths. What was there before stays where writing fails. Throws FileError.
void WriteProjectFile(const Project& project, const std::filesystem::path& path);

} // namespace OrrinViewer
