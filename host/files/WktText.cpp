#include "WktText.h"

#include "DiskPath.h"
#include "TextParsing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace OrrinViewer {

namespace {

constexpr int kDeepest = 32;
constexpr std::size_t kMostNodes = 4096;
constexpr std::string_view kSpaces = " \t\r\n";

/// A keyword with what stands in its brackets, or a text or a number alone.
struct WktNode {
    std::string word;
    std::vector<WktNode> parts;

    const WktNode* Find(std::initializer_list<std::string_view> words) const {
        const auto found = std::find_if(parts.begin(), parts.end(), [words](const WktNode& part) {
            return !part.parts.empty() && std::find(words.begin(), words.end(), part.word) != words.end();
        });
        return found != parts.end() ? &*found : nullptr;
    }
    std::string FirstText() const { return parts.empty() ? std::string() : parts.front().word; }
};

class WktParser {
public:
    explicit WktParser(std::string_view text) : m_rest(text) {}

    std::optional<WktNode> Parse() {
        WktNode root;
        return ParseNode(root, 0) ? std::optional(std::move(root)) : std::nullopt;
    }

private:
    bool ParseNode(WktNode& node, int depth) {
        if (depth > kDeepest || ++m_nodes > kMostNodes) {
            return false;
        }
        SkipSpaces();
        if (m_rest.starts_with('"')) {
            return TakeText(node.word);
        }
        const std::size_t end = std::min(m_rest.find_first_of(",[]() \t\r\n\""), m_rest.size());
        node.word = UpperCase(m_rest.substr(0, end));
        m_rest.remove_prefix(end);
        SkipSpaces();
        if (node.word.empty()) {
            return false;
        }
        return !Takes("[(") || ParseParts(node, depth);
    }

    bool ParseParts(WktNode& node, int depth) {
        do {
            node.parts.emplace_back();
            if (!ParseNode(node.parts.back(), depth + 1)) {
                return false;
            }
            SkipSpaces();
        } while (Takes(","));
        return Takes("])");
    }

    /// A quote within a text is written twice.
    bool TakeText(std::string& text) {
        do {
            m_rest.remove_prefix(1);
            const std::size_t end = m_rest.find('"');
            if (end == std::string_view::npos) {
                return false;
            }
            text += text.empty() ? "" : "\"";
            text += m_rest.substr(0, end);
            m_rest.remove_prefix(end + 1);
        } while (m_rest.starts_with('"'));
        return true;
    }

    bool Takes(std::string_view anyOf) {
        const bool takes = !m_rest.empty() && anyOf.find(m_rest.front()) != std::string_view::npos;
        m_rest.remove_prefix(takes ? 1 : 0);
        return takes;
    }

    void SkipSpaces() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kSpaces), m_rest.size())); }

    static std::string UpperCase(std::string_view text) {
        std::string upper(text);
        for (char& character : upper) {
            character = character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
        }
        return upper;
    }

    std::string_view m_rest;
    std::size_t m_nodes = 0;
};

/// The unit of a system, which stands in it or in its axes; 0 where it is not told.
double FindUnitSize(const WktNode& system) {
    const std::initializer_list<std::string_view> kUnits = {"UNIT", "LENGTHUNIT", "ANGLEUNIT"};
    const WktNode* unit = system.Find(kUnits);
    const WktNode* axis = system.Find({"AXIS"});
    unit = !unit && axis ? axis->Find(kUnits) : unit;
    if (!unit || unit->parts.size() < 2) {
        return 0.0;
    }
    return ParseNumber(unit->parts[1].word).value_or(0.0);
}

bool IsAbout(double size, double expected) {
    // The two feet differ in the sixth digit.
    return std::abs(size - expected) < expected * 2e-7;
}

int FindCode(const WktNode& system) {
    const WktNode* authority = system.Find({"AUTHORITY", "ID"});
    if (!authority || authority->parts.size() < 2 || LowerCase(authority->parts[0].word) != "epsg") {
        return 0;
    }
    const double code = ParseNumber(authority->parts[1].word).value_or(0.0);
    return code >= 1.0 && code < 1e6 ? static_cast<int>(code) : 0;
}

const std::initializer_list<std::string_view> kProjected = {"PROJCS", "PROJCRS", "PROJECTEDCRS"};
const std::initializer_list<std::string_view> kGeographic = {"GEOGCS", "GEOGCRS", "GEODCRS", "GEOGRAPHICCRS",
                                                             "GEODETICCRS"};
const std::initializer_list<std::string_view> kVertical = {"VERT_CS", "VERTCRS", "VERTICALCRS"};
const std::initializer_list<std::string_view> kCompound = {"COMPD_CS", "COMPOUNDCRS"};
const std::initializer_list<std::string_view> kBound = {"BOUNDCRS"};

bool IsOneOf(const WktNode& node, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), node.word) != words.end();
}

/// The system of the map, by itself, with one of heights, or within what binds it to another.
const WktNode* FindMapSystem(const WktNode& node) {
    if (node.parts.empty()) {
        return nullptr;
    }
    if (IsOneOf(node, kProjected) || IsOneOf(node, kGeographic)) {
        return &node;
    }
    if (IsOneOf(node, kBound)) {
        const WktNode* source = node.Find({"SOURCECRS"});
        return source && !source->parts.empty() ? FindMapSystem(source->parts.front()) : nullptr;
    }
    if (!IsOneOf(node, kCompound)) {
        return nullptr;
    }
    const WktNode* projected = node.Find(kProjected);
    return projected ? projected : node.Find(kGeographic);
}

} // namespace

std::optional<CoordinateSystem> SystemFromWkt(std::string_view text) {
    const std::size_t end = text.find('\0');
    const std::optional<WktNode> root = WktParser(text.substr(0, end)).Parse();
    const WktNode* map = root ? FindMapSystem(*root) : nullptr;
    if (!map) {
        return std::nullopt;
    }
    CoordinateSystem system;
    system.name = map->FirstText();
    system.code = FindCode(*map);
    system.wkt = text.substr(0, end);
    system.units = IsOneOf(*map, kGeographic) ? MapUnits::Degrees : MapUnitsOfSize(FindUnitSize(*map));
    if (const WktNode* heights = root->Find(kVertical)) {
        const double metres = FindUnitSize(*heights);
        system.heightMetres = metres > 0.0 ? std::optional(metres) : std::nullopt;
    }
    return system;
}

std::optional<CoordinateSystem> SystemFromName(std::string_view text) {
    const std::string lower = LowerCase(text);
    CoordinateSystem system;
    if (lower.find("crs84") != std::string::npos) {
        system.code = 4326; // but for the order of the axes, which maps do not follow
        system.units = MapUnits::Degrees;
        return system;
    }
    const std::size_t authority = lower.find("epsg");
    const std::size_t last = lower.find_last_of("0123456789");
    if (authority == std::string::npos || last == std::string::npos || last < authority) {
        return std::nullopt;
    }
    const std::size_t first = lower.find_last_not_of("0123456789", last) + 1;
    const double code = ParseNumber(std::string_view(lower).substr(first, last + 1 - first)).value_or(0.0);
    if (!(code >= 1.0 && code < 1e6)) {
        return std::nullopt;
    }
    system.code = static_cast<int>(code);
    return system;
}

std::optional<MapUnits> MapUnitsOfSize(double metres) {
    if (IsAbout(metres, 1.0)) {
        return MapUnits::Metres;
    }
    if (IsAbout(metres, kMetresPerFoot)) {
        return MapUnits::Feet;
    }
    return IsAbout(metres, kMetresPerUsSurveyFoot) ? std::optional(MapUnits::UsSurveyFeet) : std::nullopt;
}

CoordinateSystem SystemBeside(const std::filesystem::path& file) {
    constexpr std::uint64_t kLongest = 1u << 20;
    std::filesystem::path beside = file;
    beside.replace_extension(".prj");
    const DiskEntry entry = FindOnDisk(beside);
    if (entry.kind != DiskEntry::Kind::File || entry.size > kLongest) {
        return {};
    }
    std::ifstream stream(DiskPath(beside), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    return SystemFromWkt(text).value_or(CoordinateSystem{});
}

} // namespace OrrinViewer
