#include "DbfFile.h"

#include "ByteOrder.h"
#include "TextParsing.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace OrrinViewer {

namespace {

constexpr std::size_t kHeaderBytes = 32;
constexpr std::size_t kDescriptorBytes = 32;

/// What the header's byte 29 says about texts; the numbers of code pages in general use.
TextEncoding EncodingOfLanguage(std::uint8_t language) {
    return language == 0x03 || language == 0x57 ? TextEncoding::Windows1252 : TextEncoding::Unknown;
}

std::string_view TextOf(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    return text.substr(0, std::min(text.find('\0'), text.size()));
}

std::string_view WithoutBlanks(std::string_view text, bool isNumber) {
    const std::size_t last = text.find_last_not_of(' ');
    text = text.substr(0, last == std::string_view::npos ? 0 : last + 1);
    if (isNumber) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    return text;
}

} // namespace

DbfFile::DbfFile(const std::filesystem::path& path, TextEncoding encoding) : m_file(path), m_encoding(encoding) {
    std::array<std::uint8_t, kHeaderBytes> header{};
    if (m_file.Size() < header.size()) {
        m_file.Fail("ends at byte " + std::to_string(m_file.Size()) + ", within its header");
    }
    m_file.Read(header);
    m_rowsLeft = LoadLittleEndian<std::uint32_t>(&header[4]);
    const std::size_t headerBytes = LoadLittleEndian<std::uint16_t>(&header[8]);
    const std::size_t rowBytes = LoadLittleEndian<std::uint16_t>(&header[10]);
    if (m_encoding == TextEncoding::Unknown) {
        m_encoding = EncodingOfLanguage(header[29]);
    }
    if (headerBytes <= kHeaderBytes || headerBytes > m_file.Size() || rowBytes == 0) {
        m_file.Fail("is no table of a shapefile: its header and rows have " + std::to_string(headerBytes) + " and " +
                    std::to_string(rowBytes) + " bytes");
    }
    m_row.resize(rowBytes);
    ReadFields(headerBytes);
    m_file.Skip(headerBytes - m_file.Offset());
}

void DbfFile::ReadFields(std::size_t headerBytes) {
    std::array<std::uint8_t, kDescriptorBytes> descriptor{};
    std::size_t at = 1; // behind the mark of deleted rows
    while (m_file.Offset() + descriptor.size() <= headerBytes) {
        m_file.Read(descriptor);
        if (descriptor[0] == 0x0D) {
            return;
        }
        Field field;
        field.name = ToUtf8(TextOf(descriptor.data(), 11), m_encoding);
        field.type = static_cast<char>(descriptor[11]);
        field.size = descriptor[16];
        if (field.type == 'C') {
            field.size += static_cast<std::size_t>(descriptor[17]) << 8; // texts may be longer
        }
        field.at = at;
        if (field.size > m_row.size() - at) {
            m_file.Fail("its column " + std::to_string(m_fields.size() + 1) + " reaches beyond the rows of " +
                        std::to_string(m_row.size()) + " bytes");
        }
        at += field.size;
        m_fields.push_back(std::move(field));
    }
}

void DbfFile::ReadRow(std::vector<std::pair<std::string, std::string>>& properties) {
    if (m_rowsLeft == 0 || m_file.Remaining() < m_row.size()) {
        return;
    }
    --m_rowsLeft;
    m_file.Read(m_row);
    properties.reserve(m_fields.size());
    for (const Field& field : m_fields) {
        properties.emplace_back(field.name, ValueOf(field));
    }
}

/// As text; empty where the row has none.
std::string DbfFile::ValueOf(const Field& field) const {
    const std::string_view raw = TextOf(&m_row[field.at], field.size);
    if (field.type == 'C') {
        return ToUtf8(WithoutBlanks(raw, false), m_encoding);
    }
    const std::string_view value = WithoutBlanks(raw, true);
    if (value.find_first_not_of('*') == std::string_view::npos || value == "?") {
        return {};
    }
    if (field.type == 'D' && value.size() == 8) {
        std::string date(value);
        return ToUtf8(date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6), m_encoding);
    }
    if (field.type == 'L') {
        const bool isTrue = std::string_view("TtYy").find(value.front()) != std::string_view::npos;
        return isTrue ? "true" : "false";
    }
    return ToUtf8(value, m_encoding);
}

} // namespace OrrinViewer
