#include "PlyFile.h"

#include "ByteOrder.h"
#include "FileError.h"
#include "InputFile.h"
#include "PlyHeader.h"
#include "TextParsing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr std::size_t kLongestRowLine = 1u << 20;

/// Which of the vertex's properties, counted from 0, serves for what.
struct VertexRoles {
    std::array<std::size_t, 3> position{};
    std::optional<std::array<std::size_t, 3>> color;
    std::optional<std::size_t> intensity;
    std::optional<std::size_t> classNumber;
    ClassMeaning classMeaning = ClassMeaning::Labels;
};

/// The name in lower case and without the "scalar_" that some programs put before their own attributes.
std::string PlainName(std::string_view name) {
    constexpr std::string_view kPrefix = "scalar_";
    const std::string lower = LowerCase(name);
    return lower.starts_with(kPrefix) ? lower.substr(kPrefix.size()) : lower;
}

/// The first scalar property that has one of the names.
std::optional<std::size_t> FindProperty(const PlyElement& vertex, std::initializer_list<std::string_view> names) {
    for (std::size_t index = 0; index < vertex.properties.size(); ++index) {
        const PlyProperty& property = vertex.properties[index];
        const std::string name = PlainName(property.name);
        if (!property.listCountType && std::find(names.begin(), names.end(), name) != names.end()) {
            return index;
        }
    }
    return std::nullopt;
}

VertexRoles AssignRoles(const InputFile& file, const PlyElement& vertex) {
    const auto x = FindProperty(vertex, {"x"});
    const auto y = FindProperty(vertex, {"y"});
    const auto z = FindProperty(vertex, {"z"});
    if (!x || !y || !z) {
        file.Fail("its vertices lack x, y or z");
    }
    VertexRoles roles;
    roles.position = {*x, *y, *z};

    const auto red = FindProperty(vertex, {"red", "r"});
    const auto green = FindProperty(vertex, {"green", "g"});
    const auto blue = FindProperty(vertex, {"blue", "b"});
    if (red && green && blue) {
        roles.color = {*red, *green, *blue};
    }
    roles.intensity = FindProperty(vertex, {"intensity"});
    roles.classNumber = FindProperty(vertex, {"classification"});
    if (roles.classNumber) {
        roles.classMeaning = ClassMeaning::Survey;
    } else {
        roles.classNumber = FindProperty(vertex, {"label", "class"});
    }
    return roles;
}

double LoadValue(const std::uint8_t* bytes, PlyType type, ByteOrder order) {
    switch (type) {
    case PlyType::Int8:
        return LoadNumber<std::int8_t>(bytes, order);
    case PlyType::UInt8:
        return LoadNumber<std::uint8_t>(bytes, order);
    case PlyType::Int16:
        return LoadNumber<std::int16_t>(bytes, order);
    case PlyType::UInt16:
        return LoadNumber<std::uint16_t>(bytes, order);
    case PlyType::Int32:
        return LoadNumber<std::int32_t>(bytes, order);
    case PlyType::UInt32:
        return LoadNumber<std::uint32_t>(bytes, order);
    case PlyType::Float:
        return static_cast<double>(LoadNumber<float>(bytes, order));
    case PlyType::Double:
        break;
    }
    return LoadNumber<double>(bytes, order);
}

/// Reads the rows of a file one after another, in whichever encoding it has.
class PlyRowReader {
public:
    PlyRowReader(InputFile& file, PlyEncoding encoding)
        : m_file(file), m_encoding(encoding),
          m_order(encoding == PlyEncoding::BigEndian ? ByteOrder::BigEndian : ByteOrder::LittleEndian) {}

    /// Reads one row. `values` has one place per property; those of lists are left alone.
    void ReadRow(const PlyElement& element, std::vector<double>& values) {
        if (m_encoding == PlyEncoding::Ascii) {
            ReadAsciiRow(element, values);
        } else {
            ReadBinaryRow(element, values);
        }
    }

    /// Passes over all rows of an element.
    void SkipRows(const PlyElement& element) {
        if (element.properties.empty()) {
            return;
        }
        if (m_encoding != PlyEncoding::Ascii && !element.HasLists()) {
            m_file.Skip(element.count * element.LeastRowBytes(m_encoding));
            return;
        }
        std::vector<double> values(element.properties.size());
        for (std::uint64_t row = 0; row < element.count; ++row) {
            ReadRow(element, values);
        }
    }

private:
    void ReadBinaryRow(const PlyElement& element, std::vector<double>& values) {
        for (std::size_t index = 0; index < element.properties.size(); ++index) {
            const PlyProperty& property = element.properties[index];
            if (property.listCountType) {
                const double count = ReadBinaryValue(*property.listCountType);
                SkipBinaryList(property, count);
            } else {
                values[index] = ReadBinaryValue(property.type);
            }
        }
    }

    double ReadBinaryValue(PlyType type) {
        std::array<std::uint8_t, 8> bytes{};
        m_file.Read({bytes.data(), SizeOf(type)});
        return LoadValue(bytes.data(), type, m_order);
    }

    void SkipBinaryList(const PlyProperty& property, double count) {
        const double listBytes = count * static_cast<double>(SizeOf(property.type));
        if (count < 0 || listBytes > static_cast<double>(m_file.Remaining())) {
            m_file.Fail("the list " + QuoteForMessage(property.name) + " before byte " +
                        std::to_string(m_file.Offset()) + " promises more values than the file holds");
        }
        m_file.Skip(static_cast<std::uint64_t>(listBytes));
    }

    void ReadAsciiRow(const PlyElement& element, std::vector<double>& values) {
        NextTextLine(element);
        for (std::size_t index = 0; index < element.properties.size(); ++index) {
            const PlyProperty& property = element.properties[index];
            if (property.listCountType) {
                const double count = TakeNumber(property);
                for (std::uint64_t taken = 0; static_cast<double>(taken) < count; ++taken) {
                    TakeNumber(property);
                }
            } else {
                values[index] = TakeNumber(property);
            }
        }
        if (!TakeWord(m_rest).empty()) {
            m_file.FailAtLine("more values than the element " + QuoteForMessage(element.name) + " has properties");
        }
    }

    /// Moves to the next line that is not blank.
    void NextTextLine(const PlyElement& element) {
        do {
            if (!m_file.ReadLine(m_line, kLongestRowLine)) {
                m_file.Fail("ends after line " + std::to_string(m_file.LineNumber()) + ", before the last of the " +
                            std::to_string(element.count) + " rows promised of " + QuoteForMessage(element.name));
            }
            m_rest = m_line;
            m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
        } while (m_rest.empty());
    }

    double TakeNumber(const PlyProperty& property) {
        const std::string_view word = TakeWord(m_rest);
        if (word.empty()) {
            m_file.FailAtLine("no value for " + QuoteForMessage(property.name));
        }
        const std::optional<double> value = ParseNumber(word);
        if (!value) {
            m_file.FailAtLine(QuoteForMessage(word) + " is not a number");
        }
        return *value;
    }

    InputFile& m_file;
    PlyEncoding m_encoding;
    ByteOrder m_order;
    std::string m_line;
    std::string_view m_rest; // what of m_line has not been taken yet
};

/// A channel as 16 bits. Everything but 16-bit channels fills the whole range, so that only those are left to guess.
std::uint16_t WideChannel(double value, PlyType type) {
    const auto within = [](double number, double limit) {
        return number > 0.0 ? std::min(number, limit) : 0.0; // a NaN becomes 0 as well
    };
    switch (type) {
    case PlyType::UInt16:
        return static_cast<std::uint16_t>(within(value, 65535.0));
    case PlyType::Float:
    case PlyType::Double:
        return static_cast<std::uint16_t>(257.0 * std::round(255.0 * within(value, 1.0)));
    default:
        return static_cast<std::uint16_t>(257.0 * std::floor(within(value, 255.0)));
    }
}

std::uint8_t ClassOf(double value, ClassMeaning meaning) {
    const double largest = meaning == ClassMeaning::Survey ? 255.0 : kNoClass - 1.0;
    const bool isClass = value >= 0.0 && value <= largest;
    return isClass ? static_cast<std::uint8_t>(value) : kNoClass;
}

/// The header is believed only as far as the file's size bears it out; nothing is allocated before.
void RequireRoom(const InputFile& file, const PlyElement& element, PlyEncoding encoding) {
    const std::size_t rowBytes = element.LeastRowBytes(encoding);
    if (rowBytes == 0) {
        return;
    }
    // The last line of a text file may lack its line feed.
    const std::uint64_t room = file.Remaining() + (encoding == PlyEncoding::Ascii ? 1 : 0);
    if (element.count > room / rowBytes) {
        const bool exact = encoding != PlyEncoding::Ascii && !element.HasLists();
        const std::string what = element.name == "vertex" ? "points" : "rows of " + QuoteForMessage(element.name);
        file.Fail("promises " + std::to_string(element.count) + " " + what + " but holds " + (exact ? "" : "at most ") +
                  std::to_string(room / rowBytes));
    }
}

/// Reads the vertices, row by row.
class PlyReader final : public CloudReader {
public:
    explicit PlyReader(const std::filesystem::path& path)
        : m_file(path), m_header(ReadPlyHeader(m_file)), m_rows(m_file, m_header.encoding) {
        for (const PlyElement& element : m_header.elements) {
            RequireRoom(m_file, element, m_header.encoding);
            if (element.name == "vertex") {
                m_roles = AssignRoles(m_file, element);
                m_vertex = &element;
                m_left = element.count;
                m_row.resize(element.properties.size());
                return;
            }
            m_rows.SkipRows(element);
        }
        m_file.Fail("has no vertices");
    }

    CloudFields GetFields() const override {
        return {.colors = m_roles.color.has_value(),
                .classes = m_roles.classNumber.has_value(),
                .intensities = m_roles.intensity.has_value(),
                .classMeaning = m_roles.classMeaning};
    }
    std::uint64_t GetPointCount() const override { return m_vertex->count; }
    std::uint64_t CountSkipped() const override { return m_skipped; }

    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t filled = 0;
        for (; filled < points.size() && m_left > 0; --m_left) {
            m_rows.ReadRow(*m_vertex, m_row);
            const CloudPoint point = TakePoint();
            if (IsFinite(point.position)) {
                points[filled++] = point;
            } else {
                ++m_skipped;
            }
        }
        return filled;
    }

private:
    CloudPoint TakePoint() const {
        const auto& [x, y, z] = m_roles.position;
        CloudPoint point;
        point.position = {m_row[x], m_row[y], m_row[z]};
        if (m_roles.color) {
            const auto& [red, green, blue] = *m_roles.color;
            point.red = Channel(red);
            point.green = Channel(green);
            point.blue = Channel(blue);
        }
        if (m_roles.intensity) {
            point.intensity = static_cast<float>(m_row[*m_roles.intensity]);
        }
        if (m_roles.classNumber) {
            point.classNumber = ClassOf(m_row[*m_roles.classNumber], m_roles.classMeaning);
        }
        return point;
    }
    std::uint16_t Channel(std::size_t property) const {
        return WideChannel(m_row[property], m_vertex->properties[property].type);
    }

    InputFile m_file;
    PlyHeader m_header;
    PlyRowReader m_rows;
    VertexRoles m_roles;
    const PlyElement* m_vertex = nullptr; // of the header
    std::uint64_t m_left = 0;             // rows
    std::uint64_t m_skipped = 0;
    std::vector<double> m_row;
};

} // namespace

std::unique_ptr<CloudReader> OpenPlyFile(const std::filesystem::path& path) {
    return std::make_unique<PlyReader>(path);
}

PointCloud ReadPlyFile(const std::filesystem::path& path) {
    return ReadAllPoints(*OpenPlyFile(path));
}

} // namespace OrrinViewer
