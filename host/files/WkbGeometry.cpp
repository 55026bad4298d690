#include "WkbGeometry.h"

#include "ByteOrder.h"
#include "FileError.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace OrrinViewer {

namespace {

/// Collections in collections.
constexpr int kDeepestNesting = 16;

enum Type : std::uint32_t { kPoint = 1, kLine, kPolygon, kMultiPoint, kMultiLine, kMultiPolygon, kCollection };

class WkbReader {
public:
    WkbReader(std::span<const std::uint8_t> bytes, VectorFeature& feature) : m_bytes(bytes), m_feature(feature) {}

    void ReadGeometry(int depth) {
        if (depth > kDeepestNesting) {
            throw WkbFault("is nested more than " + std::to_string(kDeepestNesting) + " levels deep");
        }
        m_order = Take<std::uint8_t>() == 0 ? ByteOrder::BigEndian : ByteOrder::LittleEndian;
        const std::uint32_t type = TakeType();
        switch (type) {
        case kPoint:
            ReadPoint();
            break;
        case kLine:
            ReadLine();
            break;
        case kPolygon:
            ReadPolygon();
            break;
        case kMultiPoint:
        case kMultiLine:
        case kMultiPolygon:
        case kCollection: {
            constexpr std::size_t kLeastBytes = 5; // of a geometry
            for (std::uint32_t left = TakeCount(kLeastBytes); left > 0; --left) {
                ReadGeometry(depth + 1);
            }
            break;
        }
        default:
            throw WkbFault("is a geometry of type " + std::to_string(type) +
                           (type <= 17 ? ", which is not read; ogr2ogr -nlt CONVERT_TO_LINEAR out.gpkg in.gpkg "
                                         "converts curves"
                                       : ", which there is not"));
        }
    }

    bool HasElevations() const { return m_hasElevations; }

private:
    void Require(std::uint64_t bytes) const {
        if (bytes > m_bytes.size() - m_at) {
            throw WkbFault("has a geometry that ends in the middle");
        }
    }

    template <typename Number> Number Take() {
        Require(sizeof(Number));
        const auto number = LoadNumber<Number>(&m_bytes[m_at], m_order);
        m_at += sizeof(Number);
        return number;
    }

    /// The number of a type without what is said with it about elevations and measures: by thousands, or by bits.
    std::uint32_t TakeType() {
        constexpr std::uint32_t kElevationBit = 0x80000000;
        constexpr std::uint32_t kMeasureBit = 0x40000000;
        constexpr std::uint32_t kSystemBit = 0x20000000;
        const auto number = Take<std::uint32_t>();
        const std::uint32_t plain = number & ~(kElevationBit | kMeasureBit | kSystemBit);
        const std::uint32_t thousands = plain / 1000;
        m_hasZ = (number & kElevationBit) != 0 || thousands == 1 || thousands == 3;
        m_hasM = (number & kMeasureBit) != 0 || thousands == 2 || thousands == 3;
        if ((number & kSystemBit) != 0) {
            Take<std::uint32_t>();
        }
        return thousands <= 3 ? plain % 1000 : plain;
    }

    std::size_t PositionBytes() const { return sizeof(double) * (2U + (m_hasZ ? 1U : 0U) + (m_hasM ? 1U : 0U)); }

    /// A number of things that follow, each of `leastBytes` or more.
    std::uint32_t TakeCount(std::size_t leastBytes) {
        const auto count = Take<std::uint32_t>();
        Require(std::uint64_t{count} * leastBytes);
        return count;
    }

    Position TakePosition() {
        Position position;
        position.x = Take<double>();
        position.y = Take<double>();
        position.z = m_hasZ ? Take<double>() : 0.0;
        if (m_hasM) {
            Take<double>();
        }
        return position;
    }

    void Include(Position& position) {
        position.z = std::isfinite(position.z) ? position.z : 0.0;
        if (!IsFinite(position)) {
            throw WkbFault("has a coordinate that is not a finite number");
        }
        if (!IsPlace(position)) {
            throw WkbFault(SayFarAway(position));
        }
        m_hasElevations = m_hasElevations || m_hasZ;
        m_feature.extent.Include(position);
    }

    void ReadPoint() {
        Position position = TakePosition();
        if (std::isnan(position.x) && std::isnan(position.y)) {
            return; // how an empty one is written
        }
        Include(position);
        m_feature.points.push_back(position);
    }

    Path TakePath() {
        const std::uint32_t count = TakeCount(PositionBytes());
        Path path;
        path.reserve(count);
        for (std::uint32_t index = 0; index < count; ++index) {
            Position position = TakePosition();
            Include(position);
            path.push_back(position);
        }
        return path;
    }

    void ReadLine() {
        if (Path line = TakePath(); line.size() >= 2) {
            m_feature.lines.push_back(std::move(line));
        }
    }

    void ReadPolygon() {
        constexpr std::size_t kLeastBytes = 4; // of a ring
        const std::uint32_t count = TakeCount(kLeastBytes);
        Polygon polygon;
        bool hasArea = false; // otherwise its holes are holes in nothing
        for (std::uint32_t index = 0; index < count; ++index) {
            Path ring = TakePath();
            if (ring.size() > 1 && ring.front() == ring.back()) {
                ring.pop_back();
            }
            if (ring.size() >= 3) {
                polygon.rings.push_back(std::move(ring));
                hasArea = hasArea || index == 0;
            }
        }
        if (hasArea) {
            m_feature.polygons.push_back(std::move(polygon));
        }
    }

    std::span<const std::uint8_t> m_bytes;
    VectorFeature& m_feature;
    std::size_t m_at = 0;
    ByteOrder m_order = ByteOrder::LittleEndian; // of the geometry that is read, as the next two
    bool m_hasZ = false;
    bool m_hasM = false;
    bool m_hasElevations = false;
};

} // namespace

bool AddWkbShapes(std::span<const std::uint8_t> bytes, VectorFeature& feature) {
    WkbReader reader(bytes, feature);
    reader.ReadGeometry(0);
    return reader.HasElevations();
}

} // namespace OrrinViewer
