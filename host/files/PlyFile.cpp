#include "PlyFile.h"

#include "ByteOrder.h"
#include "FileError.h"
#include "InputFile.h"
#include "PlyHeader.h"
#include "TextParsing.h"
#include "data/WideColors.h"

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
        m_list.clear();
        if (m_encoding == PlyEncoding::Ascii) {
            ReadAsciiRow(element, values);
        } else {
            ReadBinaryRow(element, values);
        }
    }

    /// From now on the values of the list that is this property of its element are kept, row by row.
    void KeepList(const PlyProperty& property) { m_kept = &property; }
    const std::vector<double>& GetList() const { return m_list; }

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
                ReadBinaryList(property, count);
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

    void ReadBinaryList(const PlyProperty& property, double count) {
        const double listBytes = count * static_cast<double>(SizeOf(property.type));
        if (count < 0 || listBytes > static_cast<double>(m_file.Remaining())) {
            m_file.Fail("the list " + QuoteForMessage(property.name) + " before byte " +
                        std::to_string(m_file.Offset()) + " promises more values than the file holds");
        }
        if (&property != m_kept) {
            m_file.Skip(static_cast<std::uint64_t>(listBytes));
            return;
        }
        for (std::uint64_t taken = 0; static_cast<double>(taken) < count; ++taken) {
            m_list.push_back(ReadBinaryValue(property.type));
        }
    }

    void ReadAsciiRow(const PlyElement& element, std::vector<double>& values) {
        NextTextLine(element);
        for (std::size_t index = 0; index < element.properties.size(); ++index) {
            const PlyProperty& property = element.properties[index];
            if (property.listCountType) {
                const double count = TakeNumber(property);
                for (std::uint64_t taken = 0; static_cast<double>(taken) < count; ++taken) {
                    const double value = TakeNumber(property);
                    if (&property == m_kept) {
                        m_list.push_back(value);
                    }
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
    const PlyProperty* m_kept = nullptr;
    std::vector<double> m_list;
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

CloudPoint TakePoint(const PlyElement& vertex, const VertexRoles& roles, const std::vector<double>& row) {
    const auto channel = [&](std::size_t property) {
        return WideChannel(row[property], vertex.properties[property].type);
    };
    const auto& [x, y, z] = roles.position;
    CloudPoint point;
    point.position = {row[x], row[y], row[z]};
    if (roles.color) {
        const auto& [red, green, blue] = *roles.color;
        point.red = channel(red);
        point.green = channel(green);
        point.blue = channel(blue);
    }
    if (roles.intensity) {
        point.intensity = static_cast<float>(row[*roles.intensity]);
    }
    if (roles.classNumber) {
        point.classNumber = ClassOf(row[*roles.classNumber], roles.classMeaning);
    }
    return point;
}

/// Positions that are not finite are for the caller to leave out.
void RequirePlace(const InputFile& file, std::uint64_t vertex, const Position& position) {
    if (!IsPlace(position)) {
        file.Fail("vertex " + std::to_string(vertex) + ' ' + SayFarAway(position));
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
            const CloudPoint point = TakePoint(*m_vertex, m_roles, m_row);
            if (!IsFinite(point.position)) {
                ++m_skipped;
                continue;
            }
            RequirePlace(m_file, m_vertex->count - m_left + 1, point.position);
            points[filled++] = point;
        }
        return filled;
    }

private:
    InputFile m_file;
    PlyHeader m_header;
    PlyRowReader m_rows;
    VertexRoles m_roles;
    const PlyElement* m_vertex = nullptr; // of the header
    std::uint64_t m_left = 0;             // rows
    std::uint64_t m_skipped = 0;
    std::vector<double> m_row;
};

/// Which list of a face names its corners; null where none does.
const PlyProperty* FindCorners(const PlyElement& element) {
    if (element.name != "face") {
        return nullptr;
    }
    const auto found =
        std::find_if(element.properties.begin(), element.properties.end(), [](const PlyProperty& property) {
            return property.listCountType && (property.name == "vertex_indices" || property.name == "vertex_index");
        });
    return found != element.properties.end() ? &*found : nullptr;
}

/// Reads vertices and faces, in whichever order they come.
class PlyMeshReader {
public:
    explicit PlyMeshReader(const std::filesystem::path& path)
        : m_file(path), m_header(ReadPlyHeader(m_file)), m_rows(m_file, m_header.encoding) {}

    bool HasFaces() const {
        return std::any_of(m_header.elements.begin(), m_header.elements.end(),
                           [](const PlyElement& element) { return element.count > 0 && FindCorners(element); });
    }

    Mesh Read() {
        for (const PlyElement& element : m_header.elements) {
            RequireRoom(m_file, element, m_header.encoding);
            if (element.name == "vertex") {
                ReadVertices(element);
            } else if (const PlyProperty* corners = FindCorners(element)) {
                ReadFaces(element, *corners);
            } else {
                m_rows.SkipRows(element);
            }
        }
        m_mesh.triangles.reserve(m_corners.size() / 3);
        for (std::size_t corner = 0; corner < m_corners.size(); corner += 3) {
            AddTriangle({m_corners[corner], m_corners[corner + 1], m_corners[corner + 2]});
        }
        return std::move(m_mesh);
    }

private:
    void ReadVertices(const PlyElement& element) {
        const VertexRoles roles = AssignRoles(m_file, element);
        std::vector<double> row(element.properties.size());
        WideColors colors(m_mesh.colors);
        for (std::uint64_t vertex = 1; vertex <= element.count; ++vertex) {
            m_rows.ReadRow(element, row);
            const CloudPoint point = TakePoint(element, roles, row);
            if (IsFinite(point.position)) {
                RequirePlace(m_file, vertex, point.position);
            }
            m_mesh.positions.push_back(point.position);
            if (roles.color) {
                colors.Add(point.red, point.green, point.blue);
            }
        }
    }

    void ReadFaces(const PlyElement& element, const PlyProperty& corners) {
        m_rows.KeepList(corners);
        std::vector<double> row(element.properties.size());
        for (std::uint64_t face = 1; face <= element.count; ++face) {
            m_rows.ReadRow(element, row);
            const std::vector<double>& vertices = m_rows.GetList();
            for (const double vertex : vertices) {
                if (!(vertex >= 0.0 && vertex < CountVertices()) || vertex != std::floor(vertex)) {
                    m_file.Fail("face " + std::to_string(face) + " names a vertex that there is not");
                }
            }
            for (std::size_t last = 2; last < vertices.size(); ++last) {
                for (const std::size_t corner : {std::size_t{0}, last - 1, last}) {
                    m_corners.push_back(static_cast<std::uint32_t>(vertices[corner]));
                }
            }
        }
    }

    double CountVertices() const {
        const auto vertex = std::find_if(m_header.elements.begin(), m_header.elements.end(),
                                         [](const PlyElement& element) { return element.name == "vertex"; });
        constexpr double kMostVertices = 4294967295.0;
        return vertex == m_header.elements.end() ? 0.0 : std::min(static_cast<double>(vertex->count), kMostVertices);
    }

    void AddTriangle(const std::array<std::uint32_t, 3>& triangle) {
        const bool isWhole = std::all_of(triangle.begin(), triangle.end(),
                                         [this](std::uint32_t vertex) { return IsFinite(m_mesh.positions[vertex]); });
        if (!isWhole) {
            return;
        }
        m_mesh.triangles.push_back(triangle);
        for (const std::uint32_t vertex : triangle) {
            m_mesh.extent.Include(m_mesh.positions[vertex]);
        }
    }

    InputFile m_file;
    PlyHeader m_header;
    PlyRowReader m_rows;
    std::vector<std::uint32_t> m_corners; // three of each triangle
    Mesh m_mesh;
};

} // namespace

std::optional<Mesh> ReadPlyMesh(const std::filesystem::path& path) {
    ReadingProgress::OfThisThread()->Begin("reading");
    PlyMeshReader reader(path);
    return reader.HasFaces() ? std::optional(reader.Read()) : std::nullopt;
}

std::unique_ptr<CloudReader> OpenPlyFile(const std::filesystem::path& path) {
    return std::make_unique<PlyReader>(path);
}

PointCloud ReadPlyFile(const std::filesystem::path& path) {
    return ReadAllPoints(*OpenPlyFile(path));
}

} // namespace OrrinViewer
