#include "GeoJsonFile.h"

#include "FileError.h"
#include "InputFile.h"
#include "JsonCursor.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace OrrinViewer {

namespace {

/// Where a value stands in the document. A path is composed only when a fault needs it: there is one for each position.
class JsonPath {
public:
    JsonPath() = default;
    JsonPath(const JsonPath& parent, const char* name) : m_parent(&parent), m_name(name) {}
    JsonPath(const JsonPath& parent, std::size_t index) : m_parent(&parent), m_index(index) {}

    [[noreturn]] void Fail(const std::string& problem) const {
        throw JsonFault((m_parent == nullptr ? std::string("the document") : Text()) + " " + problem);
    }

private:
    std::string Text() const {
        if (m_parent == nullptr) {
            return {};
        }
        return m_parent->Text() + "/" + (m_name != nullptr ? std::string(m_name) : std::to_string(m_index));
    }

    const JsonPath* m_parent = nullptr;
    const char* m_name = nullptr;
    std::size_t m_index = 0;
};

enum class GeometryType { Point, MultiPoint, LineString, MultiLineString, Polygon, MultiPolygon, Collection };

constexpr std::array<std::pair<std::string_view, GeometryType>, 7> kGeometryTypes = {
    {{"Point", GeometryType::Point},
     {"MultiPoint", GeometryType::MultiPoint},
     {"LineString", GeometryType::LineString},
     {"MultiLineString", GeometryType::MultiLineString},
     {"Polygon", GeometryType::Polygon},
     {"MultiPolygon", GeometryType::MultiPolygon},
     {"GeometryCollection", GeometryType::Collection}}};

/// Builds a layer while it reads, in one pass where a geometry's type comes before its coordinates, as nearly all
/// writers have it; where not, the coordinates are passed over and come back to.
class LayerReader {
public:
    explicit LayerReader(std::string_view text) : m_cursor(text), m_size(text.size()) {}

    VectorLayer Read() {
        m_progress->Begin("reading", "features");
        const JsonPath root;
        const std::string type = FindType(root);
        if (type == "FeatureCollection") {
            ReadCollection(root);
        } else if (type == "Feature") {
            ReadFeature(root);
        } else {
            VectorFeature feature;
            ReadGeometry(root, feature);
            Keep(std::move(feature));
        }
        m_cursor.Finish();
        return std::move(m_layer);
    }

private:
    void EnterObject(const JsonPath& path) {
        if (m_cursor.Peek() != JsonKind::Object) {
            path.Fail("is not an object");
        }
        m_cursor.EnterObject();
    }

    void EnterArray(const JsonPath& path) {
        if (m_cursor.Peek() != JsonKind::Array) {
            path.Fail("is not an array");
        }
        m_cursor.EnterArray();
    }

    /// Calls `visit` in front of each element, with its path.
    template <typename Visit> void ForEach(const JsonPath& path, Visit visit) {
        EnterArray(path);
        for (std::size_t index = 0; m_cursor.NextElement(); ++index) {
            visit(JsonPath(path, index));
        }
    }

    std::string TakeType(const JsonPath& parent) {
        std::string type;
        if (m_cursor.Peek() != JsonKind::String) {
            JsonPath(parent, "type").Fail("is not text");
        }
        m_cursor.TakeString(type);
        return type;
    }

    /// The document's type, wherever it stands; leaves the cursor where it is.
    std::string FindType(const JsonPath& root) {
        const JsonCursor::Place start = m_cursor.Here();
        for (EnterObject(root); m_cursor.NextMember(m_name); m_cursor.Skip()) {
            if (m_name == "type") {
                std::string type = TakeType(root);
                m_cursor.JumpTo(start);
                return type;
            }
        }
        root.Fail("has no \"type\"");
    }

    void ReadCollection(const JsonPath& path) {
        bool hasFeatures = false;
        for (EnterObject(path); m_cursor.NextMember(m_name);) {
            if (m_name == "features" && !hasFeatures) {
                hasFeatures = true;
                ForEach(JsonPath(path, "features"), [this](const JsonPath& feature) { ReadFeature(feature); });
            } else if (m_name == "crs") {
                m_layer.wkt = m_cursor.TakeText();
            } else {
                m_cursor.Skip();
            }
        }
        if (!hasFeatures) {
            path.Fail("has no \"features\"");
        }
    }

    void ReadFeature(const JsonPath& path) {
        VectorFeature feature;
        bool hasType = false;
        bool hasGeometry = false;
        for (EnterObject(path); m_cursor.NextMember(m_name);) {
            if (m_name == "type") {
                hasType = true;
                if (const std::string type = TakeType(path); type != "Feature") {
                    JsonPath(path, "type").Fail("is " + QuoteForMessage(type) + ", not 'Feature'");
                }
            } else if (m_name == "geometry" && !hasGeometry) {
                hasGeometry = true;
                if (m_cursor.PeekNull()) {
                    m_cursor.Skip();
                } else {
                    ReadGeometry(JsonPath(path, "geometry"), feature);
                }
            } else if (m_name == "properties" && !m_cursor.PeekNull()) {
                ReadProperties(JsonPath(path, "properties"), feature);
            } else {
                m_cursor.Skip();
            }
        }
        if (!hasType || !hasGeometry) {
            path.Fail(hasType ? "has no \"geometry\"" : "has no \"type\"");
        }
        Keep(std::move(feature));
    }

    void TellProgress() {
        m_progress->Count(m_layer.features.size());
        m_progress->Reach(m_cursor.Here().at, m_size);
    }

    void Keep(VectorFeature feature) {
        TellProgress();
        if (feature.extent.IsEmpty()) {
            ++m_layer.skippedFeatures;
            return;
        }
        m_layer.extent.Include(feature.extent);
        m_layer.features.push_back(std::move(feature));
    }

    void ReadProperties(const JsonPath& path, VectorFeature& feature) {
        // As many as the feature before had.
        feature.properties.reserve(m_layer.features.empty() ? 0 : m_layer.features.back().properties.size());
        for (EnterObject(path); m_cursor.NextMember(m_name);) {
            auto& [name, value] = feature.properties.emplace_back(m_name, std::string());
            if (m_cursor.Peek() == JsonKind::String) {
                m_cursor.TakeString(value);
            } else {
                value = m_cursor.TakeText();
            }
        }
    }

    static GeometryType FindGeometryType(const JsonPath& path, const std::string& type) {
        for (const auto& [name, known] : kGeometryTypes) {
            if (type == name) {
                return known;
            }
        }
        JsonPath(path, "type").Fail("is " + QuoteForMessage(type) + ", which is no geometry");
    }

    void ReadGeometry(const JsonPath& path, VectorFeature& feature) {
        std::optional<GeometryType> type;
        std::optional<JsonCursor::Place> shapes; // that have not been read
        std::optional<JsonCursor::Place> parts;
        bool isRead = false;
        for (EnterObject(path); m_cursor.NextMember(m_name);) {
            if (m_name == "type") {
                type = FindGeometryType(path, TakeType(path));
                continue;
            }
            const bool isShapes = m_name == "coordinates";
            const bool isParts = m_name == "geometries";
            if (type && !isRead && (*type == GeometryType::Collection ? isParts : isShapes)) {
                isRead = true;
                ReadShapes(path, *type, feature);
                continue;
            }
            if (isShapes || isParts) {
                (isShapes ? shapes : parts) = m_cursor.Here();
            }
            m_cursor.Skip();
        }
        if (!type) {
            path.Fail("has no \"type\"");
        }
        if (isRead) {
            return;
        }
        const bool isCollection = *type == GeometryType::Collection;
        const std::optional<JsonCursor::Place>& unread = isCollection ? parts : shapes;
        if (!unread) {
            path.Fail(isCollection ? "has no \"geometries\"" : "has no \"coordinates\"");
        }
        const JsonCursor::Place end = m_cursor.Here();
        m_cursor.JumpTo(*unread);
        ReadShapes(path, *type, feature);
        m_cursor.JumpTo(end);
    }

    /// The coordinates of a geometry, or the geometries of a collection.
    void ReadShapes(const JsonPath& path, GeometryType type, VectorFeature& feature) {
        if (type == GeometryType::Collection) {
            ForEach(JsonPath(path, "geometries"), [&](const JsonPath& geometry) {
                if (m_cursor.PeekNull()) {
                    m_cursor.Skip();
                } else {
                    ReadGeometry(geometry, feature);
                }
            });
            return;
        }
        const JsonPath coordinates(path, "coordinates");
        if (PassEmptyArray()) {
            return; // how some writers say null
        }
        switch (type) {
        case GeometryType::Point:
            ReadPoint(coordinates, feature);
            break;
        case GeometryType::MultiPoint:
            ForEach(coordinates, [&](const JsonPath& point) { ReadPoint(point, feature); });
            break;
        case GeometryType::LineString:
            ReadLine(coordinates, feature);
            break;
        case GeometryType::MultiLineString:
            ForEach(coordinates, [&](const JsonPath& line) { ReadLine(line, feature); });
            break;
        case GeometryType::Polygon:
            ReadPolygon(coordinates, feature);
            break;
        case GeometryType::MultiPolygon:
            ForEach(coordinates, [&](const JsonPath& polygon) { ReadPolygon(polygon, feature); });
            break;
        case GeometryType::Collection:
            break;
        }
    }

    bool PassEmptyArray() {
        if (m_cursor.Peek() != JsonKind::Array) {
            return false;
        }
        const JsonCursor::Place start = m_cursor.Here();
        m_cursor.EnterArray();
        if (!m_cursor.NextElement()) {
            return true;
        }
        m_cursor.JumpTo(start);
        return false;
    }

    void ReadPoint(const JsonPath& path, VectorFeature& feature) {
        feature.points.push_back(TakePosition(path, feature.extent));
    }

    void ReadLine(const JsonPath& path, VectorFeature& feature) {
        ReadPath(path, feature.extent);
        if (m_path.size() < 2) {
            path.Fail("is a line of fewer than two positions");
        }
        feature.lines.emplace_back(m_path);
    }

    void ReadPolygon(const JsonPath& path, VectorFeature& feature) {
        Polygon polygon;
        ForEach(path, [&](const JsonPath& ring) {
            ReadPath(ring, feature.extent);
            if (m_path.size() > 1 && m_path.front() == m_path.back()) {
                m_path.pop_back();
            }
            if (m_path.size() < 3) {
                ring.Fail("is a ring of fewer than three corners");
            }
            polygon.rings.emplace_back(m_path);
        });
        if (polygon.rings.empty()) {
            path.Fail("is a polygon without a ring");
        }
        feature.polygons.push_back(std::move(polygon));
    }

    /// Into m_path, from which it is copied: how long it is shows only at its end.
    void ReadPath(const JsonPath& path, Extent& extent) {
        constexpr std::size_t kUntold = 1 << 14;
        m_path.clear();
        ForEach(path, [&](const JsonPath& position) {
            m_path.push_back(TakePosition(position, extent));
            if (m_path.size() % kUntold == 0) {
                TellProgress(); // one shape may be the whole file
            }
        });
    }

    /// The elevation is optional; what comes after it has no agreed meaning and is left alone.
    Position TakePosition(const JsonPath& path, Extent& extent) {
        std::array<double, 3> numbers{};
        const std::size_t count = m_cursor.Peek() == JsonKind::Array ? m_cursor.TakeNumbers(numbers) : 0;
        if (count < 2) {
            path.Fail("is not a position of two or three numbers");
        }
        const Position position{numbers[0], numbers[1], numbers[2]};
        if (!IsFinite(position)) {
            path.Fail("has a coordinate that is not a finite number");
        }
        if (!IsPlace(position)) {
            path.Fail(SayFarAway(position));
        }
        m_layer.hasElevations = m_layer.hasElevations || count > 2;
        extent.Include(position);
        return position;
    }

    JsonCursor m_cursor;
    std::size_t m_size; // of the text
    std::shared_ptr<ReadingProgress> m_progress = ReadingProgress::OfThisThread();
    VectorLayer m_layer;
    std::string m_name; // of the member that was entered last
    Path m_path;
};

std::string ReadText(InputFile& file) {
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    file.Read({reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
    return text;
}

} // namespace

VectorLayer ReadGeoJsonFile(const std::filesystem::path& path) {
    InputFile file(path);
    try {
        const std::string text = ReadText(file);
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        return LayerReader(std::string_view(text).substr(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0))
            .Read();
    } catch (const JsonFault& fault) {
        throw FileError(path, fault.what());
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its " + std::to_string(file.Size()) + " bytes");
    }
}

} // namespace OrrinViewer
