#include "PointTextFile.h"

#include "FileError.h"
#include "InputFile.h"
#include "PointTextLayout.h"
#include "TextParsing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr std::size_t kLongestLine = 1u << 16;
/// That decide about the layout.
constexpr std::size_t kFirstLines = 64;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void RemoveByteOrderMark(std::string& line) {
    if (line.starts_with(kByteOrderMark)) {
        line.erase(0, kByteOrderMark.size());
    }
}

PointTextLayout ReadLayout(const std::filesystem::path& path) {
    InputFile file(path);
    std::vector<std::string> lines;
    std::string line;
    while (lines.size() < kFirstLines && file.ReadLine(line, kLongestLine)) {
        lines.push_back(line);
    }
    RemoveByteOrderMark(lines.front());
    const std::optional<PointTextLayout> layout = FindPointTextLayout(lines);
    if (!layout) {
        file.Fail("has neither lines of coordinates nor columns named x and y, easting and northing, or longitude and "
                  "latitude; a table without coordinates is not shown");
    }
    return *layout;
}

std::uint16_t Channel(double value, bool isFraction) {
    const double scaled = std::round(isFraction ? value * 65535.0 : value);
    return scaled > 0.0 ? static_cast<std::uint16_t>(std::min(scaled, 65535.0)) : std::uint16_t{0};
}

class PointTextReader final : public CloudReader {
public:
    explicit PointTextReader(const std::filesystem::path& path) : m_layout(ReadLayout(path)), m_file(path) {
        for (std::size_t line = 0; line < m_layout.linesBefore; ++line) {
            m_file.ReadLine(m_line, kLongestLine);
        }
    }

    CloudFields GetFields() const override {
        return {.colors = m_layout.color.has_value(),
                .classes = m_layout.classNumber.has_value(),
                .intensities = m_layout.intensity.has_value(),
                .classMeaning = m_layout.isSurveyClass ? ClassMeaning::Survey : ClassMeaning::Labels};
    }
    std::uint64_t GetPointCount() const override { return 0; }
    CoordinateSystem GetSystem() const override {
        CoordinateSystem system;
        if (m_layout.areDegrees) {
            system.units = MapUnits::Degrees;
        }
        return system;
    }
    std::uint64_t CountSkipped() const override { return m_skipped; }
    std::optional<double> GetShareRead() const override {
        return static_cast<double>(m_file.Offset()) / static_cast<double>(m_file.Size());
    }

    std::size_t Read(std::span<CloudPoint> points) override {
        std::size_t filled = 0;
        while (filled < points.size() && m_file.ReadLine(m_line, kLongestLine)) {
            if (m_line.find_first_not_of(kBlanks) == std::string::npos) {
                continue;
            }
            if (TakePoint(points[filled])) {
                ++filled;
            } else {
                ++m_skipped;
            }
        }
        return filled;
    }

private:
    /// The number in a column; no number where there is none.
    double NumberAt(std::size_t column) const {
        const bool isThere = column < m_fields.size();
        return isThere ? ParseField(m_fields[column], m_layout.delimiter).value_or(std::nan("")) : std::nan("");
    }

    bool TakePoint(CloudPoint& point) {
        SplitFields(m_line, m_layout.delimiter, m_layout.lastColumn + 1, m_fields);
        point = {};
        point.position = {NumberAt(m_layout.x), NumberAt(m_layout.y), m_layout.z ? NumberAt(*m_layout.z) : 0.0};
        if (!IsFinite(point.position)) {
            return false;
        }
        if (!IsPlace(point.position)) {
            m_file.FailAtLine(SayFarAway(point.position));
        }
        if (m_layout.color) {
            const auto& [red, green, blue] = *m_layout.color;
            point.red = Channel(NumberAt(red), m_layout.colorsAreFractions);
            point.green = Channel(NumberAt(green), m_layout.colorsAreFractions);
            point.blue = Channel(NumberAt(blue), m_layout.colorsAreFractions);
        }
        if (m_layout.intensity) {
            const double intensity = NumberAt(*m_layout.intensity);
            point.intensity = std::isfinite(intensity) ? static_cast<float>(intensity) : 0.0F;
        }
        if (m_layout.classNumber) {
            const double number = NumberAt(*m_layout.classNumber);
            const bool isClass = number >= 0.0 && number <= 255.0;
            const std::uint8_t absent = m_layout.isSurveyClass ? std::uint8_t{0} : kNoClass;
            point.classNumber = isClass ? static_cast<std::uint8_t>(number) : absent;
        }
        return true;
    }

    PointTextLayout m_layout;
    InputFile m_file;
    std::string m_line;
    std::vector<std::string_view> m_fields; // of m_line
    std::uint64_t m_skipped = 0;
};

} // namespace

bool BeginsLikePointText(std::string_view beginning) {
    // Texts hold no other control characters; with this, binary files are told apart at once.
    const auto isControl = [](char character) {
        return static_cast<unsigned char>(character) < ' ' && kBlanks.find(character) == std::string_view::npos &&
               character != '\n';
    };
    if (std::any_of(beginning.begin(), beginning.end(), isControl)) {
        return false;
    }
    std::vector<std::string> lines;
    while (!beginning.empty() && lines.size() < kFirstLines) {
        const std::size_t end = std::min(beginning.find('\n'), beginning.size());
        // A last line that is cut counts only where there is no other, as a point may be cut in the middle.
        if (end < beginning.size() || lines.empty() || lines.size() < 3) {
            lines.emplace_back(beginning.substr(0, end));
        }
        beginning.remove_prefix(std::min(end + 1, beginning.size()));
    }
    if (lines.empty()) {
        return false;
    }
    RemoveByteOrderMark(lines.front());
    return FindPointTextLayout(lines).has_value();
}

std::unique_ptr<CloudReader> OpenPointTextFile(const std::filesystem::path& path) {
    return std::make_unique<PointTextReader>(path);
}

} // namespace OrrinViewer
