#include "GeoJsonFile.h"

#include "FileError.h"
#include "InputFile.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// Keeps the members of an object in the file's order, in which a table of properties is shown.
using Json = nlohmann::ordered_json;

/// Deeper nesting than any map has, and shallow enough for functions that call themselves once per level.
constexpr int kDeepestNesting = 64;

/// What is wrong with one node of the document; the file's name is added where the file is known.
class JsonFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A value together with its path in the document, so that a fault can name it. The value belongs to the document.
class JsonNode {
public:
    explicit JsonNode(const Json& document) : m_value(&document) {}

    const Json& Value() const { return *m_value; }

    [[noreturn]] void Fail(const std::string& problem) const {
        const std::string pointer = FullPointer();
        throw JsonFault((pointer.empty() ? std::string("the document") : pointer) + " " + problem);
    }

    /// The member of an object; a fault when this is no object or has no such member.
    JsonNode Member(const char* name) const {
        if (!m_value->is_object()) {
            Fail("is not an object");
        }
        const auto member = m_value->find(name);
        if (member == m_value->end()) {
            Fail(std::string("has no \"") + name + "\"");
        }
        return {*member, *this, name};
    }

    /// Calls `visit` with the node of each entry; a fault when this is no array.
    template <typename Visit> void ForEach(Visit visit) const {
        if (!m_value->is_array()) {
            Fail("is not an array");
        }
        for (std::size_t index = 0; index < m_value->size(); ++index) {
            visit(JsonNode((*m_value)[index], *this, index));
        }
    }

    std::string Text() const {
        if (!m_value->is_string()) {
            Fail("is not text");
        }
        return m_value->get<std::string>();
    }

private:
    // The path of a node is composed only when a fault needs it: there is one node per coordinate.
    JsonNode(const Json& value, const JsonNode& parent, const char* name)
        : m_value(&value), m_parent(&parent), m_name(name) {}
    JsonNode(const Json& value, const JsonNode& parent, std::size_t index)
        : m_value(&value), m_parent(&parent), m_index(index) {}

    std::string FullPointer() const {
        if (m_parent == nullptr) {
            return {};
        }
        return m_parent->FullPointer() + "/" + (m_name != nullptr ? std::string(m_name) : std::to_string(m_index));
    }

    const Json* m_value;
    const JsonNode* m_parent = nullptr;
    const char* m_name = nullptr;
    std::size_t m_index = 0;
};

/// Builds a layer from a document. Faults are thrown as JsonFault.
class LayerBuilder {
public:
    VectorLayer Build(const Json& document) {
        const JsonNode root(document);
        const std::string type = root.Member("type").Text();
        if (type == "FeatureCollection") {
            root.Member("features").ForEach([this](const JsonNode& feature) { AddFeature(feature); });
        } else if (type == "Feature") {
            AddFeature(root);
        } else {
            VectorFeature feature;
            AddGeometry(root, feature);
            Keep(std::move(feature));
        }
        return std::move(m_layer);
    }

private:
    void AddFeature(const JsonNode& node) {
        const JsonNode type = node.Member("type");
        if (type.Text() != "Feature") {
            type.Fail("is " + QuoteForMessage(type.Text()) + ", not 'Feature'");
        }
        VectorFeature feature;
        const JsonNode geometry = node.Member("geometry");
        if (!geometry.Value().is_null()) {
            AddGeometry(geometry, feature);
        }
        AddProperties(node, feature);
        Keep(std::move(feature));
    }

    void Keep(VectorFeature feature) {
        if (feature.extent.IsEmpty()) {
            ++m_layer.skippedFeatures;
            return;
        }
        m_layer.extent.Include(feature.extent);
        m_layer.features.push_back(std::move(feature));
    }

    void AddProperties(const JsonNode& node, VectorFeature& feature) {
        const auto properties = node.Value().find("properties");
        if (properties == node.Value().end() || properties->is_null()) {
            return;
        }
        if (!properties->is_object()) {
            node.Member("properties").Fail("is not an object");
        }
        for (const auto& [name, value] : properties->items()) {
            feature.properties.emplace_back(name, value.is_string() ? value.get<std::string>() : value.dump());
        }
    }

    void AddGeometry(const JsonNode& node, VectorFeature& feature) {
        const JsonNode typeNode = node.Member("type");
        const std::string type = typeNode.Text();
        if (type == "GeometryCollection") {
            node.Member("geometries").ForEach([&](const JsonNode& geometry) {
                if (!geometry.Value().is_null()) {
                    AddGeometry(geometry, feature);
                }
            });
            return;
        }

        const bool known = type == "Point" || type == "MultiPoint" || type == "LineString" ||
                           type == "MultiLineString" || type == "Polygon" || type == "MultiPolygon";
        if (!known) {
            typeNode.Fail("is " + QuoteForMessage(type) + ", which is no geometry");
        }
        const JsonNode coordinates = node.Member("coordinates");
        if (coordinates.Value().is_array() && coordinates.Value().empty()) {
            return; // how some writers say null
        }
        if (type == "Point") {
            AddPoint(coordinates, feature);
        } else if (type == "MultiPoint") {
            coordinates.ForEach([&](const JsonNode& point) { AddPoint(point, feature); });
        } else if (type == "LineString") {
            AddLine(coordinates, feature);
        } else if (type == "MultiLineString") {
            coordinates.ForEach([&](const JsonNode& line) { AddLine(line, feature); });
        } else if (type == "Polygon") {
            AddPolygon(coordinates, feature);
        } else {
            coordinates.ForEach([&](const JsonNode& polygon) { AddPolygon(polygon, feature); });
        }
    }

    void AddPoint(const JsonNode& node, VectorFeature& feature) {
        feature.points.push_back(TakePosition(node, feature.extent));
    }

    void AddLine(const JsonNode& node, VectorFeature& feature) {
        Path line = TakePath(node, feature.extent);
        if (line.size() < 2) {
            node.Fail("is a line of fewer than two positions");
        }
        feature.lines.push_back(std::move(line));
    }

    void AddPolygon(const JsonNode& node, VectorFeature& feature) {
        Polygon polygon;
        node.ForEach([&](const JsonNode& ringNode) {
            Path ring = TakePath(ringNode, feature.extent);
            if (ring.size() > 1 && ring.front() == ring.back()) {
                ring.pop_back();
            }
            if (ring.size() < 3) {
                ringNode.Fail("is a ring of fewer than three corners");
            }
            polygon.rings.push_back(std::move(ring));
        });
        if (polygon.rings.empty()) {
            node.Fail("is a polygon without a ring");
        }
        feature.polygons.push_back(std::move(polygon));
    }

    Path TakePath(const JsonNode& node, Extent& extent) {
        Path path;
        path.reserve(node.Value().size());
        node.ForEach([&](const JsonNode& position) { path.push_back(TakePosition(position, extent)); });
        return path;
    }

    /// The elevation is optional; what comes after it has no agreed meaning and is left alone.
    Position TakePosition(const JsonNode& node, Extent& extent) {
        const Json& numbers = node.Value();
        if (!numbers.is_array() || numbers.size() < 2) {
            node.Fail("is not a position of two or three numbers");
        }
        Position position{TakeCoordinate(node, 0), TakeCoordinate(node, 1), 0.0};
        if (numbers.size() > 2) {
            position.z = TakeCoordinate(node, 2);
            m_layer.hasElevations = true;
        }
        if (!IsPlace(position)) {
            node.Fail(SayFarAway(position));
        }
        extent.Include(position);
        return position;
    }

    static double TakeCoordinate(const JsonNode& node, std::size_t index) {
        const Json& number = node.Value()[index];
        const double value = number.is_number() ? number.get<double>() : std::nan("");
        if (!std::isfinite(value)) {
            node.Fail("has a coordinate that is not a finite number");
        }
        return value;
    }

    VectorLayer m_layer;
};

/// What the JSON library says, without its own prefix "[json.exception...]".
std::string PlainReason(const Json::exception& error) {
    const std::string text = error.what();
    const std::size_t prefixEnd = text.find("] ");
    return prefixEnd == std::string::npos ? text : text.substr(prefixEnd + 2);
}

Json ParseDocument(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::in | std::ios::binary);
    const auto refuseDeepNesting = [](int depth, Json::parse_event_t, Json&) {
        if (depth > kDeepestNesting) {
            throw JsonFault("the document is nested more than " + std::to_string(kDeepestNesting) + " levels deep");
        }
        return true;
    };
    try {
        return Json::parse(stream, refuseDeepNesting);
    } catch (const Json::exception& error) {
        throw JsonFault("is not valid JSON: " + PlainReason(error));
    }
}

} // namespace

VectorLayer ReadGeoJsonFile(const std::filesystem::path& path) {
    const InputFile openable(path); // for its words on a file that is missing, empty or locked
    try {
        return LayerBuilder().Build(ParseDocument(path));
    } catch (const JsonFault& fault) {
        throw FileError(path, fault.what());
    } catch (const std::bad_alloc&) {
        throw FileError(path, "there is not enough memory for its " + std::to_string(openable.Size()) + " bytes");
    }
}

} // namespace OrrinViewer
