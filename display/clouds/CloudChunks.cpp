#include "CloudChunks.h"

#include <glm/common.hpp>

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

glm::dvec3 PlaceOf(const PointCloudPoint& point) {
    return {point.position.x, point.position.y, point.position.z};
}

PointCloudRecord RecordOf(const PointCloudPoint& point, const glm::dvec3& origin) {
    PointCloudRecord record;
    record.x = static_cast<float>(point.position.x - origin.x);
    record.y = static_cast<float>(point.position.y - origin.y);
    record.z = static_cast<float>(point.position.z - origin.z);
    record.red = point.red;
    record.green = point.green;
    record.blue = point.blue;
    record.classNumber = point.classNumber;
    record.intensity = point.intensity;
    return record;
}

/// Ten bits, each three places from the next.
unsigned int SpreadBits(unsigned int bits) {
    bits = (bits | bits << 16) & 0x030000FFU;
    bits = (bits | bits << 8) & 0x0300F00FU;
    bits = (bits | bits << 4) & 0x030C30C3U;
    return (bits | bits << 2) & 0x09249249U;
}

/// The place of a cell, from 0 to 1023 along each axis, on the Morton curve.
unsigned int MortonCode(const glm::dvec3& cell) {
    return SpreadBits(static_cast<unsigned int>(cell.x)) | SpreadBits(static_cast<unsigned int>(cell.y)) << 1 |
           SpreadBits(static_cast<unsigned int>(cell.z)) << 2;
}

} // namespace

void CloudBox::Include(const glm::dvec3& position) {
    low = glm::min(low, position);
    high = glm::max(high, position);
}

int CloudBox::LongestAxis() const {
    const glm::dvec3 size = high - low;
    const int ofGround = size.x >= size.y ? 0 : 1;
    return size[ofGround] >= size.z ? ofGround : 2;
}

ChunkBuilder::ChunkBuilder(const Settings& settings, unsigned long long expected)
    : m_settings(settings), m_keepsOrder(expected <= settings.pointsInOrder) {}

void ChunkBuilder::Add(std::span<const PointCloudPoint> points) {
    for (const PointCloudPoint& point : points) {
        const glm::dvec3 place = PlaceOf(point);
        if (!std::isfinite(place.x) || !std::isfinite(place.y) || !std::isfinite(place.z)) {
            ++m_leftOut;
            continue;
        }
        m_box.Include(place);
        m_points.push_back(point);
        ++m_taken;
    }
    m_keepsOrder = m_keepsOrder && m_taken <= m_settings.pointsInOrder;
}

bool ChunkBuilder::Cut(const glm::dvec3& origin, const Take& take) {
    if (m_points.empty()) {
        return true;
    }
    bool taken = false;
    if (m_keepsOrder) {
        taken = CutInOrder(origin, take);
    } else {
        // Where to cut need not be known better than to a float.
        const glm::dvec3 middle = m_box.Centre();
        m_keys.clear();
        m_keys.reserve(m_points.size());
        for (std::size_t index = 0; index < m_points.size(); ++index) {
            const glm::vec3 at(PlaceOf(m_points[index]) - middle);
            m_keys.push_back({{at.x, at.y, at.z}, static_cast<unsigned int>(index)});
        }
        taken = CutKeys(m_keys, take);
    }
    m_points.clear();
    return taken;
}

bool ChunkBuilder::CutInOrder(const glm::dvec3& origin, const Take& take) const {
    for (std::size_t first = 0; first < m_points.size(); first += m_settings.chunkPoints) {
        const std::size_t end = std::min(first + m_settings.chunkPoints, m_points.size());
        CloudChunk chunk;
        chunk.origin = origin;
        chunk.records.reserve(end - first);
        for (std::size_t index = first; index < end; ++index) {
            chunk.box.Include(PlaceOf(m_points[index]));
            chunk.records.push_back(RecordOf(m_points[index], origin));
        }
        if (!take(std::move(chunk))) {
            return false;
        }
    }
    return true;
}

CloudBox ChunkBuilder::BoxOf(std::span<const Key> keys) {
    CloudBox box;
    for (const Key& key : keys) {
        box.Include({key.at[0], key.at[1], key.at[2]});
    }
    return box;
}

bool ChunkBuilder::CutKeys(std::span<Key> keys, const Take& take) {
    const std::size_t chunks = (keys.size() + m_settings.chunkPoints - 1) / m_settings.chunkPoints;
    if (chunks <= 1) {
        return take(MakeSpreadChunk(keys));
    }
    const int axis = BoxOf(keys).LongestAxis();
    // Parts of whole chunks, so that all chunks are about equally full.
    const std::size_t middle = keys.size() * (chunks / 2) / chunks;
    std::nth_element(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(middle), keys.end(),
                     [axis](const Key& left, const Key& right) { return left.at[axis] < right.at[axis]; });
    return CutKeys(keys.first(middle), take) && CutKeys(keys.subspan(middle), take);
}

CloudChunk ChunkBuilder::MakeSpreadChunk(std::span<Key> keys) {
    // A shuffled deck: its upper part, however thin, is from all over it.
    for (std::size_t left = keys.size(); left > 1; --left) {
        std::swap(keys[left - 1], keys[RandomBelow(static_cast<unsigned int>(left))]);
    }
    SortWithinParts(keys);
    CloudChunk chunk;
    chunk.spread = true;
    for (const Key& key : keys) {
        chunk.box.Include(PlaceOf(m_points[key.index]));
    }
    chunk.origin = chunk.box.Centre();
    chunk.records.reserve(keys.size());
    for (const Key& key : keys) {
        chunk.records.push_back(RecordOf(m_points[key.index], chunk.origin));
    }
    return chunk;
}

/// Points that follow each other are to lie near each other, for whoever rasterizes them. So the deck is sorted, in
/// parts, each a quarter of what is before it: an upper part of the deck that ends within one of them is still from all
/// over it, but for a fifth.
void ChunkBuilder::SortWithinParts(std::span<Key> keys) {
    constexpr std::size_t kFirstPart = 64;
    const CloudBox box = BoxOf(keys);
    const glm::dvec3 size = box.high - box.low;
    const double longest = std::max({size.x, size.y, size.z});
    const double scale = longest > 0.0 ? 1023.0 / longest : 0.0;
    m_codes.clear();
    for (const Key& key : keys) {
        const glm::dvec3 cell = (glm::dvec3(key.at[0], key.at[1], key.at[2]) - box.low) * scale;
        m_codes.push_back({MortonCode(cell), key});
    }
    for (std::size_t begin = 0; begin < keys.size();) {
        const std::size_t end = std::min(keys.size(), begin + std::max(kFirstPart, begin / 4));
        std::sort(m_codes.begin() + static_cast<std::ptrdiff_t>(begin),
                  m_codes.begin() + static_cast<std::ptrdiff_t>(end),
                  [](const CodedKey& left, const CodedKey& right) { return left.code < right.code; });
        begin = end;
    }
    std::transform(m_codes.begin(), m_codes.end(), keys.begin(), [](const CodedKey& coded) { return coded.key; });
}

/// The same numbers on each machine, so that two runs of a program show the same.
unsigned int ChunkBuilder::RandomBelow(unsigned int limit) {
    m_random ^= m_random << 13;
    m_random ^= m_random >> 7;
    m_random ^= m_random << 17;
    return static_cast<unsigned int>(((m_random >> 32) * limit) >> 32);
}

} // namespace KTR
