#include "PickedRows.h"

#include "MapScale.h"
#include "Measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace OrrinViewer {

namespace {

constexpr int kPlaceDecimals = 3;
constexpr int kDegreeDecimals = 8; // about as much

std::string FormatIntensity(float intensity) {
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%.7g", static_cast<double>(intensity));
    return text;
}

std::string AsCell(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char letter) { return letter == '\t' || letter == '\r' || letter == '\n'; }, ' ');
    return text;
}

} // namespace

std::vector<PickedRow> DescribePlace(const Position& place, const PickedUnits& units) {
    const bool isInDegrees = units.map == MapUnits::Degrees;
    const int decimals = isInDegrees ? kDegreeDecimals : kPlaceDecimals;
    std::vector<PickedRow> rows = {
        {isInDegrees ? "Longitude" : "x", FormatCoordinate(place.x, decimals) + SuffixOf(units.map)},
        {isInDegrees ? "Latitude" : "y", FormatCoordinate(place.y, decimals) + SuffixOf(units.map)}};
    if (!std::isnan(place.z)) {
        rows.push_back(
            {"Height", FormatCoordinate(place.z, kPlaceDecimals) + SuffixOfHeights(units.map, units.heightMetres)});
    }
    return rows;
}

std::vector<PickedRow> DescribeFeature(const VectorFeature& feature, bool hasHeights, const PickedUnits& units) {
    std::vector<PickedRow> rows;
    for (const auto& [name, value] : feature.properties) {
        rows.push_back({name, value});
    }
    if (feature.points.size() == 1) {
        Position place = feature.points.front();
        place.z = hasHeights ? place.z : std::nan("");
        const std::vector<PickedRow> ofPlace = DescribePlace(place, units);
        rows.insert(rows.end(), ofPlace.begin(), ofPlace.end());
    } else if (!feature.points.empty()) {
        rows.push_back({"Points", FormatCount(feature.points.size())});
    }
    if (!feature.lines.empty()) {
        double length = 0.0;
        for (const Path& line : feature.lines) {
            length += PathLengthInMetres(units.map, line);
        }
        rows.push_back({"Length", FormatLength(length)});
    }
    if (!feature.polygons.empty()) {
        double area = 0.0;
        double around = 0.0;
        for (const Polygon& polygon : feature.polygons) {
            for (std::size_t ring = 0; ring < polygon.rings.size(); ++ring) {
                Path path = polygon.rings[ring];
                area += (ring == 0 ? 1.0 : -1.0) * AreaInSquareMetres(units.map, path);
                if (!path.empty()) {
                    path.push_back(Position(path.front()));
                }
                around += PathLengthInMetres(units.map, path);
            }
        }
        rows.push_back({"Area", FormatArea(std::max(area, 0.0))});
        rows.push_back({"Outline", FormatLength(around)});
    }
    return rows;
}

std::vector<PickedRow> DescribePoint(const CloudPoint& point, const PointFields& fields, const std::string& className,
                                     const PickedUnits& units) {
    std::vector<PickedRow> rows = DescribePlace(point.position, units);
    if (fields.classes) {
        rows.push_back({"Class", className});
    }
    if (fields.intensities) {
        rows.push_back({"Intensity", FormatIntensity(point.intensity)});
    }
    if (fields.colors) {
        // Channels of 8 bits are widened to 16 so that white stays white: by this.
        constexpr int kWidening = 257;
        const bool isWidened =
            point.red % kWidening == 0 && point.green % kWidening == 0 && point.blue % kWidening == 0;
        const int step = isWidened ? kWidening : 1;
        rows.push_back({"Red, green, blue", std::to_string(point.red / step) + ", " +
                                                std::to_string(point.green / step) + ", " +
                                                std::to_string(point.blue / step)});
    }
    return rows;
}

std::string RowsAsText(const std::vector<PickedRow>& rows) {
    std::string text;
    for (const PickedRow& row : rows) {
        text += AsCell(row.name) + "\t" + AsCell(row.value) + "\r\n";
    }
    return text;
}

} // namespace OrrinViewer
