#include "GeoKeys.h"

#include <algorithm>
#include <string>

namespace OrrinViewer {

namespace {

// Keys, by their numbers in the register of GeoTIFF.
constexpr int kModelType = 1024;
constexpr int kCitation = 1026;
constexpr int kGeographicType = 2048;
constexpr int kGeographicCitation = 2049;
constexpr int kProjectedType = 3072;
constexpr int kProjectedCitation = 3073;
constexpr int kProjectedUnits = 3076;
constexpr int kVerticalUnits = 4099;

constexpr int kGeographicModel = 2;
constexpr int kUserDefined = 32767;
/// Where a value stands in the table itself, and where the texts are.
constexpr int kInDirectory = 0;
constexpr int kInTexts = 34737;

std::optional<MapUnits> UnitsOfCode(int code) {
    switch (code) {
    case 9001:
        return MapUnits::Metres;
    case 9002:
        return MapUnits::Feet;
    case 9003:
        return MapUnits::UsSurveyFeet;
    default:
        return std::nullopt;
    }
}

std::optional<double> MetresOfCode(int code) {
    switch (code) {
    case 9001:
        return 1.0;
    case 9002:
        return kMetresPerFoot;
    case 9003:
        return kMetresPerUsSurveyFoot;
    default:
        return std::nullopt;
    }
}

class KeyDirectory {
public:
    KeyDirectory(std::span<const std::uint16_t> directory, std::string_view texts)
        : m_directory(directory), m_texts(texts) {}

    /// 0 where the key is missing or says that there is none.
    int Number(int key) const {
        const std::uint16_t* entry = Find(key, kInDirectory);
        return entry && entry[3] != kUserDefined ? entry[3] : 0;
    }

    std::string Text(int key) const {
        const std::uint16_t* entry = Find(key, kInTexts);
        if (!entry || entry[3] > m_texts.size()) {
            return {};
        }
        std::string_view text = m_texts.substr(entry[3], entry[2]);
        text = text.substr(0, text.find_first_of(std::string_view("|\0", 2)));
        return std::string(text);
    }

private:
    /// The four numbers of a key: itself, where its value is, how many there are, and the value or its place.
    const std::uint16_t* Find(int key, int place) const {
        const std::size_t count =
            m_directory.size() < 4 ? 0 : std::min<std::size_t>(m_directory[3], m_directory.size() / 4 - 1);
        for (std::size_t index = 1; index <= count; ++index) {
            const std::uint16_t* entry = &m_directory[4 * index];
            if (entry[0] == key && entry[1] == place) {
                return entry;
            }
        }
        return nullptr;
    }

    std::span<const std::uint16_t> m_directory;
    std::string_view m_texts;
};

} // namespace

CoordinateSystem SystemFromGeoKeys(std::span<const std::uint16_t> directory, std::string_view texts) {
    const KeyDirectory keys(directory, texts);
    CoordinateSystem system;
    const int projected = keys.Number(kProjectedType);
    const int geographic = keys.Number(kGeographicType);
    const bool isGeographic =
        projected == 0 && (keys.Number(kModelType) == kGeographicModel ||
                           (geographic != 0 && keys.Number(kModelType) == 0 && keys.Number(kProjectedUnits) == 0));
    system.code = isGeographic ? geographic : projected;
    system.units = isGeographic ? MapUnits::Degrees : UnitsOfCode(keys.Number(kProjectedUnits));
    system.heightMetres = MetresOfCode(keys.Number(kVerticalUnits));
    for (const int key : {isGeographic ? kGeographicCitation : kProjectedCitation, kCitation}) {
        system.name = system.name.empty() ? keys.Text(key) : system.name;
    }
    return system;
}

} // namespace OrrinViewer
