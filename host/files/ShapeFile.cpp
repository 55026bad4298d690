#include "ShapeFile.h"

#include "ByteOrder.h"
#include "DbfFile.h"
#include "DiskPath.h"
#include "FileError.h"
#include "InputFile.h"
#include "RingAssembly.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr std::size_t kHeaderBytes = 100;
constexpr std::int32_t kFileCode = 9994;
constexpr std::int32_t kVersion = 1000;
constexpr std::size_t kBoxBytes = 32;
constexpr std::size_t kPointBytes = 16;

enum class ShapeKind { Null, Point, PolyLine, Polygon, MultiPoint };

struct ShapeType {
    ShapeKind kind = ShapeKind::Null;
    bool hasZ = false;
};

/// Types are numbered alike without further values, with elevations from 11 and with measures from 21 on.
std::optional<ShapeType> TypeOf(std::int32_t number) {
    if (number == 0) {
        return ShapeType{};
    }
    const bool hasZ = number >= 11 && number <= 18;
    if (number < 1 || number > 28) {
        return std::nullopt;
    }
    switch (number % 10) {
    case 1:
        return ShapeType{ShapeKind::Point, hasZ};
    case 3:
        return ShapeType{ShapeKind::PolyLine, hasZ};
    case 5:
        return ShapeType{ShapeKind::Polygon, hasZ};
    case 8:
        return ShapeType{ShapeKind::MultiPoint, hasZ};
    default:
        return std::nullopt;
    }
}

/// The content of one record, of which nothing is believed that it does not hold.
class Record {
public:
    Record(const InputFile& file, std::uint64_t number, const std::vector<std::uint8_t>& bytes)
        : m_file(file), m_number(number), m_bytes(bytes) {}

    [[noreturn]] void Fail(const std::string& problem) const {
        m_file.Fail("record " + std::to_string(m_number) + " " + problem);
    }

    ShapeType Type() const {
        Require(0, 4, "type");
        const auto number = LoadLittleEndian<std::int32_t>(m_bytes.data());
        const std::optional<ShapeType> type = TypeOf(number);
        if (!type) {
            Fail("is a shape of type " + std::to_string(number) +
                 (number == 31 ? ", a surface of patches, which is not read; ogr2ogr -nlt MULTIPOLYGON converts it"
                               : ", which there is not"));
        }
        return *type;
    }

    /// Points from `at` on, their elevations from `zAt` on where that is not 0.
    Path TakePoints(std::size_t at, std::size_t count, std::size_t zAt, Extent& extent) const {
        Path path(count);
        for (std::size_t index = 0; index < count; ++index) {
            Position& position = path[index];
            position.x = Number(at + kPointBytes * index);
            position.y = Number(at + kPointBytes * index + 8);
            position.z = zAt != 0 ? Number(zAt + 8 * index) : 0.0;
            position.z = std::isfinite(position.z) ? position.z : 0.0;
            if (!IsFinite(position)) {
                Fail("has a coordinate that is not a finite number");
            }
            if (!IsPlace(position)) {
                Fail(SayFarAway(position));
            }
            extent.Include(position);
        }
        return path;
    }

    std::size_t Count(std::size_t at, const char* what) const {
        Require(at, 4, what);
        const auto count = LoadLittleEndian<std::int32_t>(&m_bytes[at]);
        if (count < 0) {
            Fail(std::string("has a negative number of ") + what);
        }
        return static_cast<std::size_t>(count);
    }

    void Require(std::size_t at, std::uint64_t bytes, const char* what) const {
        if (at > m_bytes.size() || bytes > m_bytes.size() - at) {
            Fail(std::string("is too short for its ") + what);
        }
    }

private:
    double Number(std::size_t at) const { return LoadLittleEndian<double>(&m_bytes[at]); }

    const InputFile& m_file;
    std::uint64_t m_number;
    const std::vector<std::uint8_t>& m_bytes;
};

void TakePoint(const Record& record, ShapeType type, VectorFeature& feature) {
    record.Require(4, type.hasZ ? kPointBytes + 8 : kPointBytes, "point");
    feature.points = record.TakePoints(4, 1, type.hasZ ? 4 + kPointBytes : 0, feature.extent);
}

/// Where the elevations of points stand, which end at `end`: behind their range.
std::size_t FindElevations(const Record& record, ShapeType type, std::size_t end, std::size_t count) {
    if (!type.hasZ) {
        return 0;
    }
    record.Require(end, 16 + 8 * static_cast<std::uint64_t>(count), "elevations");
    return end + 16;
}

void TakeMultiPoint(const Record& record, ShapeType type, VectorFeature& feature) {
    const std::size_t countAt = 4 + kBoxBytes;
    const std::size_t count = record.Count(countAt, "points");
    const std::size_t pointsAt = countAt + 4;
    record.Require(pointsAt, kPointBytes * static_cast<std::uint64_t>(count), "points");
    const std::size_t zAt = FindElevations(record, type, pointsAt + kPointBytes * count, count);
    feature.points = record.TakePoints(pointsAt, count, zAt, feature.extent);
}

/// The parts of a polyline or the rings of a polygon.
void TakeParts(const Record& record, ShapeType type, VectorFeature& feature) {
    const std::size_t countsAt = 4 + kBoxBytes;
    const std::size_t partCount = record.Count(countsAt, "parts");
    const std::size_t count = record.Count(countsAt + 4, "points");
    const std::size_t partsAt = countsAt + 8;
    record.Require(partsAt, 4 * static_cast<std::uint64_t>(partCount), "parts");
    const std::size_t pointsAt = partsAt + 4 * partCount;
    record.Require(pointsAt, kPointBytes * static_cast<std::uint64_t>(count), "points");
    const std::size_t zAt = FindElevations(record, type, pointsAt + kPointBytes * count, count);

    std::vector<Path> rings;
    for (std::size_t part = 0; part < partCount; ++part) {
        const std::size_t first = record.Count(partsAt + 4 * part, "parts");
        const std::size_t end = part + 1 < partCount ? record.Count(partsAt + 4 * (part + 1), "parts") : count;
        if (first > end || end > count) {
            record.Fail("has parts that are not in order");
        }
        Path path = record.TakePoints(pointsAt + kPointBytes * first, end - first, zAt != 0 ? zAt + 8 * first : 0,
                                      feature.extent);
        const bool isRing = type.kind == ShapeKind::Polygon;
        if (isRing && path.size() > 1 && path.front() == path.back()) {
            path.pop_back();
        }
        // What has no length or area is found in real files; there is nothing to draw.
        if (path.size() >= (isRing ? 3U : 2U)) {
            (isRing ? rings : feature.lines).push_back(std::move(path));
        }
    }
    feature.polygons = AssemblePolygons(std::move(rings));
}

/// The file of the same name with another ending, in small or capital letters.
std::optional<std::filesystem::path> FindBeside(const std::filesystem::path& path, const char* lowerCase,
                                                const char* capital) {
    for (const char* ending : {lowerCase, capital}) {
        std::filesystem::path beside = path;
        beside.replace_extension(ending);
        if (FindOnDisk(beside).size > 0) {
            return beside;
        }
    }
    return std::nullopt;
}

std::string ReadText(const std::filesystem::path& path) {
    constexpr std::uint64_t kLongest = 1u << 16;
    InputFile file(path);
    if (file.Size() > kLongest) {
        file.Fail("is too large for what stands in it");
    }
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    file.Read({reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
    const std::size_t end = text.find_last_not_of(" \t\r\n\0");
    text.resize(end == std::string::npos ? 0 : end + 1);
    return text;
}

std::optional<DbfFile> OpenTable(const std::filesystem::path& path) {
    const auto table = FindBeside(path, ".dbf", ".DBF");
    if (!table) {
        return std::nullopt;
    }
    const auto codePage = FindBeside(path, ".cpg", ".CPG");
    return std::make_optional<DbfFile>(*table, codePage ? FindEncoding(ReadText(*codePage)) : TextEncoding::Unknown);
}

void RequireShapeFile(InputFile& file) {
    std::array<std::uint8_t, kHeaderBytes> header{};
    if (file.Size() < header.size()) {
        file.Fail("ends at byte " + std::to_string(file.Size()) + ", within the header of a shapefile");
    }
    file.Read(header);
    if (!BeginsLikeShapeFile({reinterpret_cast<const char*>(header.data()), header.size()})) {
        file.Fail("is not a shapefile: it does not begin with the number 9994 and version 1000");
    }
}

} // namespace

bool BeginsLikeShapeFile(std::string_view beginning) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(beginning.data());
    return beginning.size() >= 32 && LoadNumber<std::int32_t>(bytes, ByteOrder::BigEndian) == kFileCode &&
           LoadLittleEndian<std::int32_t>(bytes + 28) == kVersion;
}

VectorLayer ReadShapeFile(const std::filesystem::path& path) {
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("reading", "features");
    InputFile file(path);
    RequireShapeFile(file);
    std::optional<DbfFile> table = OpenTable(path);
    VectorLayer layer;
    if (const auto system = FindBeside(path, ".prj", ".PRJ")) {
        layer.wkt = ReadText(*system);
    }

    constexpr std::size_t kRecordHeaderBytes = 8;
    std::array<std::uint8_t, kRecordHeaderBytes> recordHeader{};
    std::vector<std::uint8_t> content;
    for (std::uint64_t number = 1; file.Remaining() >= recordHeader.size(); ++number) {
        file.Read(recordHeader);
        const std::uint64_t words = LoadNumber<std::uint32_t>(&recordHeader[4], ByteOrder::BigEndian);
        if (2 * words > file.Remaining()) {
            file.Fail("record " + std::to_string(number) + " promises " + std::to_string(2 * words) +
                      " bytes but the file ends " + std::to_string(file.Remaining()) + " bytes on");
        }
        content.resize(static_cast<std::size_t>(2 * words));
        file.Read(content);

        const Record record(file, number, content);
        const ShapeType type = record.Type();
        VectorFeature feature;
        switch (type.kind) {
        case ShapeKind::Null:
            break;
        case ShapeKind::Point:
            TakePoint(record, type, feature);
            break;
        case ShapeKind::MultiPoint:
            TakeMultiPoint(record, type, feature);
            break;
        case ShapeKind::PolyLine:
        case ShapeKind::Polygon:
            TakeParts(record, type, feature);
            break;
        }
        if (table) {
            table->ReadRow(feature.properties);
        }
        if (feature.points.empty() && feature.lines.empty() && feature.polygons.empty()) {
            ++layer.skippedFeatures;
            continue;
        }
        layer.hasElevations = layer.hasElevations || type.hasZ;
        layer.extent.Include(feature.extent);
        layer.features.push_back(std::move(feature));
        progress->Count(layer.features.size());
    }
    return layer;
}

} // namespace OrrinViewer
