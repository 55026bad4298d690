#include "ShaderFiles.h"

#include "../platform/Border.h"
#include "../platform/Notice.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ios>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace KTR {

namespace {

constexpr wchar_t kCaption[] = L"OpenGL Shader Error";
constexpr DWORD kFolderCapacity = 520;
/// Two hundred times the largest stock source. What is larger is no shader, and compilers take minutes over it.
constexpr unsigned long kLargestFile = 1024 * 1024;

/// Everything up to and including the last backslash.
template <typename Char> std::basic_string<Char> FolderOf(std::basic_string<Char> path) {
    const std::size_t end = path.rfind(Char('\\'));
    path.resize(end == std::basic_string<Char>::npos ? 0 : end + 1);
    return path;
}

/// What the host has named; empty for the machine's own place.
std::wstring g_shaderFolder;

bool IsFolder(const wchar_t* path) {
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

long ReadShaderSource(const wchar_t* folder, const wchar_t* file, char** source, unsigned long* length) {
    *source = nullptr;
    *length = 0;
    CString path;
    path.Format(L"%s%s", folder, file);
    CString message;
    std::ifstream stream{std::filesystem::path(path.GetString())};
    if (!stream) {
        message.Format(L"Unable to open OpenGL 4.x Shader File: %s", path.GetString());
        ShowMessageBox(nullptr, message, kCaption, MB_OK);
        return E_ACCESSDENIED;
    }
    const unsigned long fileLength = GetFileLength(stream);
    if (fileLength == 0) {
        message.Format(L"OpenGL 4.x Shader File: %s empty.", path.GetString());
        ShowMessageBox(nullptr, message, kCaption, MB_OK);
        return E_INVALIDARG;
    }
    if (fileLength > kLargestFile) {
        message.Format(L"OpenGL 4.x Shader File: %s is larger than %ld bytes.", path.GetString(), kLargestFile);
        ShowMessageBox(nullptr, message, kCaption, MB_OK);
        return E_INVALIDARG;
    }
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[std::size_t{fileLength} + 1]);
    if (!buffer) {
        message.Format(L"Unable to allocate %ld bytes of memory to read OpenGL 4.x Shader File: %s", fileLength + 1,
                       path.GetString());
        ShowMessageBox(nullptr, message, kCaption, MB_OK);
        return E_OUTOFMEMORY;
    }
    // Line ends become one character on reading, so there may be fewer characters than bytes.
    std::size_t count = 0;
    for (char character = 0; count < fileLength && stream.get(character);) {
        buffer[count++] = character;
    }
    buffer[count] = '\0';
    *source = buffer.release();
    *length = fileLength;
    return S_OK;
}

long LoadShader(const wchar_t* folder, const wchar_t* file, char** source, unsigned long* length) {
    *source = nullptr;
    *length = 0;
    return AtTheBorder(long{E_OUTOFMEMORY}, [&] { return ReadShaderSource(folder, file, source, length); });
}

void UnloadShader(unsigned char** source) {
    delete[] reinterpret_cast<char*>(*source);
    *source = nullptr;
}

void DeleteShaderSource(char** source) {
    delete[] * source;
    *source = nullptr;
}

unsigned long GetFileLength(std::ifstream& stream) {
    if (!stream) {
        return 0;
    }
    const std::ifstream::pos_type position = stream.tellg();
    stream.seekg(0, std::ios::end);
    const std::ifstream::pos_type end = stream.tellg();
    stream.seekg(position);
    constexpr std::streamoff most = std::numeric_limits<unsigned long>::max();
    return end > std::ifstream::pos_type(0) ? static_cast<unsigned long>(std::min(std::streamoff(end), most)) : 0;
}

void GetExecutablePath(CString& path) {
    const bool found = AtTheBorder([&path] {
        std::wstring name(MAX_PATH, L'\0');
        DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        while (length == name.size()) {
            name.resize(name.size() * 2);
            length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        }
        name.resize(length);
        path = FolderOf(std::move(name)).c_str();
    });
    if (!found) {
        path.Empty();
    }
}

void GetExecutablePathASCII(CStringA& path) {
    const bool found = AtTheBorder([&path] {
        std::string name(MAX_PATH, '\0');
        DWORD length = GetModuleFileNameA(nullptr, name.data(), static_cast<DWORD>(name.size()));
        while (length == name.size()) {
            name.resize(name.size() * 2);
            length = GetModuleFileNameA(nullptr, name.data(), static_cast<DWORD>(name.size()));
        }
        name.resize(length);
        path = FolderOf(std::move(name)).c_str();
    });
    if (!found) {
        path.Empty();
    }
}

void GetCommonFolder(CString& path) {
    static constexpr wchar_t variable[] = L"%CommonProgramFiles%";
    wchar_t folder[kFolderCapacity] = {};
    const DWORD length = ExpandEnvironmentStringsW(variable, folder, kFolderCapacity);
    // A variable that does not exist is left as it stands, and no error is reported.
    if (length == 0 || length > kFolderCapacity || std::wstring_view(folder) == variable) {
        GetExecutablePath(path);
        return;
    }
    if (!AtTheBorder([&] { path.Format(L"%s\\%s", folder, L"Orrin\\"); })) {
        path.Empty();
    }
}

long UseShaderFolder(const wchar_t* folder) {
    const bool named = AtTheBorder([folder] {
        std::wstring path = folder ? folder : L"";
        if (!path.empty() && path.back() != L'\\' && path.back() != L'/') {
            path += L'\\';
        }
        g_shaderFolder = std::move(path);
    });
    return named ? S_OK : E_OUTOFMEMORY;
}

void GetShaderFolder(CString& path) {
    const bool found = AtTheBorder([&path] {
        if (!g_shaderFolder.empty()) {
            path = g_shaderFolder.c_str();
            return;
        }
        GetCommonFolder(path);
        if (IsFolder(path)) {
            return;
        }
        CString beside;
        GetExecutablePath(beside);
        beside += L"common\\Orrin\\";
        if (IsFolder(beside)) {
            path = beside;
        }
    });
    if (!found) {
        path.Empty();
    }
}

} // namespace KTR
