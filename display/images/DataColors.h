#pragma once

#include "RasterTypes.h"

#include <cstdint>
#include <vector>

namespace KTR {

/// A rectangle of values in memory that somebody else owns. Row 0 comes first.
struct DataRows {
    unsigned int type = 0; ///< GL_UNSIGNED_SHORT, GL_SHORT or GL_FLOAT
    int width = 0;
    int height = 0;
    int rowAlignment = 1; ///< bytes: 1, 2, 4 or 8
    const void* values = nullptr;
};

/// Bytes of a value, 0 for a type that is none.
int BytesPerValue(unsigned int type);

/// True when there are values and the sizes, type and alignment are ones that can be converted.
bool IsLoadable(const DataRows& rows);

/// A style made ready: the colours of the range in 65536 steps. Takes some milliseconds to make, so keep it.
class DataColors {
public:
    explicit DataColors(const GLDataStyle& style);

    /// Writes the rectangle's colours as GL_RGBA without row padding. Values without data that show nothing take their
    /// colour from a neighbour, so that smoothing brings no fringe.
    void Convert(const DataRows& rows, unsigned char* rgba) const;

private:
    template <typename Value>
    bool ConvertRow(const unsigned char* values, std::size_t count, unsigned char* rgba) const;

    std::vector<std::uint32_t> m_colors; ///< RGBA in memory; behind the steps what has no data
    float m_low = 0.0F;
    float m_stepsPerUnit = 0.0F;
    float m_noData = 0.0F;
    float m_noDataTolerance = 0.0F;
    bool m_holes = false; ///< values without data show nothing
};

/// Whether two styles give the same colours.
bool IsSameStyle(const GLDataStyle& left, const GLDataStyle& right);

} // namespace KTR
