#pragma once

#include "../values/BasicTypes.h"

#include <cstddef>

namespace KTR {

/// A point as a reader gives it, in the cloud's own coordinates. What a file does not have stays 0.
struct PointCloudPoint {
    PointXYZ position;
    unsigned short red = 0; ///< as recorded; what range the channels have only the host knows
    unsigned short green = 0;
    unsigned short blue = 0;
    unsigned char classNumber = 0;
    float intensity = 0.0F;
};

/// The same as the layer keeps it: its position is relative to an origin, which many points have in common.
struct PointCloudRecord {
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
    unsigned short red = 0;
    unsigned short green = 0;
    unsigned short blue = 0;
    unsigned char classNumber = 0;
    unsigned char reserved = 0;
    float intensity = 0.0F;
};
static_assert(sizeof(PointCloudRecord) == 24, "memory limits and the layer's file count on it");

/// Where the points of a layer come from; a host derives from it for each format that it knows. A layer calls it on a
/// thread of its own, from the first point to the last, once.
class PointCloudReader {
public:
    PointCloudReader() = default;
    virtual ~PointCloudReader() = default;
    PointCloudReader(const PointCloudReader&) = delete;
    PointCloudReader& operator=(const PointCloudReader&) = delete;

    /// How many points there will be; 0 where that shows only at the end. Asked once, before the first is read.
    virtual unsigned long long GetPointCount() const { return 0; }
    /// Writes the next points, at most `capacity` of them, and tells in `count` how many; none means that there are no
    /// more. S_OK, or a negative result, which ends the reading and becomes the layer's.
    virtual long Read(PointCloudPoint* points, std::size_t capacity, std::size_t& count) = 0;
    /// Called on another thread, when nobody wants the points any more: a Read that waits for something returns soon.
    virtual void Cancel() {}
};

} // namespace KTR
