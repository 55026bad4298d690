#pragma once

// Font requests, and font files for tests: read, cut to a few characters, damaged, and put into the system's fonts
// folder.

#include <OrrinDisplay.h>
#include <text/FontAtlas.h>

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using FontBytes = std::vector<unsigned char>;

/// A request as a host makes it from a GDI font.
inline KTR::FontParameters FontRequest(const wchar_t* face, int points, bool bold = false, bool italic = false) {
    KTR::FontParameters request;
    request.faceName = face;
    request.pointSize = points;
    request.bold = bold;
    request.italic = italic;
    request.weight = bold ? FW_BOLD : FW_NORMAL;
    std::wcsncpy(request.logicalFont.lfFaceName, face, LF_FACESIZE - 1);
    request.logicalFont.lfHeight = points;
    request.logicalFont.lfWeight = request.weight;
    request.logicalFont.lfItalic = italic;
    return request;
}

inline std::filesystem::path FontsFolder() {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    return std::filesystem::path(windows) / L"Fonts";
}

inline FontBytes ReadFontFile(const wchar_t* name) {
    std::ifstream stream(FontsFolder() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A file in the fonts folder while it lives. No other process uses its name.
class InstalledFontFile {
public:
    explicit InstalledFontFile(const FontBytes& bytes) { Write(bytes); }
    ~InstalledFontFile() {
        std::error_code stillOpen;
        std::filesystem::remove(m_path, stillOpen);
    }
    InstalledFontFile(const InstalledFontFile&) = delete;
    InstalledFontFile& operator=(const InstalledFontFile&) = delete;

    void Write(const FontBytes& bytes) const {
        std::ofstream stream(m_path, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!stream) {
            throw std::runtime_error("a face of the file is still open");
        }
    }
    /// The face that asks for this file.
    CString Face() const { return m_face.c_str(); }

private:
    std::wstring m_face = L"orrin" + std::to_wstring(GetCurrentProcessId());
    std::filesystem::path m_path = FontsFolder() / (m_face + L".ttf");
};

/// The tables of a TrueType file, to be changed and written again.
class TrueTypeTables {
public:
    explicit TrueTypeTables(const FontBytes& file) {
        const unsigned count = Number(file, 4, 2);
        for (unsigned index = 0; index < count; ++index) {
            const std::size_t entry = 12 + 16 * std::size_t{index};
            const auto begin = file.begin() + Number(file, entry + 8, 4);
            tables[std::string(file.begin() + static_cast<std::ptrdiff_t>(entry),
                               file.begin() + static_cast<std::ptrdiff_t>(entry) + 4)] =
                FontBytes(begin, begin + Number(file, entry + 12, 4));
        }
    }
    FontBytes File() const {
        FontBytes file;
        Append(file, 0x00010000, 4);
        Append(file, static_cast<unsigned>(tables.size()), 2);
        Append(file, 0, 6);
        std::size_t position = 12 + 16 * tables.size();
        for (const auto& [tag, table] : tables) {
            file.insert(file.end(), tag.begin(), tag.end());
            Append(file, 0, 4);
            Append(file, static_cast<unsigned>(position), 4);
            Append(file, static_cast<unsigned>(table.size()), 4);
            position += (table.size() + 3) / 4 * 4;
        }
        for (const auto& [tag, table] : tables) {
            file.insert(file.end(), table.begin(), table.end());
            file.resize((file.size() + 3) / 4 * 4);
        }
        return file;
    }

    static unsigned Number(const FontBytes& bytes, std::size_t position, int size) {
        unsigned number = 0;
        for (int index = 0; index < size; ++index) {
            number = number << 8 | bytes.at(position + static_cast<std::size_t>(index));
        }
        return number;
    }
    static void Append(FontBytes& bytes, unsigned number, int size) {
        for (int index = size - 1; index >= 0; --index) {
            bytes.push_back(static_cast<unsigned char>(index < 4 ? number >> (8 * index) : 0));
        }
    }

    std::map<std::string, FontBytes> tables;
};

/// Arial with its characters from the blank to `last` only, the glyphs 3 and up. A small file, quickly drawn.
inline TrueTypeTables SmallFont(wchar_t last) {
    constexpr unsigned firstGlyph = 3;
    TrueTypeTables font(ReadFontFile(L"arial.ttf"));
    auto& tables = font.tables;
    for (const char* unused : {"FFTM", "GDEF", "GPOS", "GSUB", "OS/2", "gasp", "name", "post"}) {
        tables.erase(unused);
    }
    const unsigned glyphs = firstGlyph + static_cast<unsigned>(last - L' ') + 1;
    const auto set = [](FontBytes& table, std::size_t position, unsigned number) {
        table.at(position) = static_cast<unsigned char>(number >> 8);
        table.at(position + 1) = static_cast<unsigned char>(number);
    };
    set(tables["maxp"], 4, glyphs);
    set(tables["hhea"], 34, glyphs);
    tables["hmtx"].resize(4 * std::size_t{glyphs});
    tables["loca"].resize(4 * (std::size_t{glyphs} + 1));
    tables["glyf"].resize(TrueTypeTables::Number(tables["loca"], 4 * std::size_t{glyphs}, 4));

    FontBytes map;
    for (const unsigned number : {0U, 1U, 3U, 1U, 0U, 12U, 4U, 32U, 0U, 4U, 0U, 0U, 0U}) { // one table, format 4
        TrueTypeTables::Append(map, number, 2);
    }
    const unsigned end = last;
    const unsigned delta = (firstGlyph - L' ') & 0xFFFF;
    for (const unsigned number : {end, 0xFFFFU, 0U, unsigned{L' '}, 0xFFFFU, delta, 1U, 0U, 0U}) {
        TrueTypeTables::Append(map, number, 2);
    }
    tables["cmap"] = map;
    return font;
}
