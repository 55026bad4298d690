#pragma once

#include <cstdint>
#include <filesystem>

namespace OrrinViewer {

/// The path by which the system opens a file: the same, but where it is longer than programs of old could hold, in the
/// form that says that this one can.
///
/// NOTE: Windows takes long paths as they are only where its administrator has allowed that (LongPathsEnabled).
std::filesystem::path DiskPath(const std::filesystem::path& path);

/// What there is at a path.
struct DiskEntry {
    enum class Kind { Nothing, File, Folder };

    Kind kind = Kind::Nothing;
    std::uint64_t size = 0; ///< bytes of a file
};

/// NOTE: Asked of the system itself: the C runtime of MinGW-w64 takes the question mark in the form for long paths for
/// a wildcard, and finds nothing.
DiskEntry FindOnDisk(const std::filesystem::path& path);

} // namespace OrrinViewer
