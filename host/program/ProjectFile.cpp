#include "ProjectFile.h"

#include "files/FileError.h"
#include "files/InputFile.h"
#include "files/JsonCursor.h"
#include "files/OpenFile.h"
#include "files/PathText.h"
#include "map/SymbolNames.h"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr int kVersion = 1;
constexpr std::uint64_t kMostBytes = 16 << 20;
constexpr std::size_t kMostLayers = 10'000;

/// Where a number has to lie.
struct Limits {
    double low = -kFarthestCoordinate;
    double high = kFarthestCoordinate;
};
constexpr Limits kShare{0.0, 1.0};
constexpr Limits kPixels{0.0, 512.0};
constexpr Limits kCellSizes{1e-9, 1e9};
constexpr std::size_t kMostDashes = 64;

// What words stand for, in the order of the values.

constexpr const char* kColorModes[] = {"recorded", "elevation", "class", "intensity"};
constexpr const char* kUnits[] = {"metres", "feet", "us-feet", "degrees"};
constexpr const char* kCameras[] = {"map", "bottom", "front", "back", "left", "right", "perspective"};
constexpr const char* kKinds[] = {"raster", "relief", "mesh", "cloud", "features"};

constexpr std::span<const char* const> WordsFor(ColorMode) {
    return kColorModes;
}
constexpr std::span<const char* const> WordsFor(MapUnits) {
    return kUnits;
}
constexpr std::span<const char* const> WordsFor(Camera) {
    return kCameras;
}
constexpr std::span<const char* const> WordsFor(LayerKind) {
    return kKinds;
}

// The members of each object, for reading and for writing.

template <typename Ends, typename Visit>
requires std::is_same_v<std::remove_const_t<Ends>, RampEnds>
void VisitMembers(Ends& ends, const Visit& visit) {
    visit("low", ends.low);
    visit("high", ends.high);
}

template <typename Style, typename Visit>
requires std::is_same_v<std::remove_const_t<Style>, LayerStyle>
void VisitMembers(Style& style, const Visit& visit) {
    visit("shown", style.shown);
    visit("opacity", style.opacity, kShare);
    visit("color", style.color);
    visit("lineWidth", style.features.lineWidthPixels, kPixels);
    visit("casingWidth", style.features.casingWidthPixels, kPixels);
    visit("dashes", style.features.dashesPixels, kPixels);
    visit("borderWidth", style.features.borderWidthPixels, kPixels);
    visit("symbol", style.features.symbol, std::span(kSymbolNames));
    visit("symbolSize", style.features.symbolSizePixels, kPixels);
    visit("fillOpacity", style.fillOpacity, kShare);
    visit("pointSize", style.pointSizePixels, Limits{1.0, 64.0});
    visit("colorBy", style.colorMode);
    visit("elevationRamp", style.elevationRamp);
    visit("intensityRamp", style.intensityRamp);
    visit("hiddenClasses", style.hiddenClasses);
}

template <typename Settings, typename Visit>
requires std::is_same_v<std::remove_const_t<Settings>, ProjectSettings>
void VisitMembers(Settings& settings, const Visit& visit) {
    visit("crs", settings.coordinateSystem);
    visit("units", settings.units);
    visit("exaggeration", settings.exaggeration, Limits{0.01, 1000.0});
    visit("sunAzimuth", settings.sunAzimuthDegrees);
    visit("sunAltitude", settings.sunAltitudeDegrees, Limits{0.0, 90.0});
    visit("cloudsShaded", settings.shadesClouds);
    visit("labels", settings.labelProperty);
}

template <typename Eye, typename Visit>
requires std::is_same_v<std::remove_const_t<Eye>, ProjectEye>
void VisitMembers(Eye& eye, const Visit& visit) {
    visit("position", eye.position);
    visit("target", eye.target);
    visit("up", eye.up);
    visit("fieldOfView", eye.fieldOfViewDegrees, Limits{0.001, 179.0});
}

template <typename View, typename Visit>
requires std::is_same_v<std::remove_const_t<View>, ProjectView>
void VisitMembers(View& view, const Visit& visit) {
    visit("camera", view.camera);
    visit("box", view.box);
    visit("heightScale", view.zExaggeration, Limits{1e-9, 1e9});
    visit("extents", view.extents);
    visit("eye", view.eye);
}

template <typename Layer, typename Visit>
requires std::is_same_v<std::remove_const_t<Layer>, ProjectLayer>
void VisitMembers(Layer& layer, const Visit& visit) {
    visit("file", layer.file);
    visit("part", layer.part);
    visit("cellSize", layer.cellSize, kCellSizes);
    visit("kind", layer.kind);
    visit("style", layer.style);
}

template <typename Shade, typename Visit>
requires std::is_same_v<std::remove_const_t<Shade>, ProjectShade>
void VisitMembers(Shade& shade, const Visit& visit) {
    visit("file", shade.file);
    visit("cellSize", shade.cellSize, kCellSizes);
    visit("strength", shade.strength, kShare);
}

template <typename Whole, typename Visit>
requires std::is_same_v<std::remove_const_t<Whole>, Project>
void VisitMembers(Whole& project, const Visit& visit) {
    visit("scene", project.settings);
    visit("view", project.view);
    visit("hillshade", project.hillshade);
    visit("layers", project.layers);
}

std::string TextOf(double number) {
    if (!std::isfinite(number)) {
        return "null";
    }
    char text[32] = {};
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), number);
    return error == std::errc() ? std::string(text, end) : "null";
}

class ProjectReader {
public:
    ProjectReader(std::string_view text, std::filesystem::path folder) : m_cursor(text), m_folder(std::move(folder)) {}

    Project Read() {
        const JsonCursor::Place start = m_cursor.Here();
        if (!HasFormat()) {
            Fail("is no project: \"format\" is not \"" + std::string(kProjectFormat) + "\"");
        }
        m_cursor.JumpTo(start);
        Project project;
        ReadMembers(project);
        m_cursor.Finish();
        return project;
    }

private:
    /// Adds a step to the path of what is read.
    class Step {
    public:
        Step(std::string& path, std::string_view name) : m_path(path), m_length(path.size()) {
            m_path += '/';
            m_path += name;
        }
        ~Step() { m_path.resize(m_length); }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;

    private:
        std::string& m_path;
        std::size_t m_length;
    };

    [[noreturn]] void Fail(const std::string& problem) const {
        throw JsonFault((m_path.empty() ? "the document" : m_path) + " " + problem);
    }

    void Expect(JsonKind kind, const char* what) {
        if (m_cursor.Peek() != kind) {
            Fail(std::string("is not ") + what);
        }
    }

    bool HasFormat() {
        Expect(JsonKind::Object, "an object");
        std::string text;
        for (m_cursor.EnterObject(); m_cursor.NextMember(text); m_cursor.Skip()) {
            if (text == "format" && m_cursor.Peek() == JsonKind::String) {
                m_cursor.TakeString(text);
                return text == kProjectFormat;
            }
        }
        return false;
    }

    template <typename Object> void ReadMembers(Object& object) {
        Expect(JsonKind::Object, "an object");
        std::string name;
        for (m_cursor.EnterObject(); m_cursor.NextMember(name);) {
            bool isKnown = false;
            VisitMembers(object, [&](std::string_view known, auto& value, const auto&... limits) {
                if (!isKnown && known == name) {
                    isKnown = true;
                    const Step step(m_path, known);
                    ReadValue(value, limits...);
                }
            });
            if (!isKnown) {
                m_cursor.Skip();
            }
        }
    }

    template <typename Value>
    requires std::is_class_v<Value>
    void ReadValue(Value& value) { ReadMembers(value); }

    template <typename Word>
    requires std::is_enum_v<Word>
    void ReadValue(Word& value) {
        std::string text;
        const auto words = WordsFor(value);
        ReadValue(text, words);
        value = static_cast<Word>(std::find(words.begin(), words.end(), text) - words.begin());
    }

    template <typename Value, typename... Bounds> void ReadValue(std::optional<Value>& value, const Bounds&... limits) {
        if (m_cursor.PeekNull()) {
            m_cursor.Skip();
            value.reset();
            return;
        }
        ReadValue(value.emplace(), limits...);
    }

    void ReadValue(bool& value) {
        Expect(JsonKind::Literal, "true or false");
        const std::optional<bool> taken = m_cursor.TakeBoolean();
        if (!taken) {
            Fail("is not true or false");
        }
        value = *taken;
    }

    void ReadValue(double& value, const Limits& limits = {}) {
        Expect(JsonKind::Number, "a number");
        const double number = m_cursor.TakeNumber();
        if (!(number >= limits.low && number <= limits.high)) {
            Fail("is " + TextOf(number) + ", not from " + TextOf(limits.low) + " to " + TextOf(limits.high));
        }
        value = number;
    }

    /// "#rrggbb".
    void ReadValue(Rgb& value) {
        std::string text;
        ReadValue(text);
        unsigned number = 0;
        const char* const end = text.data() + text.size();
        const bool isLong = text.size() == 7 && text.front() == '#';
        if (!isLong || std::from_chars(text.data() + 1, end, number, 16).ptr != end) {
            Fail("is " + QuoteForMessage(text) + ", which is no colour such as \"#ff8000\"");
        }
        const auto channel = [number](int shift) { return static_cast<std::uint8_t>(number >> shift & 255U); };
        value = {channel(16), channel(8), channel(0)};
    }

    void ReadValue(std::bitset<256>& value) {
        Expect(JsonKind::Array, "a list of numbers");
        value.reset();
        for (m_cursor.EnterArray(); m_cursor.NextElement();) {
            double number = 0.0;
            ReadValue(number, Limits{0.0, 255.0});
            value.set(static_cast<std::size_t>(number));
        }
    }

    void ReadValue(std::string& value) {
        Expect(JsonKind::String, "text");
        m_cursor.TakeString(value);
    }

    void ReadValue(std::string& value, std::span<const char* const> words) {
        ReadValue(value);
        if (std::find(words.begin(), words.end(), value) == words.end()) {
            Fail("is " + QuoteForMessage(value) + ", which is not known there");
        }
    }

    void ReadValue(std::filesystem::path& value) {
        std::string text;
        ReadValue(text);
        if (text.empty() || text.find('\0') != std::string::npos) {
            Fail("is no file's name");
        }
        value = (m_folder / PathFromUtf8(text)).lexically_normal();
    }

    void ReadValue(std::vector<double>& value, const Limits& limits) {
        Expect(JsonKind::Array, "a list of numbers");
        value.clear();
        for (m_cursor.EnterArray(); m_cursor.NextElement();) {
            if (value.size() >= kMostDashes) {
                Fail("is a list of more than " + std::to_string(kMostDashes) + " numbers");
            }
            const Step step(m_path, std::to_string(value.size()));
            ReadValue(value.emplace_back(), limits);
        }
    }

    /// How many there are, all of which are coordinates.
    std::size_t TakeCoordinates(std::span<double> numbers) {
        Expect(JsonKind::Array, "a list of numbers");
        const std::size_t count = m_cursor.TakeNumbers(numbers);
        const auto taken = numbers.first(std::min(count, numbers.size()));
        if (!std::all_of(taken.begin(), taken.end(), IsCoordinate)) {
            Fail("has what is no coordinate");
        }
        return count;
    }

    void ReadValue(Position& value) {
        std::array<double, 3> numbers{};
        if (TakeCoordinates(numbers) != numbers.size()) {
            Fail("is not three numbers");
        }
        value = {numbers[0], numbers[1], numbers[2]};
    }

    void ReadValue(std::array<double, 4>& value) {
        if (TakeCoordinates(value) != value.size() || !(value[0] < value[2]) || !(value[1] < value[3])) {
            Fail("is not left, bottom, right and top");
        }
    }

    void ReadValue(Extent& value) {
        std::array<double, 6> numbers{};
        const std::size_t count = TakeCoordinates(numbers);
        const Extent box = {{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}};
        if (count == 4) {
            value = Extent{{numbers[0], numbers[1], 0.0}, {numbers[2], numbers[3], 0.0}}.Flat();
        } else if (count == numbers.size() && box.HasHeights()) {
            value = box;
        } else {
            Fail("is no box: two corners of two or three numbers");
        }
        if (value.low.x > value.high.x || value.low.y > value.high.y) {
            Fail("is no box: the first corner is the lower one");
        }
    }

    void ReadValue(std::vector<ProjectLayer>& layers) {
        Expect(JsonKind::Array, "a list");
        for (m_cursor.EnterArray(); m_cursor.NextElement();) {
            const Step step(m_path, std::to_string(layers.size()));
            if (layers.size() >= kMostLayers) {
                Fail("is one layer too many");
            }
            ReadOfFile(layers.emplace_back());
        }
    }

    void ReadValue(ProjectShade& value) { ReadOfFile(value); }

    /// What comes from a file, which has to be named.
    template <typename Object> void ReadOfFile(Object& object) {
        ReadMembers(object);
        if (object.file.empty()) {
            Fail("has no \"file\"");
        }
    }

    JsonCursor m_cursor;
    std::filesystem::path m_folder;
    std::string m_path;
};

class ProjectWriter {
public:
    explicit ProjectWriter(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    std::string Write(const Project& project) {
        Open('{');
        PutName("format");
        PutText(kProjectFormat);
        PutName("version");
        m_text += std::to_string(kVersion);
        PutMembers(project);
        Close('}');
        m_text += '\n';
        return std::move(m_text);
    }

private:
    void Open(char bracket) {
        m_text += bracket;
        m_indent += 2;
        m_isFirst = true;
    }
    void Close(char bracket) {
        m_indent -= 2;
        if (!m_isFirst) {
            m_text += '\n';
            m_text.append(m_indent, ' ');
        }
        m_text += bracket;
        m_isFirst = false;
    }
    void BeginLine() {
        m_text += m_isFirst ? "\n" : ",\n";
        m_text.append(m_indent, ' ');
        m_isFirst = false;
    }
    void PutName(std::string_view name) {
        BeginLine();
        PutText(name);
        m_text += ": ";
    }

    void PutText(std::string_view text) {
        m_text += '"';
        for (const char character : text) {
            const auto code = static_cast<unsigned char>(character);
            if (character == '"' || character == '\\') {
                m_text += '\\';
                m_text += character;
            } else if (code < ' ') {
                constexpr char kDigits[] = "0123456789abcdef";
                m_text += "\\u00";
                m_text += kDigits[code >> 4];
                m_text += kDigits[code & 15];
            } else {
                m_text += character;
            }
        }
        m_text += '"';
    }

    void PutNumbers(std::span<const double> numbers) {
        m_text += '[';
        for (const double& number : numbers) {
            m_text += &number == numbers.data() ? "" : ", ";
            m_text += TextOf(number);
        }
        m_text += ']';
    }

    template <typename Object> void PutMembers(const Object& object) {
        VisitMembers(object, [this](std::string_view name, const auto& value, const auto&...) {
            if (IsSet(value)) {
                PutName(name);
                PutValue(value);
            }
        });
    }

    // What is not set is left out.

    template <typename Value> static bool IsSet(const Value&) { return true; }
    template <typename Value> static bool IsSet(const std::optional<Value>& value) { return value.has_value(); }
    static bool IsSet(const std::string& value) { return !value.empty(); }
    static bool IsSet(const std::vector<double>& value) { return !value.empty(); }
    static bool IsSet(const RampEnds& value) { return value != RampEnds(); }
    static bool IsSet(const std::bitset<256>& value) { return value.any(); }
    static bool IsSet(const Extent& value) { return !value.IsEmpty(); }

    template <typename Value>
    requires std::is_class_v<Value>
    void PutValue(const Value& value) {
        Open('{');
        PutMembers(value);
        Close('}');
    }
    template <typename Word>
    requires std::is_enum_v<Word>
    void PutValue(const Word& value) { PutText(WordsFor(value)[static_cast<std::size_t>(value)]); }
    template <typename Value> void PutValue(const std::optional<Value>& value) { PutValue(*value); }
    void PutValue(const bool& value) { m_text += value ? "true" : "false"; }
    void PutValue(const double& value) { m_text += TextOf(value); }
    void PutValue(const std::string& value) { PutText(value); }
    void PutValue(const Rgb& value) {
        char text[8] = {};
        std::snprintf(text, sizeof(text), "#%02x%02x%02x", value.red, value.green, value.blue);
        PutText(text);
    }
    void PutValue(const std::bitset<256>& value) {
        std::vector<double> numbers;
        for (std::size_t number = 0; number < value.size(); ++number) {
            if (value.test(number)) {
                numbers.push_back(static_cast<double>(number));
            }
        }
        PutNumbers(numbers);
    }
    void PutValue(const std::vector<double>& value) { PutNumbers(value); }
    void PutValue(const std::array<double, 4>& value) { PutNumbers(value); }
    void PutValue(const Position& value) { PutNumbers(std::array{value.x, value.y, value.z}); }
    void PutValue(const Extent& value) {
        if (value.HasHeights()) {
            PutNumbers(std::array{value.low.x, value.low.y, value.low.z, value.high.x, value.high.y, value.high.z});
        } else {
            PutNumbers(std::array{value.low.x, value.low.y, value.high.x, value.high.y});
        }
    }
    void PutValue(const std::filesystem::path& value) {
        const std::filesystem::path relative = value.lexically_relative(m_folder);
        PutText(Utf8FromPath(relative.empty() ? value : relative));
    }
    void PutValue(const std::vector<ProjectLayer>& layers) {
        Open('[');
        for (const ProjectLayer& layer : layers) {
            BeginLine();
            PutValue(layer);
        }
        Close(']');
    }

    std::string m_text;
    std::filesystem::path m_folder;
    std::size_t m_indent = 0;
    bool m_isFirst = true;
};

std::filesystem::path FolderOf(const std::filesystem::path& path) {
    return std::filesystem::absolute(path).lexically_normal().parent_path();
}

} // namespace

Project ReadProjectFile(const std::filesystem::path& path) {
    InputFile file(path);
    if (file.Size() > kMostBytes) {
        file.Fail("is too large for a project");
    }
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    file.Read({reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const std::string_view document = text;
    try {
        return ProjectReader(document.substr(document.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0),
                             FolderOf(path))
            .Read();
    } catch (const JsonFault& fault) {
        throw FileError(path, fault.what());
    }
}

void WriteProjectFile(const Project& project, const std::filesystem::path& path) {
    const std::string text = ProjectWriter(FolderOf(path)).Write(project);
    std::filesystem::path draft = path;
    draft += ".new";
    std::ofstream stream(draft, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    std::error_code error;
    if (stream) {
        std::filesystem::rename(draft, path, error);
    }
    if (!stream || error) {
        std::error_code ignored;
        std::filesystem::remove(draft, ignored);
        throw FileError(path, "the project could not be written");
    }
}

} // namespace OrrinViewer
