#pragma once

// What the cells of a font's texture show, in a small part of the texture's memory.

#include <cstddef>
#include <vector>

namespace KTR {

/// The pictures of an atlas's cells in the order of their numbers. Glyphs are long runs of blank and of ink, and most
/// of a cell is beside its glyph: a texture of 260 MB is packed into some 5 MB. Adding throws when there is no memory.
class PackedCells {
public:
    /// Every row of the texture has `columns` cells.
    PackedCells(int cellWidth, int cellHeight, int columns);

    /// Adds the next cell's picture, which lies at the cell's upper left and in it. `pixels` are without padding.
    void Add(int width, int height, const unsigned char* pixels);
    /// Adds a cell that shows what an earlier one shows.
    void AddAgain(int cell) { m_cells.push_back(Cell(m_cells[static_cast<std::size_t>(cell)])); }
    /// Gives back what was reserved for more cells.
    void Finish();

    /// Writes the texture's rows `first` to `first + count` (exclusive). A row has no padding, and `rows` is blank.
    /// Throws when there is no memory.
    void Unpack(int first, int count, unsigned char* rows) const;

private:
    struct Cell {
        std::size_t begin = 0; ///< in the packed bytes
        int width = 0;
        int height = 0;
    };

    int m_cellWidth;
    int m_cellHeight;
    int m_columns;
    std::vector<Cell> m_cells;
    std::vector<unsigned char> m_bytes;
};

} // namespace KTR
