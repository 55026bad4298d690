#include "CloudReader.h"

#include "ReadingProgress.h"
#include "WideColors.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr std::size_t kPointsAtOnce = 4096;

template <typename Value> void DropWhenAllZero(std::vector<Value>& values) {
    const bool filled = std::any_of(values.begin(), values.end(), [](const Value& value) { return value != Value{}; });
    if (!filled) {
        values = {};
    }
}

} // namespace

PointCloud ReadAllPoints(CloudReader& reader) {
    const CloudFields fields = reader.GetFields();
    const auto count = static_cast<std::size_t>(reader.GetPointCount());
    PointCloud cloud;
    cloud.classMeaning = fields.classMeaning;
    cloud.positions.reserve(count);
    cloud.colors.reserve(fields.colors ? count : 0);
    cloud.classes.reserve(fields.classes ? count : 0);
    cloud.intensities.reserve(fields.intensities ? count : 0);

    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("reading", "points");
    WideColors colors(cloud.colors);
    std::vector<CloudPoint> points(count > 0 ? std::min(kPointsAtOnce, count) : kPointsAtOnce);
    for (std::size_t read = points.size(); read == points.size() && read > 0;) {
        read = reader.Read(points);
        for (std::size_t index = 0; index < read; ++index) {
            const CloudPoint& point = points[index];
            cloud.positions.push_back(point.position);
            cloud.extent.Include(point.position);
            if (fields.colors) {
                colors.Add(point.red, point.green, point.blue);
            }
            if (fields.classes) {
                cloud.classes.push_back(point.classNumber);
            }
            if (fields.intensities) {
                cloud.intensities.push_back(point.intensity);
            }
        }
        progress->Count(cloud.positions.size());
    }
    if (fields.zeroIsAbsent) {
        DropWhenAllZero(cloud.colors);
        DropWhenAllZero(cloud.classes);
        DropWhenAllZero(cloud.intensities);
    }
    cloud.skippedPoints = reader.CountSkipped();
    return cloud;
}

} // namespace OrrinViewer
