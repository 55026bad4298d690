#pragma once

// Pictures of text as a person can read and compare them: one line for each row, the upper first, one character for
// each pixel, '.' for none and '1' to 'f' for the sixteenths of full brightness.

#include "Picture.h"

#include <cstdlib>
#include <fstream>

/// Brightness of the red channel.
inline std::vector<std::string> CoverageRows(const Picture& picture) {
    std::vector<std::string> rows;
    for (int y = picture.height - 1; y >= 0; --y) {
        std::string row;
        for (int x = 0; x < picture.width; ++x) {
            const int level = (picture.At(x, y).r + 8) / 17;
            row += level == 0 ? '.' : "0123456789abcdef"[level];
        }
        row.erase(row.find_last_not_of('.') + 1);
        rows.push_back(row);
    }
    return rows;
}

inline int CoverageLevel(const std::string& row, std::size_t x) {
    return x >= row.size() || row[x] == '.'
               ? 0
               : static_cast<int>(std::strtol(std::string(1, row[x]).c_str(), nullptr, 16));
}

/// Compares with the rows kept under `name`; `step` is how many sixteenths a pixel may be off. With
/// ORRIN_WRITE_GOLDEN=1 in the environment the rows are written instead, to be looked at and committed.
inline void ExpectGolden(const std::string& name, const std::vector<std::string>& rows, int step) {
    const std::string path = std::string(ORRIN_GOLDEN_FOLDER) + "/" + name + ".txt";
    if (std::getenv("ORRIN_WRITE_GOLDEN")) {
        std::ofstream stream(path, std::ios::binary);
        for (const std::string& row : rows) {
            stream << row << '\n';
        }
        return;
    }
    std::ifstream stream(path, std::ios::binary);
    ASSERT_TRUE(stream) << path;
    int differences = 0;
    std::string golden;
    std::string drawn;
    for (const std::string& row : rows) {
        std::string wanted;
        std::getline(stream, wanted);
        golden += wanted + "\n";
        drawn += row + "\n";
        for (std::size_t x = 0; x < std::max(row.size(), wanted.size()); ++x) {
            differences += std::abs(CoverageLevel(row, x) - CoverageLevel(wanted, x)) > step ? 1 : 0;
        }
    }
    EXPECT_EQ(differences, 0) << "wanted\n" << golden << "drawn\n" << drawn;
}
