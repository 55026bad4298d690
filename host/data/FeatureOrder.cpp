#include "FeatureOrder.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace OrrinViewer {

namespace {

constexpr unsigned int kLevels = 8;
constexpr double kCells = 1U << kLevels; // each way

unsigned int CellOf(double value, double low, double high) {
    const double share = (value - low) / (high - low);
    return share > 0.0 ? static_cast<unsigned int>(std::min(share * kCells, kCells - 1.0)) : 0; // not for NaN
}

/// The number of the cell on a curve that goes through quarter after quarter, and in each of them again.
std::size_t PlaceOnCurve(unsigned int column, unsigned int row) {
    std::size_t place = 0;
    for (unsigned int bit = kLevels; bit-- > 0;) {
        place = place << 2U | (row >> bit & 1U) << 1U | (column >> bit & 1U);
    }
    return place;
}

} // namespace

std::vector<std::uint32_t> OrderByPlace(const VectorLayer& layer) {
    const Extent& all = layer.extent;
    std::vector<std::uint32_t> cells;
    cells.reserve(layer.features.size());
    std::vector<std::uint32_t> next((std::size_t{1} << 2U * kLevels) + 1); // where the next one of a cell goes
    for (const VectorFeature& feature : layer.features) {
        const Position center = feature.extent.Center();
        const std::size_t cell =
            PlaceOnCurve(CellOf(center.x, all.low.x, all.high.x), CellOf(center.y, all.low.y, all.high.y));
        cells.push_back(static_cast<std::uint32_t>(cell));
        ++next[cell + 1];
    }
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<std::uint32_t> order(cells.size());
    for (std::size_t index = 0; index < cells.size(); ++index) {
        order[next[cells[index]]++] = static_cast<std::uint32_t>(index);
    }
    return order;
}

} // namespace OrrinViewer
