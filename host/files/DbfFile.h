#pragma once

#include "InputFile.h"
#include "TextEncoding.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// Reads the table of a shapefile (dBASE III and its successors), row by row.
class DbfFile {
public:
    /// Reads the header. `encoding` is what a code page file beside it says; where that says nothing the header may.
    DbfFile(const std::filesystem::path& path, TextEncoding encoding);

    /// Appends the next row's fields, names and values, to `properties`; nothing after the last row.
    void ReadRow(std::vector<std::pair<std::string, std::string>>& properties);

private:
    struct Field {
        std::string name;
        char type = 'C';
        std::size_t at = 0; ///< in bytes from the start of a row
        std::size_t size = 0;
    };

    void ReadFields(std::size_t headerBytes);
    std::string ValueOf(const Field& field) const;

    InputFile m_file;
    TextEncoding m_encoding;
    std::vector<Field> m_fields;
    std::uint64_t m_rowsLeft = 0;
    std::vector<std::uint8_t> m_row;
};

} // namespace OrrinViewer
