#include "TileMask.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KTR {

void TileMask::Resize(int width, int height) {
    m_width = std::max(width, 0);
    m_height = std::max(height, 0);
    m_columns = (m_width + kTilePixels - 1) / kTilePixels;
    m_rows = (m_height + kTilePixels - 1) / kTilePixels;
    m_tiles.assign(static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows), 0);
}

void TileMask::Clear() {
    std::fill(m_tiles.begin(), m_tiles.end(), static_cast<unsigned char>(0));
}

void TileMask::AddAll() {
    std::fill(m_tiles.begin(), m_tiles.end(), static_cast<unsigned char>(1));
}

void TileMask::AddRectangle(double left, double top, double right, double bottom) {
    // Written so that NaN is refused too.
    if (!(left <= right && top <= bottom && right >= 0.0 && bottom >= 0.0 && left < m_width && top < m_height)) {
        return;
    }
    const auto tileAt = [](double pixel, int tiles) {
        return static_cast<int>(std::clamp(std::floor(pixel / kTilePixels), 0.0, static_cast<double>(tiles - 1)));
    };
    const int lastColumn = tileAt(right, m_columns);
    const int lastRow = tileAt(bottom, m_rows);
    for (int row = tileAt(top, m_rows); row <= lastRow; ++row) {
        for (int column = tileAt(left, m_columns); column <= lastColumn; ++column) {
            m_tiles[static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns) +
                    static_cast<std::size_t>(column)] = 1;
        }
    }
}

void TileMask::AddSegment(double x0, double y0, double x1, double y1, double reach) {
    if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1) || !(reach >= 0.0)) {
        return;
    }
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const double rise = y1 - y0;
    for (int row = 0; row < m_rows; ++row) {
        // The piece of the segment that can reach into this row of tiles.
        const double top = static_cast<double>(row) * kTilePixels;
        const double from = std::max(top - reach, y0);
        const double to = std::min(top + kTilePixels + reach, y1);
        if (from > to) {
            continue;
        }
        const double fromX = rise > 0.0 ? x0 + (x1 - x0) * ((from - y0) / rise) : x0;
        const double toX = rise > 0.0 ? x0 + (x1 - x0) * ((to - y0) / rise) : x1;
        AddRectangle(std::min(fromX, toX) - reach, top, std::max(fromX, toX) + reach, top);
    }
}

void TileMask::Add(const TileMask& other) {
    const std::size_t count = std::min(m_tiles.size(), other.m_tiles.size());
    for (std::size_t tile = 0; tile < count; ++tile) {
        m_tiles[tile] = m_tiles[tile] != 0 || other.m_tiles[tile] != 0 ? 1 : 0;
    }
}

bool TileMask::IsEmpty() const {
    return std::find(m_tiles.begin(), m_tiles.end(), static_cast<unsigned char>(1)) == m_tiles.end();
}

std::vector<PixelRectangle> TileMask::Rectangles() const {
    std::vector<PixelRectangle> rectangles;
    std::size_t aboveFirst = 0; // of the row above
    for (int row = 0; row < m_rows; ++row) {
        const std::size_t rowFirst = rectangles.size();
        const unsigned char* const tiles =
            &m_tiles[static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns)];
        for (int column = 0; column < m_columns; ++column) {
            if (tiles[column] == 0) {
                continue;
            }
            const int first = column;
            while (column < m_columns && tiles[column] != 0) {
                ++column;
            }
            rectangles.push_back({first * kTilePixels, row * kTilePixels, std::min(column * kTilePixels, m_width),
                                  std::min((row + 1) * kTilePixels, m_height)});
        }
        // A run as wide as one that ends right above goes on with that.
        for (std::size_t index = rowFirst; index < rectangles.size(); ++index) {
            const auto above = std::find_if(rectangles.begin() + static_cast<std::ptrdiff_t>(aboveFirst),
                                            rectangles.begin() + static_cast<std::ptrdiff_t>(rowFirst),
                                            [&](const PixelRectangle& candidate) {
                                                return candidate.left == rectangles[index].left &&
                                                       candidate.right == rectangles[index].right &&
                                                       candidate.bottom == rectangles[index].top;
                                            });
            if (above != rectangles.begin() + static_cast<std::ptrdiff_t>(rowFirst)) {
                rectangles[index].top = above->top;
                above->bottom = above->top; // emptied, and left out below
            }
        }
        aboveFirst = rowFirst;
    }
    std::erase_if(rectangles, [](const PixelRectangle& rectangle) { return rectangle.Height() == 0; });
    return rectangles;
}

} // namespace KTR
