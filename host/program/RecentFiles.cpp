#include "RecentFiles.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <system_error>

namespace OrrinViewer {

namespace {

constexpr wchar_t kKey[] = L"Software\\OrrinViewer";
constexpr wchar_t kValue[] = L"RecentFiles";
constexpr std::size_t kMostFiles = 10;

bool AreSame(const std::filesystem::path& one, const std::filesystem::path& other) {
    return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

} // namespace

std::vector<std::filesystem::path> ListRecentFiles() {
    DWORD bytes = 0;
    if (RegGetValueW(HKEY_CURRENT_USER, kKey, kValue, RRF_RT_REG_MULTI_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) {
        return {};
    }
    std::vector<wchar_t> names(bytes / sizeof(wchar_t) + 2, L'\0');
    bytes = static_cast<DWORD>(names.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_CURRENT_USER, kKey, kValue, RRF_RT_REG_MULTI_SZ, nullptr, names.data(), &bytes) !=
        ERROR_SUCCESS) {
        return {};
    }
    std::vector<std::filesystem::path> files;
    for (const wchar_t* name = names.data(); *name != L'\0' && files.size() < kMostFiles;
         name += std::wcslen(name) + 1) {
        files.emplace_back(name);
    }
    return files;
}

void NoteRecentFiles(const std::vector<std::filesystem::path>& files) {
    std::vector<std::filesystem::path> recent;
    const auto add = [&](const std::filesystem::path& file) {
        const bool isKnown =
            std::any_of(recent.begin(), recent.end(), [&](const auto& known) { return AreSame(known, file); });
        if (!isKnown && recent.size() < kMostFiles && !file.empty()) {
            recent.push_back(file);
        }
    };
    for (const std::filesystem::path& file : files) {
        std::error_code error;
        add(std::filesystem::absolute(file, error).lexically_normal());
    }
    for (const std::filesystem::path& file : ListRecentFiles()) {
        add(file);
    }
    std::wstring names;
    for (const std::filesystem::path& file : recent) {
        names += file.wstring();
        names += L'\0';
    }
    names += L'\0';
    RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_MULTI_SZ, names.data(),
                    static_cast<DWORD>(names.size() * sizeof(wchar_t)));
}

} // namespace OrrinViewer
