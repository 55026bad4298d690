#include "PointTextLayout.h"

#include "TextParsing.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace OrrinViewer {

namespace {

/// More columns than any table of points has.
constexpr std::size_t kMostColumns = 256;

std::string_view Trim(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::size_t last = text.find_last_not_of(kBlanks);
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string_view Unquote(std::string_view field) {
    field = Trim(field);
    const bool isQuoted =
        field.size() >= 2 && field.front() == field.back() && (field.front() == '"' || field.front() == '\'');
    return isQuoted ? Trim(field.substr(1, field.size() - 2)) : field;
}

bool IsComment(std::string_view line) {
    line = Trim(line);
    return line.starts_with('#') || line.starts_with("//") || line.starts_with('%');
}

/// Names may stand in a comment.
std::string_view WithoutCommentSign(std::string_view line) {
    line = Trim(line);
    const std::size_t name = line.find_first_not_of("#/%");
    return IsComment(line) ? Trim(line.substr(std::min(name, line.size()))) : line;
}

/// Semicolons and tabs stand in no number and rarely in a name, so that where there are any they separate.
char FindDelimiter(std::string_view line) {
    for (const char delimiter : {';', '\t', ','}) {
        if (Trim(line).find(delimiter) != std::string_view::npos) {
            return delimiter;
        }
    }
    return ' ';
}

std::size_t CountLeadingNumbers(const std::vector<std::string_view>& fields, char delimiter) {
    const auto isNumber = [delimiter](std::string_view field) { return ParseField(field, delimiter).has_value(); };
    return static_cast<std::size_t>(std::find_if_not(fields.begin(), fields.end(), isNumber) - fields.begin());
}

/// The name in lower case without what programs add to it: "Scalar_" before, a unit in brackets behind.
std::string PlainName(std::string_view name) {
    std::string plain = LowerCase(name);
    for (const std::string_view prefix : {"scalar_", "scalar ", "point_", "coord_"}) {
        if (plain.starts_with(prefix)) {
            plain.erase(0, prefix.size());
        }
    }
    return std::string(Trim(std::string_view(plain).substr(0, plain.find_first_of("([:"))));
}

using Names = std::initializer_list<std::string_view>;

std::optional<std::size_t> FindColumn(const std::vector<std::string>& names, Names wanted) {
    // The first of the wanted names wins, not the first column.
    for (const std::string_view name : wanted) {
        const auto found = std::find(names.begin(), names.end(), name);
        if (found != names.end()) {
            return static_cast<std::size_t>(found - names.begin());
        }
    }
    return std::nullopt;
}

/// What the names of columns say. Nothing without the names of two coordinates.
std::optional<PointTextLayout> LayoutOfNames(const std::vector<std::string_view>& fields) {
    std::vector<std::string> names(fields.size());
    std::transform(fields.begin(), fields.end(), names.begin(), PlainName);
    const auto x = FindColumn(
        names, {"x", "easting", "east", "e", "longitude", "lon", "long", "lng", "xcoord", "x_coord", "x_coordinate"});
    const auto y =
        FindColumn(names, {"y", "northing", "north", "n", "latitude", "lat", "ycoord", "y_coord", "y_coordinate"});
    if (!x || !y) {
        return std::nullopt;
    }
    PointTextLayout layout;
    layout.x = *x;
    layout.y = *y;
    layout.z = FindColumn(names, {"z", "elevation", "elev", "ele", "height", "altitude", "alt", "h", "zcoord",
                                  "z_coord", "z_coordinate"});
    const auto red = FindColumn(names, {"red", "r", "rf"});
    const auto green = FindColumn(names, {"green", "g", "gf"});
    const auto blue = FindColumn(names, {"blue", "b", "bf"});
    if (red && green && blue) {
        layout.color = {*red, *green, *blue};
    }
    layout.intensity = FindColumn(names, {"intensity", "reflectance", "amplitude", "i"});
    layout.classNumber = FindColumn(names, {"classification"});
    layout.isSurveyClass = layout.classNumber.has_value();
    if (!layout.classNumber) {
        layout.classNumber = FindColumn(names, {"class", "label", "c"});
    }
    return layout;
}

/// The values of some lines, each with `columns` numbers.
using Rows = std::vector<std::vector<double>>;

/// True when all values of three columns can be channels of colours, and some tell that they are more than flags.
bool LooksLikeColors(const Rows& rows, std::size_t column) {
    bool isAnyLarge = false;
    for (const std::vector<double>& row : rows) {
        for (std::size_t channel = column; channel < column + 3; ++channel) {
            if (row[channel] < 0.0 || row[channel] > 65535.0 || row[channel] != std::floor(row[channel])) {
                return false;
            }
            isAnyLarge = isAnyLarge || row[channel] > 1.0;
        }
    }
    return isAnyLarge;
}

/// What columns without names are, from what they hold.
PointTextLayout LayoutOfValues(const Rows& rows, std::size_t columns) {
    PointTextLayout layout;
    if (columns >= 3) {
        layout.z = 2;
    }
    const auto takeColors = [&](std::size_t column) {
        if (columns >= column + 3 && LooksLikeColors(rows, column)) {
            layout.color = {column, column + 1, column + 2};
        }
        return layout.color.has_value();
    };
    // Four columns, or seven: an intensity before the colours. Seven can also have it behind them, but those who write
    // such files (scanners' PTS and PTX) have it before.
    if (columns == 4 || (columns >= 7 && takeColors(4))) {
        layout.intensity = 3;
    } else {
        takeColors(3);
    }
    return layout;
}

/// Some programs write colours as fractions.
bool AreFractions(const Rows& rows, const std::array<std::size_t, 3>& columns) {
    bool isAnyBroken = false;
    for (const std::vector<double>& row : rows) {
        for (const std::size_t column : columns) {
            if (column >= row.size() || row[column] < 0.0 || row[column] > 1.0) {
                return false;
            }
            isAnyBroken = isAnyBroken || row[column] != std::floor(row[column]);
        }
    }
    return isAnyBroken;
}

std::size_t FindLastColumn(const PointTextLayout& layout) {
    std::size_t last = std::max(
        {layout.x, layout.y, layout.z.value_or(0), layout.intensity.value_or(0), layout.classNumber.value_or(0)});
    if (layout.color) {
        last = std::max({last, (*layout.color)[0], (*layout.color)[1], (*layout.color)[2]});
    }
    return last;
}

/// A count of points alone on the first line, as PTS files have it.
bool IsCount(std::string_view line) {
    const std::optional<double> count = ParseNumber(Trim(line));
    return count && *count >= 0.0 && *count == std::floor(*count);
}

} // namespace

void SplitFields(std::string_view line, char delimiter, std::size_t most, std::vector<std::string_view>& fields) {
    fields.clear();
    if (delimiter == ' ') {
        for (std::string_view word = TakeWord(line); !word.empty() && fields.size() < most; word = TakeWord(line)) {
            fields.push_back(Unquote(word));
        }
        return;
    }
    std::size_t start = 0;
    while (fields.size() < most) {
        std::size_t end = start;
        bool isQuoted = false;
        for (; end < line.size() && (isQuoted || line[end] != delimiter); ++end) {
            isQuoted = isQuoted != (line[end] == '"');
        }
        fields.push_back(Unquote(line.substr(start, end - start)));
        if (end >= line.size()) {
            return;
        }
        start = end + 1;
    }
}

std::optional<double> ParseField(std::string_view field, char delimiter) {
    const std::optional<double> value = ParseNumber(field);
    const std::size_t comma = field.find(',');
    constexpr std::size_t kLongestNumber = 64;
    if (value || comma == std::string_view::npos || delimiter == ',' || delimiter == ' ' ||
        field.size() > kLongestNumber) {
        return value;
    }
    std::array<char, kLongestNumber> pointed{};
    std::copy(field.begin(), field.end(), pointed.begin());
    pointed[comma] = '.';
    return ParseNumber({pointed.data(), field.size()});
}

std::optional<PointTextLayout> FindPointTextLayout(const std::vector<std::string>& firstLines) {
    std::vector<std::string_view> fields;
    std::optional<PointTextLayout> named;
    std::size_t namedColumns = 0;
    std::size_t line = 0;
    // To the first line of a point. Before it there may be comments, a count, and the names of the columns.
    for (; line < firstLines.size(); ++line) {
        const std::string_view text = WithoutCommentSign(firstLines[line]);
        const char delimiter = FindDelimiter(text);
        SplitFields(text, delimiter, kMostColumns, fields);
        if (text.empty() || (line == 0 && IsCount(text))) {
            continue;
        }
        const bool isNamedRow = named && fields.size() == namedColumns;
        if (!IsComment(firstLines[line]) && (isNamedRow || CountLeadingNumbers(fields, delimiter) >= 2)) {
            break;
        }
        if (auto layout = LayoutOfNames(fields)) {
            named = layout;
            namedColumns = fields.size();
        } else if (!IsComment(firstLines[line])) {
            return std::nullopt;
        }
    }
    if (line == firstLines.size()) {
        return std::nullopt;
    }

    const char delimiter = FindDelimiter(firstLines[line]);
    SplitFields(firstLines[line], delimiter, kMostColumns, fields);
    // Names that do not fit the table, as in a comment that says something else, tell nothing.
    const bool isNamed = named && namedColumns == fields.size();
    const std::size_t columns = isNamed ? fields.size() : CountLeadingNumbers(fields, delimiter);
    if (!isNamed && (columns < 2 || (columns < 3 && fields.size() != columns))) {
        return std::nullopt;
    }
    Rows rows;
    for (std::size_t row = line; row < firstLines.size(); ++row) {
        SplitFields(firstLines[row], delimiter, columns, fields);
        std::vector<double> values(fields.size());
        std::transform(fields.begin(), fields.end(), values.begin(), [delimiter](std::string_view field) {
            return ParseField(field, delimiter).value_or(std::nan(""));
        });
        if (values.size() == columns) {
            rows.push_back(std::move(values));
        }
    }
    PointTextLayout layout = isNamed ? *named : LayoutOfValues(rows, columns);
    const auto hasCoordinates = [&](const std::vector<double>& row) {
        return std::isfinite(row[layout.x]) && std::isfinite(row[layout.y]);
    };
    if (std::none_of(rows.begin(), rows.end(), hasCoordinates)) {
        return std::nullopt;
    }
    layout.delimiter = delimiter;
    layout.linesBefore = line;
    layout.colorsAreFractions = layout.color && AreFractions(rows, *layout.color);
    layout.lastColumn = FindLastColumn(layout);
    return layout;
}

} // namespace OrrinViewer
