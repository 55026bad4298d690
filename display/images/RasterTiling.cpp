#include "RasterTiling.h"

#include <glm/vec4.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KTR {

namespace {

/// Scales of maps are rarely exact; a level is not given up for a hundredth of a pixel.
constexpr double kSlack = 1.01;

/// How a tile looks in the window.
struct TileView {
    bool isSeen = false;
    double pixelSize = 0.0; ///< of its largest pixel, in pixels of the window; infinite where it cannot be told
    double distance = 0.0;  ///< from the window's middle, in halves of the window
};

double LengthInPixels(const RasterCamera& camera, const glm::dvec4& from, const glm::dvec4& to) {
    const double x = (to.x / to.w - from.x / from.w) * camera.widthPixels / 2.0;
    const double y = (to.y / to.w - from.y / from.w) * camera.heightPixels / 2.0;
    return std::hypot(x, y);
}

/// All corners beyond one of the six planes: nothing of it is seen.
bool IsOutside(const glm::dvec4 (&corners)[4]) {
    for (int axis = 0; axis < 3; ++axis) {
        const auto below = [axis](const glm::dvec4& corner) { return corner[axis] < -corner.w; };
        const auto above = [axis](const glm::dvec4& corner) { return corner[axis] > corner.w; };
        if (std::all_of(std::begin(corners), std::end(corners), below) ||
            std::all_of(std::begin(corners), std::end(corners), above)) {
            return true;
        }
    }
    return false;
}

TileView LookAt(const RasterGrid& grid, const RasterCamera& camera, const RasterTile& tile) {
    const RasterArea area = grid.AreaOf(tile);
    const std::pair<double, double> places[] = {
        {area.left, area.top}, {area.right, area.top}, {area.right, area.bottom}, {area.left, area.bottom}};
    glm::dvec4 corners[4];
    for (int corner = 0; corner < 4; ++corner) {
        const PointXYZ place = camera.PlaceOf(places[corner].first, places[corner].second);
        corners[corner] = camera.modelToClip * glm::dvec4(place.x, place.y, place.z, 1.0);
        const glm::dvec4& clip = corners[corner];
        if (!std::isfinite(clip.x + clip.y + clip.z + clip.w)) {
            return {};
        }
    }
    if (IsOutside(corners)) {
        return {};
    }
    TileView view{true, std::numeric_limits<double>::infinity(), 0.0};
    if (std::any_of(std::begin(corners), std::end(corners), [](const glm::dvec4& corner) { return corner.w <= 0.0; })) {
        return view; // reaches behind the eye
    }
    const double step = std::ldexp(1.0, tile.level);
    const double columns = (area.right - area.left) / step;
    const double rows = (area.bottom - area.top) / step;
    view.pixelSize = std::max({LengthInPixels(camera, corners[0], corners[1]) / columns,
                               LengthInPixels(camera, corners[3], corners[2]) / columns,
                               LengthInPixels(camera, corners[0], corners[3]) / rows,
                               LengthInPixels(camera, corners[1], corners[2]) / rows});
    const glm::dvec4 middle = (corners[0] + corners[1] + corners[2] + corners[3]) / 4.0;
    view.distance = std::hypot(middle.x / middle.w, middle.y / middle.w);
    return view;
}

/// Collects what is seen of a tile, in tiles whose pixels are no larger than `largestPixel`; false when there are too
/// many.
class TileCollector {
public:
    TileCollector(const RasterGrid& grid, const RasterCamera& camera, std::size_t maximum)
        : m_grid(grid), m_camera(camera), m_maximum(maximum) {}

    bool Collect(double largestPixel) {
        m_found.clear();
        m_largestPixel = largestPixel;
        return Add(m_grid.Root());
    }
    std::vector<RasterTile> NearestFirst() {
        std::sort(m_found.begin(), m_found.end());
        std::vector<RasterTile> tiles;
        for (const auto& [distance, tile] : m_found) {
            tiles.push_back(tile);
        }
        return tiles;
    }

private:
    bool Add(const RasterTile& tile) {
        const TileView view = LookAt(m_grid, m_camera, tile);
        if (!view.isSeen) {
            return true;
        }
        if (tile.level == 0 || view.pixelSize <= m_largestPixel) {
            m_found.emplace_back(view.distance, tile);
            return m_found.size() <= m_maximum;
        }
        for (const int row : {0, 1}) {
            for (const int column : {0, 1}) {
                const RasterTile child{tile.level - 1, tile.column * 2 + column, tile.row * 2 + row};
                if (m_grid.Contains(child) && !Add(child)) {
                    return false;
                }
            }
        }
        return true;
    }

    const RasterGrid& m_grid;
    const RasterCamera& m_camera;
    std::size_t m_maximum;
    double m_largestPixel = 0.0;
    std::vector<std::pair<double, RasterTile>> m_found;
};

/// The inverse of a placement: from the model to columns and rows. Not usable where the placement has no area.
class ModelToPixels {
public:
    explicit ModelToPixels(const GLRasterPlacement& placement)
        : m_placement(placement),
          m_determinant(placement.columnX * placement.rowY - placement.rowX * placement.columnY) {}

    bool IsUsable() const { return std::isfinite(1.0 / m_determinant); }
    double ColumnAt(double x, double y) const {
        return (m_placement.rowY * (x - m_placement.originX) - m_placement.rowX * (y - m_placement.originY)) /
               m_determinant;
    }
    double RowAt(double x, double y) const {
        return (m_placement.columnX * (y - m_placement.originY) - m_placement.columnY * (x - m_placement.originX)) /
               m_determinant;
    }

private:
    const GLRasterPlacement& m_placement;
    double m_determinant;
};

using Polygon = std::vector<SharedCorner>;

SharedCorner Between(const SharedCorner& from, const SharedCorner& to, double share) {
    const auto mix = [share](double one, double other) { return one + (other - one) * share; };
    return {mix(from.firstColumn, to.firstColumn), mix(from.firstRow, to.firstRow),
            mix(from.secondColumn, to.secondColumn), mix(from.secondRow, to.secondRow)};
}

/// Cuts a convex polygon where a coordinate has a value: what is below it, and what is above. Either may be empty.
std::pair<Polygon, Polygon> Cut(const Polygon& polygon, double SharedCorner::*coordinate, double value) {
    std::pair<Polygon, Polygon> halves;
    for (std::size_t index = 0; index < polygon.size(); ++index) {
        const SharedCorner& corner = polygon[index];
        const SharedCorner& next = polygon[(index + 1) % polygon.size()];
        const double here = corner.*coordinate - value;
        const double there = next.*coordinate - value;
        if (here <= 0.0) {
            halves.first.push_back(corner);
        }
        if (here >= 0.0) {
            halves.second.push_back(corner);
        }
        if ((here < 0.0 && there > 0.0) || (here > 0.0 && there < 0.0)) {
            // Reckoned from the lower side, so that who cuts the edge from its other end finds the same corner.
            const SharedCorner crossing = here < 0.0 ? Between(corner, next, here / (here - there))
                                                     : Between(next, corner, there / (there - here));
            halves.first.push_back(crossing);
            halves.second.push_back(crossing);
        }
    }
    return halves;
}

class TileCutter {
public:
    TileCutter(const RasterGrid& grid, const std::vector<RasterTile>& tiles, std::vector<SharedPiece>& pieces)
        : m_grid(grid), m_pieces(pieces), m_tiles(tiles.begin(), tiles.end()) {
        for (const RasterTile& tile : tiles) {
            for (RasterTile above = tile; above.level < grid.Root().level;) {
                above = above.Parent();
                m_above.insert(above);
            }
        }
    }

    /// Cuts off what lies outside of the raster, then cuts the rest tile by tile.
    void CutOff(Polygon polygon) {
        const RasterArea all = m_grid.AreaOf(m_grid.Root());
        polygon = KeepAbove(polygon, &SharedCorner::secondColumn, all.left);
        polygon = KeepBelow(polygon, &SharedCorner::secondColumn, all.right);
        polygon = KeepAbove(polygon, &SharedCorner::secondRow, all.top);
        polygon = KeepBelow(polygon, &SharedCorner::secondRow, all.bottom);
        CutTile(polygon, m_grid.Root());
    }

private:
    Polygon KeepAbove(const Polygon& polygon, double SharedCorner::*coordinate, double value) {
        auto [below, above] = Cut(polygon, coordinate, value);
        AddAlone(below);
        return above;
    }
    Polygon KeepBelow(const Polygon& polygon, double SharedCorner::*coordinate, double value) {
        auto [below, above] = Cut(polygon, coordinate, value);
        AddAlone(above);
        return below;
    }
    void AddAlone(const Polygon& polygon) {
        if (polygon.size() > 2) {
            m_pieces.push_back({polygon, false, {}});
        }
    }
    void CutTile(const Polygon& polygon, const RasterTile& tile) {
        if (polygon.size() < 3) {
            return;
        }
        if (m_tiles.contains(tile)) {
            m_pieces.push_back({polygon, true, tile});
            return;
        }
        if (!m_above.contains(tile)) {
            AddAlone(polygon);
            return;
        }
        const double side = std::ldexp(kTileSide, tile.level - 1);
        const auto [left, right] = Cut(polygon, &SharedCorner::secondColumn, side * (tile.column * 2 + 1));
        int column = tile.column * 2;
        for (const Polygon& half : {left, right}) {
            const auto [upper, lower] = Cut(half, &SharedCorner::secondRow, side * (tile.row * 2 + 1));
            CutTile(upper, {tile.level - 1, column, tile.row * 2});
            CutTile(lower, {tile.level - 1, column, tile.row * 2 + 1});
            ++column;
        }
    }

    const RasterGrid& m_grid;
    std::vector<SharedPiece>& m_pieces;
    std::set<RasterTile> m_tiles;
    std::set<RasterTile> m_above;
};

} // namespace

RasterGrid::RasterGrid(int width, int height) : m_width(width), m_height(height) {
    while (LevelWidth(m_levelCount - 1) > kTileSide || LevelHeight(m_levelCount - 1) > kTileSide) {
        ++m_levelCount;
    }
}

int RasterGrid::SizeAt(int size, int level) {
    const long long step = 1LL << level;
    return static_cast<int>((size + step - 1) / step);
}

bool RasterGrid::Contains(const RasterTile& tile) const {
    return tile.level >= 0 && tile.level < m_levelCount && tile.column >= 0 && tile.row >= 0 &&
           static_cast<long long>(tile.column) * kTileSide < LevelWidth(tile.level) &&
           static_cast<long long>(tile.row) * kTileSide < LevelHeight(tile.level);
}

RasterArea RasterGrid::AreaOf(const RasterTile& tile) const {
    const double side = std::ldexp(kTileSide, tile.level);
    return {tile.column * side, tile.row * side, std::min((tile.column + 1) * side, static_cast<double>(m_width)),
            std::min((tile.row + 1) * side, static_cast<double>(m_height))};
}

GLRasterWindow RasterGrid::WindowOf(const RasterTile& tile) const {
    const int left = tile.column * kTileSide;
    const int top = tile.row * kTileSide;
    const int x = std::max(left - 1, 0);
    const int y = std::max(top - 1, 0);
    // From what is left of the level, which does not overflow at its end.
    const int right = std::min(LevelWidth(tile.level) - left, kTileSide + 1) + left;
    const int bottom = std::min(LevelHeight(tile.level) - top, kTileSide + 1) + top;
    return {tile.level, x, y, right - x, bottom - y};
}

std::vector<RasterTile> SelectTiles(const RasterGrid& grid, const RasterCamera& camera, std::size_t maximum) {
    TileCollector collector(grid, camera, std::max<std::size_t>(maximum, 1));
    double largestPixel = kSlack;
    // At the latest when every pixel is small enough the root alone remains; what reaches behind the eye has no size.
    for (int level = 0; level <= grid.LevelCount() + 16; ++level, largestPixel *= 2.0) {
        if (collector.Collect(largestPixel)) {
            return collector.NearestFirst();
        }
    }
    return {grid.Root()};
}

std::vector<RasterTile> ReadingOrder(const RasterGrid& grid, const std::vector<RasterTile>& tiles) {
    std::vector<RasterTile> order = tiles;
    std::set<RasterTile> known(tiles.begin(), tiles.end());
    const int top = grid.Root().level;
    for (const RasterTile& tile : tiles) {
        RasterTile above = tile;
        while (above.level < top) {
            above = above.Parent();
            const bool reads = above.level == top || (above.level - tile.level) % 2 == 0;
            if (reads && known.insert(above).second) {
                order.push_back(above);
            }
        }
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const RasterTile& one, const RasterTile& other) { return one.level > other.level; });
    return order;
}

TileOutlines::TileOutlines(const RasterGrid& grid, const std::vector<RasterTile>& tiles) : m_grid(grid) {
    m_mixed = std::any_of(tiles.begin(), tiles.end(),
                          [&tiles](const RasterTile& tile) { return tile.level != tiles.front().level; });
    if (!m_mixed) {
        return;
    }
    for (const RasterTile& tile : tiles) {
        const RasterArea area = grid.AreaOf(tile);
        for (const double column : {area.left, area.right}) {
            for (const double row : {area.top, area.bottom}) {
                m_byColumn.emplace(column, row);
                m_byRow.emplace(row, column);
            }
        }
    }
}

std::vector<PointXY> TileOutlines::OutlineOf(const RasterTile& tile) const {
    const RasterArea area = m_grid.AreaOf(tile);
    if (!m_mixed) {
        return {{area.left, area.top}, {area.right, area.top}, {area.right, area.bottom}, {area.left, area.bottom}};
    }
    // The corners on an edge, its ends included.
    const auto onEdge = [](const std::set<std::pair<double, double>>& corners, double line, double from, double to) {
        std::vector<double> places;
        for (auto corner = corners.lower_bound({line, from}); corner != corners.upper_bound({line, to}); ++corner) {
            places.push_back(corner->second);
        }
        return places;
    };
    std::vector<double> upper = onEdge(m_byRow, area.top, area.left, area.right);
    std::vector<double> right = onEdge(m_byColumn, area.right, area.top, area.bottom);
    std::vector<double> lower = onEdge(m_byRow, area.bottom, area.left, area.right);
    std::vector<double> left = onEdge(m_byColumn, area.left, area.top, area.bottom);
    std::vector<PointXY> outline;
    for (std::size_t index = 0; index + 1 < upper.size(); ++index) {
        outline.push_back({upper[index], area.top});
    }
    for (std::size_t index = 0; index + 1 < right.size(); ++index) {
        outline.push_back({area.right, right[index]});
    }
    for (std::size_t index = lower.size(); index-- > 1;) {
        outline.push_back({lower[index], area.bottom});
    }
    for (std::size_t index = left.size(); index-- > 1;) {
        outline.push_back({area.left, left[index]});
    }
    return outline;
}

std::vector<SharedPiece> CutAlongTiles(const std::vector<PointXY>& outline, const GLRasterPlacement& first,
                                       const RasterGrid& secondGrid, const GLRasterPlacement& second,
                                       const std::vector<RasterTile>& secondTiles) {
    const ModelToPixels toSecond(second);
    Polygon polygon;
    for (const PointXY& corner : outline) {
        const double x = first.originX + first.columnX * corner.x + first.rowX * corner.y;
        const double y = first.originY + first.columnY * corner.x + first.rowY * corner.y;
        polygon.push_back({corner.x, corner.y, toSecond.ColumnAt(x, y), toSecond.RowAt(x, y)});
    }
    std::vector<SharedPiece> pieces;
    if (!toSecond.IsUsable() || secondTiles.empty()) {
        pieces.push_back({polygon, false, {}});
        return pieces;
    }
    TileCutter(secondGrid, secondTiles, pieces).CutOff(polygon);
    return pieces;
}

} // namespace KTR
