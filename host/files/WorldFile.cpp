#include "WorldFile.h"

#include "FileError.h"
#include "InputFile.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

namespace OrrinViewer {

namespace {

constexpr std::size_t kLongestLine = 256;

/// The endings in use: first and last letter of the image's own with a w, all of it with a w, or wld.
std::array<std::u8string, 3> WorldFileEndings(const std::filesystem::path& image) {
    const std::u8string ending = image.extension().u8string();
    const std::u8string shortened =
        ending.size() > 2 ? std::u8string(1, ending[0]) + ending[1] + ending.back() + u8"w" : ending + u8"w";
    return {shortened, ending + u8"w", u8".wld"};
}

std::string_view TrimBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

double ParseLine(const InputFile& file, const std::string& line) {
    std::string_view text = TrimBlanks(line);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        file.FailAtLine(QuoteForMessage(line) + " is not a number");
    }
    return value;
}

} // namespace

std::filesystem::path FindWorldFile(const std::filesystem::path& image) {
    for (const std::u8string& ending : WorldFileEndings(image)) {
        std::filesystem::path candidate = image;
        candidate.replace_extension(std::filesystem::path(ending));
        std::error_code unreadable;
        if (std::filesystem::is_regular_file(candidate, unreadable)) {
            return candidate;
        }
    }
    const std::u8string usual = WorldFileEndings(image)[0];
    throw FileError(image, "has no place on the map: there is no world file (" +
                               std::string(usual.begin(), usual.end()) + " or .wld) beside it");
}

PixelToMap ReadWorldFile(const std::filesystem::path& path) {
    InputFile file(path);
    std::array<double, 6> numbers{};
    for (double& number : numbers) {
        std::string line;
        if (!file.ReadLine(line, kLongestLine)) {
            file.Fail("ends before its sixth number");
        }
        number = ParseLine(file, line);
    }
    PixelToMap pixelToMap{numbers[0], numbers[1], numbers[2], numbers[3], 0.0, 0.0};
    const double pixelArea = pixelToMap.columnX * pixelToMap.rowY - pixelToMap.columnY * pixelToMap.rowX;
    if (!(std::abs(pixelArea) > 0.0)) {
        file.Fail("its pixels have no area");
    }
    // The file gives the centre of the first pixel.
    pixelToMap.originX = numbers[4] - (pixelToMap.columnX + pixelToMap.rowX) * 0.5;
    pixelToMap.originY = numbers[5] - (pixelToMap.columnY + pixelToMap.rowY) * 0.5;
    return pixelToMap;
}

} // namespace OrrinViewer
