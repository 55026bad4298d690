#pragma once

#include "PointCloudReader.h"

#include <glm/vec3.hpp>

#include <functional>
#include <limits>
#include <span>
#include <vector>

namespace KTR {

/// An axis-aligned box; empty, with `low` above `high`, until something is in it.
struct CloudBox {
    glm::dvec3 low{std::numeric_limits<double>::infinity()};
    glm::dvec3 high{-std::numeric_limits<double>::infinity()};

    bool IsEmpty() const { return low.x > high.x; }
    void Include(const glm::dvec3& position);
    glm::dvec3 Centre() const { return low * 0.5 + high * 0.5; }
    /// 0, 1 or 2: the axis along which it is longest.
    int LongestAxis() const;
};

/// Points that lie together. The records are relative to the origin.
struct CloudChunk {
    glm::dvec3 origin{0.0};
    CloudBox box;
    std::vector<PointCloudRecord> records;
    /// Any first part of the records is spread over the whole chunk. Otherwise they are in the reader's order.
    bool spread = false;
};

/// Makes chunks of the points that a reader gives, a run at a time: as many points as there is memory for are gathered,
/// then cut in two along the longest axis of their box, and each part again, until the parts are chunks. So a file of
/// any length and in any order needs the memory of one run only, and each run is complete in itself: its chunks can be
/// drawn, kept and written away while the next one is read. Where a file jumps about, chunks of several runs overlap.
///
/// A cloud of few points is not cut up that way: it keeps the reader's order, in which of two points at one depth the
/// first one shows.
class ChunkBuilder {
public:
    struct Settings {
        std::size_t chunkPoints = 65'536;
        std::size_t runPoints = 2'000'000;
        std::size_t pointsInOrder = 1'000'000; ///< clouds up to this size keep their order
    };
    using Take = std::function<bool(CloudChunk&&)>;

    /// `expected` is the number of points that will come; 0 where nobody knows.
    ChunkBuilder(const Settings& settings, unsigned long long expected);

    /// Gathers points; those without a finite position are left out. There must be room.
    void Add(std::span<const PointCloudPoint> points);
    /// How many more points the run takes.
    std::size_t Room() const { return m_settings.runPoints - m_points.size(); }
    bool IsEmpty() const { return m_points.empty(); }
    /// Whether this is, as far as one can tell, a small cloud.
    bool KeepsOrder() const { return m_keepsOrder; }
    unsigned long long GetTaken() const { return m_taken; }
    unsigned long long GetLeftOut() const { return m_leftOut; }
    const CloudBox& GetBox() const { return m_box; } ///< of all points so far

    /// Cuts what was gathered into chunks, and gives them away one by one until that is refused. Chunks in the reader's
    /// order are relative to `origin`, where all of them look alike; the others are relative to their own middle.
    /// False when one was refused.
    bool Cut(const glm::dvec3& origin, const Take& take);

private:
    /// A point as far as cutting needs it.
    struct Key {
        float at[3];
        unsigned int index;
    };

    struct CodedKey {
        unsigned int code;
        Key key;
    };

    static CloudBox BoxOf(std::span<const Key> keys);
    void SortWithinParts(std::span<Key> keys);
    bool CutInOrder(const glm::dvec3& origin, const Take& take) const;
    bool CutKeys(std::span<Key> keys, const Take& take);
    CloudChunk MakeSpreadChunk(std::span<Key> keys);
    unsigned int RandomBelow(unsigned int limit);

    Settings m_settings;
    bool m_keepsOrder;
    unsigned long long m_taken = 0;
    unsigned long long m_leftOut = 0;
    CloudBox m_box;
    std::vector<PointCloudPoint> m_points;
    std::vector<Key> m_keys;
    std::vector<CodedKey> m_codes; ///< scratch, of one chunk
    unsigned long long m_random = 0x9E3779B97F4A7C15ULL;
};

} // namespace KTR
