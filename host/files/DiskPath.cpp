#include "DiskPath.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <system_error>
#endif

#include <string>

namespace OrrinViewer {

#ifdef _WIN32

std::filesystem::path DiskPath(const std::filesystem::path& path) {
    std::wstring full(MAX_PATH, L'\0');
    DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length < MAX_PATH) {
        return path;
    }
    full.resize(length);
    length = GetFullPathNameW(path.c_str(), length, full.data(), nullptr);
    full.resize(length);
    if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) {
        return full;
    }
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

DiskEntry FindOnDisk(const std::filesystem::path& path) {
    WIN32_FILE_ATTRIBUTE_DATA found = {};
    if (!GetFileAttributesExW(DiskPath(path).c_str(), GetFileExInfoStandard, &found)) {
        return {};
    }
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return {DiskEntry::Kind::Folder, 0};
    }
    return {DiskEntry::Kind::File, (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow};
}

#else

std::filesystem::path DiskPath(const std::filesystem::path& path) {
    return path;
}

DiskEntry FindOnDisk(const std::filesystem::path& path) {
    std::error_code unreadable;
    if (std::filesystem::is_directory(path, unreadable)) {
        return {DiskEntry::Kind::Folder, 0};
    }
    const std::uintmax_t size = std::filesystem::file_size(path, unreadable);
    return unreadable ? DiskEntry() : DiskEntry{DiskEntry::Kind::File, size};
}

#endif

} // namespace OrrinViewer
