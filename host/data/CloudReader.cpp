#include "CloudReader.h"

#include "ReadingProgress.h"
#include "WideColors.h"

#include <algorithm>
#include <memory>
#include <utility>
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

class ReaderWithoutClasses final : public CloudReader {
public:
    ReaderWithoutClasses(std::unique_ptr<CloudReader> reader, const std::bitset<256>& classes)
        : m_reader(std::move(reader)), m_classes(classes) {}

    CloudFields GetFields() const override { return m_reader->GetFields(); }
    std::uint64_t GetPointCount() const override { return m_reader->GetPointCount(); }
    Extent GetPromisedExtent() const override { return m_reader->GetPromisedExtent(); }
    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t kept = 0;
        for (bool isAtEnd = false; kept < points.size() && !isAtEnd;) {
            const std::span<CloudPoint> room = points.subspan(kept);
            const std::size_t read = m_reader->Read(room);
            isAtEnd = read < room.size();
            const auto end = std::remove_if(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(read),
                                            [&](const CloudPoint& point) { return m_classes[point.classNumber]; });
            kept += static_cast<std::size_t>(end - room.begin());
        }
        return kept;
    }
    CoordinateSystem GetSystem() const override { return m_reader->GetSystem(); }
    std::string GetWarning() const override { return m_reader->GetWarning(); }
    std::uint64_t CountSkipped() const override { return m_reader->CountSkipped(); }

private:
    std::unique_ptr<CloudReader> m_reader;
    std::bitset<256> m_classes;
};

} // namespace

std::unique_ptr<CloudReader> LeaveOutClasses(std::unique_ptr<CloudReader> reader, const std::bitset<256>& classes) {
    if (classes.none()) {
        return reader;
    }
    return std::make_unique<ReaderWithoutClasses>(std::move(reader), classes);
}

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
