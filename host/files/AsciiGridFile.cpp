#include "AsciiGridFile.h"

#include "FileError.h"
#include "InputFile.h"
#include "TextParsing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace OrrinViewer {

namespace {

/// A row of a hundred thousand cells is one line of the usual programs.
constexpr std::size_t kLongestLine = 1u << 24;

struct HeaderEntry {
    std::string_view name;
    std::optional<double> value;
};

/// The entries of a header. A corner is either the outer one of the south-western cell or that cell's centre.
struct Header {
    std::array<HeaderEntry, 8> entries = {{{"ncols", {}},
                                           {"nrows", {}},
                                           {"xllcorner", {}},
                                           {"yllcorner", {}},
                                           {"xllcenter", {}},
                                           {"yllcenter", {}},
                                           {"cellsize", {}},
                                           {"nodata_value", {}}}};

    std::optional<double>& Value(std::string_view name) {
        const auto found =
            std::find_if(entries.begin(), entries.end(), [&](const HeaderEntry& entry) { return entry.name == name; });
        return found->value;
    }
};

/// Reads the words of the file one after another; where the lines end does not matter.
class GridReader {
public:
    explicit GridReader(const std::filesystem::path& path) : m_file(path) {}

    ElevationGrid Read() {
        ReadingProgress::OfThisThread()->Begin("reading");
        Header header = ReadHeader();
        ElevationGrid grid;
        grid.columns = TakeCount(header, "ncols");
        grid.rows = TakeCount(header, "nrows");
        grid.cellSize = Require(header, "cellsize");
        if (!(grid.cellSize > 0.0)) {
            m_file.Fail("its cells have no size: cellsize is not above 0");
        }
        grid.westX = TakeCorner(header, "xllcorner", "xllcenter", grid.cellSize);
        grid.northY = TakeCorner(header, "yllcorner", "yllcenter", grid.cellSize) +
                      static_cast<double>(grid.rows - 1) * grid.cellSize;
        RefuseMoreCellsThanTheFileHolds(grid);
        RequirePlaces(grid);
        ReadElevations(grid, header.Value("nodata_value"));
        return grid;
    }

private:
    /// Up to the first word that is a number; that one stays in `m_word`.
    Header ReadHeader() {
        Header header;
        while (NextWord() && !ParseNumber(m_word)) {
            const std::string name = LowerCase(m_word);
            const auto entry = std::find_if(header.entries.begin(), header.entries.end(),
                                            [&](const HeaderEntry& known) { return known.name == name; });
            if (entry == header.entries.end()) {
                m_file.FailAtLine(QuoteForMessage(m_word) + " is neither a number nor an entry of a grid's header");
            }
            if (!NextWord()) {
                m_file.Fail("ends in the middle of its header, after " + QuoteForMessage(name));
            }
            entry->value = ParseNumber(m_word);
            if (!entry->value) {
                m_file.FailAtLine(QuoteForMessage(m_word) + " is not a number");
            }
        }
        return header;
    }

    double Require(Header& header, std::string_view name) const {
        const std::optional<double> value = header.Value(name);
        if (!value || !std::isfinite(*value)) {
            m_file.Fail("its header lacks " + std::string(name));
        }
        return *value;
    }

    std::size_t TakeCount(Header& header, std::string_view name) const {
        constexpr double kMostCells = 1e9;
        const double count = Require(header, name);
        if (!(count >= 1.0 && count <= kMostCells) || count != std::floor(count)) {
            m_file.Fail(std::string(name) + " is not a number of cells");
        }
        return static_cast<std::size_t>(count);
    }

    double TakeCorner(Header& header, std::string_view corner, std::string_view center, double cellSize) const {
        return header.Value(center) ? Require(header, center) : Require(header, corner) + cellSize * 0.5;
    }

    /// A value takes a digit and the blank after it. Asked before any memory is taken for the cells.
    void RefuseMoreCellsThanTheFileHolds(const ElevationGrid& grid) const {
        const std::uint64_t cells = std::uint64_t{grid.columns} * grid.rows;
        if (cells > m_file.Size() / 2) {
            m_file.Fail("promises " + std::to_string(cells) + " cells, more than its " + std::to_string(m_file.Size()) +
                        " bytes can hold");
        }
    }

    void RequirePlaces(const ElevationGrid& grid) const {
        const double columns = static_cast<double>(grid.columns);
        const double rows = static_cast<double>(grid.rows);
        for (const Position& corner :
             {Position{grid.westX, grid.northY, 0.0},
              {grid.westX + columns * grid.cellSize, grid.northY - rows * grid.cellSize, 0.0}}) {
            if (!IsPlace(corner)) {
                m_file.Fail("its header " + SayFarAway(corner));
            }
        }
    }

    /// What is beyond any coordinate stands for no elevation: programs write the smallest float into cells, and into
    /// the header a number that is not quite the same.
    void ReadElevations(ElevationGrid& grid, const std::optional<double>& noData) {
        const std::size_t cells = grid.columns * grid.rows;
        grid.elevations.reserve(cells);
        for (; !m_word.empty(); NextWord()) {
            if (grid.elevations.size() == cells) {
                m_file.FailAtLine("more values than the " + std::to_string(cells) + " cells of the header");
            }
            const std::optional<double> value = ParseNumber(m_word);
            if (!value) {
                m_file.FailAtLine(QuoteForMessage(m_word) + " is not a number");
            }
            const bool isElevation = IsCoordinate(*value) && !(noData && *value == *noData);
            grid.elevations.push_back(isElevation ? *value : kNoElevation);
        }
        if (grid.elevations.size() < cells) {
            m_file.Fail("ends after " + std::to_string(grid.elevations.size()) + " of " + std::to_string(cells) +
                        " cells");
        }
    }

    /// Moves to the next word; at the end of the file there is none, and the word is empty.
    bool NextWord() {
        m_word = TakeWord(m_rest);
        while (m_word.empty()) {
            if (!m_file.ReadLine(m_line, kLongestLine)) {
                return false;
            }
            m_rest = m_line;
            m_word = TakeWord(m_rest);
        }
        return true;
    }

    InputFile m_file;
    std::string m_line;
    std::string_view m_rest; // what of m_line has not been taken yet
    std::string_view m_word;
};

} // namespace

bool BeginsLikeAsciiGrid(std::string_view beginning) {
    beginning.remove_prefix(std::min(beginning.find_first_not_of(" \t\r\n"), beginning.size()));
    const std::string word = LowerCase(beginning.substr(0, beginning.find_first_of(" \t")));
    return word == "ncols" || word == "nrows";
}

ElevationGrid ReadAsciiGridFile(const std::filesystem::path& path) {
    return GridReader(path).Read();
}

} // namespace OrrinViewer
