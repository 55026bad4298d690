#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OrrinViewer {

/// How the lines of a text of points are to be understood.
struct PointTextLayout {
    char delimiter = ' ';        ///< ' ' stands for blanks of any kind and number
    std::size_t linesBefore = 0; ///< the first point
    std::size_t x = 0;           ///< columns, counted from 0
    std::size_t y = 1;
    std::optional<std::size_t> z;
    std::optional<std::array<std::size_t, 3>> color;
    std::optional<std::size_t> intensity;
    std::optional<std::size_t> classNumber;
    bool isSurveyClass = false; ///< the class is one of the list that airborne surveys share
    bool colorsAreFractions = false;
    bool areDegrees = false;    ///< the columns are named longitude and latitude
    std::size_t lastColumn = 1; ///< of those that are used
};

/// The fields of a line, without blanks and quotes around them; `most` of them at most. Points into `line`.
void SplitFields(std::string_view line, char delimiter, std::size_t most, std::vector<std::string_view>& fields);

/// A number with a decimal point, or between semicolons and tabs a decimal comma.
std::optional<double> ParseField(std::string_view field, char delimiter);

/// What the first lines of a file say. Nothing where they are no points.
std::optional<PointTextLayout> FindPointTextLayout(const std::vector<std::string>& firstLines);

} // namespace OrrinViewer
