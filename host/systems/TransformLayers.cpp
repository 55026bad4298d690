#include "TransformLayers.h"

#include "data/ReadingProgress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace OrrinViewer {

namespace {

/// False where one of the positions is not in the other system.
bool Transform(std::vector<Position>& positions, const MapTransformation& transformation, bool hasHeights,
               Extent& extent) {
    for (Position& position : positions) {
        const double height = position.z;
        position = transformation.forward(position);
        if (!IsPlace(position)) {
            return false;
        }
        position.z = hasHeights ? position.z : height;
        extent.Include(position);
    }
    return true;
}

bool Transform(VectorFeature& feature, const MapTransformation& transformation, bool hasHeights) {
    feature.extent = {};
    bool isThere = Transform(feature.points, transformation, hasHeights, feature.extent);
    for (Path& line : feature.lines) {
        isThere = isThere && Transform(line, transformation, hasHeights, feature.extent);
    }
    for (Polygon& polygon : feature.polygons) {
        for (Path& ring : polygon.rings) {
            isThere = isThere && Transform(ring, transformation, hasHeights, feature.extent);
        }
    }
    return isThere;
}

class TransformedReader final : public CloudReader {
public:
    TransformedReader(std::unique_ptr<CloudReader> reader, MapTransformation transformation, CoordinateSystem system)
        : m_reader(std::move(reader)), m_transformation(std::move(transformation)), m_system(std::move(system)) {}

    CloudFields GetFields() const override { return m_reader->GetFields(); }
    std::uint64_t GetPointCount() const override { return m_reader->GetPointCount(); }
    std::uint64_t CountSkipped() const override { return m_reader->CountSkipped() + m_skipped; }
    std::optional<double> GetShareRead() const override { return m_reader->GetShareRead(); }
    std::string GetWarning() const override { return m_reader->GetWarning(); }
    CoordinateSystem GetSystem() const override { return m_system; }
    Extent GetPromisedExtent() const override {
        return TransformExtent(m_reader->GetPromisedExtent(), m_transformation);
    }

    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t filled = 0;
        while (filled < points.size()) {
            const std::span<CloudPoint> rest = points.subspan(filled);
            const std::size_t read = m_reader->Read(rest);
            for (std::size_t index = 0; index < read; ++index) {
                rest[index].position = m_transformation.forward(rest[index].position);
                if (IsPlace(rest[index].position)) {
                    points[filled++] = rest[index];
                } else {
                    ++m_skipped;
                }
            }
            if (read < rest.size()) {
                break;
            }
        }
        return filled;
    }

private:
    std::unique_ptr<CloudReader> m_reader;
    MapTransformation m_transformation;
    CoordinateSystem m_system;
    std::uint64_t m_skipped = 0;
};

} // namespace

void Transform(VectorLayer& layer, const MapTransformation& transformation) {
    const bool hasHeights = layer.HasHeights();
    std::vector<VectorFeature> features;
    features.reserve(layer.features.size());
    layer.extent = {};
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("transforming", "features");
    for (VectorFeature& feature : layer.features) {
        progress->Count(features.size());
        progress->Reach(features.size() + 1, layer.features.size());
        if (Transform(feature, transformation, hasHeights)) {
            layer.extent.Include(feature.extent);
            features.push_back(std::move(feature));
        } else {
            ++layer.skippedFeatures;
        }
    }
    layer.features = std::move(features);
}

Extent TransformExtent(const Extent& extent, const MapTransformation& transformation) {
    constexpr int kPlaces = 20;
    Extent transformed;
    if (extent.IsEmpty()) {
        return transformed;
    }
    const Extent box = extent.WithHeights();
    for (int row = 0; row <= kPlaces; ++row) {
        for (int column = 0; column <= kPlaces; ++column) {
            const double east = static_cast<double>(column) / kPlaces;
            const double north = static_cast<double>(row) / kPlaces;
            for (const double z : {box.low.z, box.high.z}) {
                const Position place = transformation.forward(
                    {box.low.x * (1.0 - east) + box.high.x * east, box.low.y * (1.0 - north) + box.high.y * north, z});
                if (IsPlace(place)) {
                    transformed.Include(place);
                }
            }
        }
    }
    return extent.HasHeights() ? transformed : transformed.Flat();
}

ElevationGrid Transform(const ElevationGrid& grid, const MapTransformation& transformation) {
    constexpr double kMostCells = 2e7;
    ElevationGrid transformed;
    Extent outline;
    const double half = grid.cellSize * 0.5;
    const double width = static_cast<double>(grid.columns) * grid.cellSize;
    const double height = static_cast<double>(grid.rows) * grid.cellSize;
    outline.Include(Position{grid.westX - half, grid.northY + half, 0.0});
    outline.Include(Position{grid.westX - half + width, grid.northY + half - height, 0.0});
    const Extent box = TransformExtent(outline, transformation);
    if (box.IsEmpty()) {
        return transformed;
    }
    const double boxWidth = box.high.x - box.low.x;
    const double boxHeight = box.high.y - box.low.y;
    const double cells = std::min(static_cast<double>(grid.columns) * static_cast<double>(grid.rows), kMostCells);
    transformed.cellSize = std::sqrt(boxWidth * boxHeight / std::max(cells, 1.0));
    if (!(transformed.cellSize > 0.0)) {
        return {};
    }
    transformed.columns = static_cast<std::size_t>(boxWidth / transformed.cellSize) + 1;
    transformed.rows = static_cast<std::size_t>(boxHeight / transformed.cellSize) + 1;
    transformed.westX = box.low.x + transformed.cellSize * 0.5;
    transformed.northY = box.high.y - transformed.cellSize * 0.5;
    transformed.elevations.reserve(transformed.columns * transformed.rows);
    const std::shared_ptr<ReadingProgress> progress = ReadingProgress::OfThisThread();
    progress->Begin("transforming");
    for (std::size_t row = 0; row < transformed.rows; ++row) {
        progress->Reach(row, transformed.rows);
        for (std::size_t column = 0; column < transformed.columns; ++column) {
            Position place{transformed.westX + static_cast<double>(column) * transformed.cellSize,
                           transformed.northY - static_cast<double>(row) * transformed.cellSize, 0.0};
            place = transformation.backward(place);
            const double elevation = IsPlace(place) ? grid.InterpolatedAt(place.x, place.y) : kNoElevation;
            // Heights may come in another unit.
            transformed.elevations.push_back(
                std::isnan(elevation) ? kNoElevation : transformation.forward({place.x, place.y, elevation}).z);
        }
    }
    return transformed;
}

std::unique_ptr<CloudReader> TransformCloud(std::unique_ptr<CloudReader> reader, MapTransformation transformation,
                                            CoordinateSystem system) {
    return std::make_unique<TransformedReader>(std::move(reader), std::move(transformation), std::move(system));
}

} // namespace OrrinViewer
