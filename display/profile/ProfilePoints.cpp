#include "ProfilePoints.h"

namespace KTR {

std::size_t ProfilePoints::Add(const ProfileLine& line, const GLDrawGeometry* source, std::uint64_t count,
                               const PointXY& offset, double low, double high) {
    const std::size_t before = records.size();
    ProfilePlace place;
    for (std::uint64_t index = 0; index < count; ++index) {
        const GLDrawGeometry& record = source[index];
        // Heights first: the test is cheaper, and NaN fails it.
        if (record.z >= low && record.z <= high && line.Find(record.x + offset.x, record.y + offset.y, place)) {
            GLDrawGeometry& unrolled = records.emplace_back(record);
            unrolled.x = static_cast<float>(place.station);
            unrolled.y = static_cast<float>(place.offset);
            sources.push_back(handedOver + index);
            heights.Include(record.z);
        }
    }
    handedOver += count;
    return records.size() - before;
}

std::int64_t ProfilePoints::Nearest(double station, double height, double unitsPerPixelAcross, double unitsPerPixelUp,
                                    double pixels) const {
    std::int64_t nearest = -1;
    double smallest = pixels * pixels;
    for (std::size_t index = 0; index < records.size(); ++index) {
        const double across = (records[index].x - station) / unitsPerPixelAcross;
        const double up = (records[index].z - height) / unitsPerPixelUp;
        const double distance = across * across + up * up;
        if (distance <= smallest) {
            smallest = distance;
            nearest = static_cast<std::int64_t>(index);
        }
    }
    return nearest;
}

} // namespace KTR
