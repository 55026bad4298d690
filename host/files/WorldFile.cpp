#include "WorldFile.h"

#include "DiskPath.h"
#include "FileError.h"
#include "InputFile.h"
#include "TextParsing.h"

#include <array>
#include <cmath>
#include <optional>
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

double ParseLine(const InputFile& file, std::string_view line) {
    std::string_view rest = line;
    const std::optional<double> value = ParseNumber(TakeWord(rest));
    if (!value || !std::isfinite(*value) || !TakeWord(rest).empty()) {
        file.FailAtLine(QuoteForMessage(line) + " is not a number");
    }
    if (!IsCoordinate(*value)) {
        file.FailAtLine(SayFarAway({*value, 0.0, 0.0}));
    }
    return *value;
}

} // namespace

std::filesystem::path FindWorldFile(const std::filesystem::path& image) {
    for (const std::u8string& ending : WorldFileEndings(image)) {
        std::filesystem::path candidate = image;
        candidate.replace_extension(std::filesystem::path(ending));
        if (FindOnDisk(candidate).kind == DiskEntry::Kind::File) {
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
