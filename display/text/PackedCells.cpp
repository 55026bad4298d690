#include "PackedCells.h"

#include <algorithm>
#include <cstring>

namespace KTR {

namespace {

// A picture is a row of pieces. The two upper bits of a piece's first byte say what it is, the others how many pixels
// it has, less one. Shades follow one by one.
constexpr unsigned char kBlank = 0x00;
constexpr unsigned char kInk = 0x40;
constexpr unsigned char kShades = 0x80;
constexpr unsigned char kKinds = 0xC0;
constexpr std::ptrdiff_t kMostPixels = 0x40;

constexpr unsigned char kNoInk = 0x00;
constexpr unsigned char kFullInk = 0xFF;

bool IsShade(unsigned char pixel) {
    return pixel != kNoInk && pixel != kFullInk;
}

/// Unpacks `size` pixels.
void UnpackPicture(const unsigned char* packed, unsigned char* pixels, std::size_t size) {
    const unsigned char* const end = pixels + size;
    while (pixels != end) {
        const int kind = *packed & kKinds;
        const std::size_t count = static_cast<std::size_t>(*packed - kind) + 1;
        ++packed;
        if (kind == kShades) {
            std::memcpy(pixels, packed, count);
            packed += count;
        } else {
            std::memset(pixels, kind == kInk ? kFullInk : kNoInk, count);
        }
        pixels += count;
    }
}

} // namespace

PackedCells::PackedCells(int cellWidth, int cellHeight, int columns)
    : m_cellWidth(cellWidth), m_cellHeight(cellHeight), m_columns(columns) {}

void PackedCells::Add(int width, int height, const unsigned char* pixels) {
    m_cells.push_back({m_bytes.size(), width, height});
    const unsigned char* const end = pixels + static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    while (pixels != end) {
        const unsigned char* const most = pixels + std::min(end - pixels, kMostPixels);
        const unsigned char first = *pixels;
        const unsigned char* const pieceEnd =
            IsShade(first) ? std::find_if_not(pixels, most, IsShade)
                           : std::find_if_not(pixels, most, [first](unsigned char pixel) { return pixel == first; });
        const auto count = static_cast<unsigned char>(pieceEnd - pixels - 1);
        const unsigned char kind = IsShade(first) ? kShades : first == kFullInk ? kInk : kBlank;
        m_bytes.push_back(static_cast<unsigned char>(kind | count));
        if (kind == kShades) {
            m_bytes.insert(m_bytes.end(), pixels, pieceEnd);
        }
        pixels = pieceEnd;
    }
}

void PackedCells::Finish() {
    m_cells.shrink_to_fit();
    m_bytes.shrink_to_fit();
}

void PackedCells::Unpack(int first, int count, unsigned char* rows) const {
    const std::size_t stride = static_cast<std::size_t>(m_cellWidth) * static_cast<std::size_t>(m_columns);
    std::vector<unsigned char> picture(static_cast<std::size_t>(m_cellWidth) * static_cast<std::size_t>(m_cellHeight));
    const auto columns = static_cast<std::size_t>(m_columns);
    const std::size_t begin = static_cast<std::size_t>(first / m_cellHeight) * columns;
    const std::size_t end =
        std::min((static_cast<std::size_t>((first + count - 1) / m_cellHeight) + 1) * columns, m_cells.size());
    for (std::size_t index = begin; index < end; ++index) {
        const Cell& cell = m_cells[index];
        const int top = static_cast<int>(index / columns) * m_cellHeight;
        const int firstShown = std::max(first - top, 0);
        const int endShown = std::min(first + count - top, cell.height);
        if (firstShown >= endShown || cell.width == 0) {
            continue;
        }
        const auto width = static_cast<std::size_t>(cell.width);
        UnpackPicture(m_bytes.data() + cell.begin, picture.data(), width * static_cast<std::size_t>(cell.height));
        unsigned char* const target = rows + index % columns * static_cast<std::size_t>(m_cellWidth);
        for (int row = firstShown; row < endShown; ++row) {
            std::memcpy(target + static_cast<std::size_t>(top + row - first) * stride,
                        picture.data() + static_cast<std::size_t>(row) * width, width);
        }
    }
}

} // namespace KTR
