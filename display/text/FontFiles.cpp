#include "FontFiles.h"

#include "../platform/Border.h"
#include "../platform/Notice.h"
#include "FontParameters.h"

#include <knownfolders.h>
#include <objbase.h>
#include <shlobj.h>

#include <memory>
#include <new>

namespace KTR {

namespace {

constexpr wchar_t kInstalledFonts[] = L"SOFTWARE\\MICROSOFT\\WINDOWS NT\\CURRENTVERSION\\FONTS";
constexpr DWORD kValueNameCapacity = 16383; // the longest name that the registry allows
constexpr DWORD kValueBytes = 1040;

struct TaskMemory {
    void operator()(wchar_t* memory) const { CoTaskMemFree(memory); }
};

/// An open registry key.
class RegistryKey {
public:
    RegistryKey(HKEY root, const wchar_t* path) {
        if (RegOpenKeyExW(root, path, 0, KEY_READ, &m_key) != ERROR_SUCCESS) {
            m_key = nullptr;
        }
    }
    ~RegistryKey() {
        if (m_key) {
            RegCloseKey(m_key);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY Get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

/// A search for files by pattern, on its first match once it is found.
class FileSearch {
public:
    explicit FileSearch(const wchar_t* pattern) : m_search(FindFirstFileW(pattern, &m_match)) {}
    ~FileSearch() {
        if (Found()) {
            FindClose(m_search);
        }
    }
    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

    bool Found() const { return m_search != INVALID_HANDLE_VALUE; }
    bool Next() { return FindNextFileW(m_search, &m_match) != FALSE; }
    const wchar_t* FileName() const { return m_match.cFileName; }

private:
    WIN32_FIND_DATAW m_match = {};
    HANDLE m_search;
};

/// The system's fonts folder, ending with a backslash. Empty and false when the system does not tell.
bool FindFontsFolder(CString& folder) {
    wchar_t* answer = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_Fonts, 0, nullptr, &answer);
    const std::unique_ptr<wchar_t, TaskMemory> known(answer);
    folder.Empty();
    if (FAILED(result)) {
        return false;
    }
    folder = known.get();
    folder += L"\\";
    return true;
}

/// The face in a value's name: "Arial Bold (TrueType)" gives "Arial Bold".
CString FaceOfValueName(const wchar_t* valueName) {
    CString face = valueName;
    const int bracket = face.Find(L'(');
    if (bracket > 0) {
        face = face.Left(bracket);
    }
    face.Trim();
    return face;
}

} // namespace

CString FontLookUpName(const FontParameters& request) {
    return AtTheBorder(CString(), [&request] {
        CString name = request.faceName;
        if (name.Find(L'@') == 0) {
            name.Delete(0);
        }
        name.Trim();
        if (request.bold) {
            name += L" Bold";
        }
        if (request.italic) {
            name += L" Italic";
        }
        return name;
    });
}

namespace {

long FindInKey(HKEY key, const wchar_t* faceName, CString& fileName) {
    CString message;
    DWORD valueCount = 0;
    const LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &valueCount,
                                            nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) {
        message.Format(L"QueryFontKey: While searching for font: %s file, RegQueryInfoKey returned error code: %ld",
                       faceName, static_cast<long>(status));
        SendToDebugger(message.GetString());
        ShowFrameworkMessageBox(message.GetString());
        // Not a failure: the caller goes on with the fonts folder itself, which then does not open as a font.
        return S_OK;
    }

    const std::unique_ptr<wchar_t[]> name(new (std::nothrow) wchar_t[kValueNameCapacity]);
    const std::unique_ptr<wchar_t[]> value(new (std::nothrow) wchar_t[kValueBytes / sizeof(wchar_t) + 1]);
    if (!name || !value) {
        return E_OUTOFMEMORY;
    }
    for (DWORD index = 0; index < valueCount; ++index) {
        DWORD nameLength = kValueNameCapacity;
        DWORD valueBytes = kValueBytes;
        if (RegEnumValueW(key, index, name.get(), &nameLength, nullptr, nullptr, reinterpret_cast<BYTE*>(value.get()),
                          &valueBytes) != ERROR_SUCCESS) {
            continue;
        }
        // The registry keeps texts as they were written, with or without their end.
        value[valueBytes / sizeof(wchar_t)] = L'\0';
        if (FaceOfValueName(name.get()).CompareNoCase(faceName) == 0) {
            fileName = value.get();
            return S_OK;
        }
    }
    message.Format(L"QueryFontKey: Unable to locate font file in registry for font face: %s file", faceName);
    ShowFrameworkMessageBox(message.GetString());
    return E_FAIL;
}

long FindInFolder(const wchar_t* faceName, CString& path) {
    CString folder;
    if (!FindFontsFolder(folder)) {
        CString message;
        message.Format(L"GetFontSystemPath: Failed to find well known system font path.  Cannot load %s font.",
                       faceName);
        SendToDebugger(message.GetString());
        ShowFrameworkMessageBox(message.GetString());
    }

    const FileSearch exact(folder + L"\\" + faceName + L".*");
    if (exact.Found()) {
        path = folder + L"\\" + exact.FileName();
        return S_OK;
    }
    const CString pattern = folder + L"\\*" + faceName + L"*.*";
    FileSearch containing(pattern);
    if (containing.Found() && containing.Next()) {
        path = pattern + L"\\" + containing.FileName();
    }
    return S_OK;
}

} // namespace

long QueryFontKey(HKEY key, const wchar_t* faceName, CString& fileName) {
    return AtTheBorder(long{E_OUTOFMEMORY}, [&] { return FindInKey(key, faceName, fileName); });
}

long GetFontSystemPath(const wchar_t* faceName, CString& path) {
    return AtTheBorder(long{E_OUTOFMEMORY}, [&] { return FindInFolder(faceName, path); });
}

long FindFontFile(const wchar_t* lookUpName, CString& path) {
    CString folder;
    if (!FindFontsFolder(folder)) {
        return E_FAIL;
    }
    path = folder;
    const RegistryKey fonts(HKEY_LOCAL_MACHINE, kInstalledFonts);
    CString fileName;
    if (!fonts.Get() || QueryFontKey(fonts.Get(), lookUpName, fileName) != S_OK) {
        return GetFontSystemPath(lookUpName, path);
    }
    path = folder + L"\\" + fileName;
    return S_OK;
}

} // namespace KTR
