#pragma once

#include "../values/BasicTypes.h"
#include "../values/DrawGeometry.h"
#include "ProfileLine.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace KTR {

/// The heights that a profile shows.
struct HeightRange {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    bool IsEmpty() const { return !(low <= high); }
    void Include(double height) {
        low = height < low ? height : low;
        high = height > high ? height : high;
    }
};

/// The points of a profile, unrolled: x is the station, y the offset to the left, z the height. Colours and whatever
/// else a record has stay as they are.
struct ProfilePoints {
    std::vector<GLDrawGeometry> records;
    std::vector<std::uint64_t> sources; ///< which of all records handed over each one is
    std::uint64_t handedOver = 0;
    HeightRange heights; ///< of the records

    void Clear() { *this = {}; }
    /// Adds those of `count` records that lie in the line's band and between `low` and `high`. The records' x and y are
    /// relative to `offset`. Returns how many that are.
    std::size_t Add(const ProfileLine& line, const GLDrawGeometry* source, std::uint64_t count, const PointXY& offset,
                    double low, double high);
    /// The record nearest to a station and a height, both measured in pixels of the size given, among those within
    /// `pixels`; -1 without one. Of equals the last, which is drawn over the others.
    std::int64_t Nearest(double station, double height, double unitsPerPixelAcross, double unitsPerPixelUp,
                         double pixels) const;
};

} // namespace KTR
