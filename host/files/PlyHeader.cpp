#include "PlyHeader.h"

#include "FileError.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string_view>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr std::size_t kLongestHeaderLine = 4096;

/// Each type has two names in use: the older after C, the newer after its bits.
constexpr std::pair<std::string_view, PlyType> kTypeNames[] = {
    {"char", PlyType::Int8},   {"int8", PlyType::Int8},     {"uchar", PlyType::UInt8},   {"uint8", PlyType::UInt8},
    {"short", PlyType::Int16}, {"int16", PlyType::Int16},   {"ushort", PlyType::UInt16}, {"uint16", PlyType::UInt16},
    {"int", PlyType::Int32},   {"int32", PlyType::Int32},   {"uint", PlyType::UInt32},   {"uint32", PlyType::UInt32},
    {"float", PlyType::Float}, {"float32", PlyType::Float}, {"double", PlyType::Double}, {"float64", PlyType::Double},
};

std::vector<std::string> SplitWords(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

PlyType TakeType(const InputFile& file, const std::string& name) {
    const auto entry = std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                                    [&](const auto& candidate) { return candidate.first == name; });
    if (entry == std::end(kTypeNames)) {
        file.FailAtLine("unknown type " + QuoteForMessage(name));
    }
    return entry->second;
}

PlyEncoding TakeEncoding(const InputFile& file, const std::vector<std::string>& words) {
    if (words.size() != 3) {
        file.FailAtLine("'format' needs an encoding and a version");
    }
    if (words[2] != "1.0") {
        file.FailAtLine("unknown PLY version " + QuoteForMessage(words[2]) + "; 1.0 is known");
    }
    if (words[1] == "ascii") {
        return PlyEncoding::Ascii;
    }
    if (words[1] == "binary_little_endian") {
        return PlyEncoding::LittleEndian;
    }
    if (words[1] == "binary_big_endian") {
        return PlyEncoding::BigEndian;
    }
    file.FailAtLine("unknown encoding " + QuoteForMessage(words[1]));
}

PlyElement TakeElement(const InputFile& file, const std::vector<std::string>& words) {
    if (words.size() != 3) {
        file.FailAtLine("'element' needs a name and a count");
    }
    PlyElement element;
    element.name = words[1];
    const std::string& text = words[2];
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), element.count);
    if (error != std::errc() || end != text.data() + text.size()) {
        file.FailAtLine(QuoteForMessage(text) + " is not a number of elements");
    }
    return element;
}

PlyProperty TakeProperty(const InputFile& file, const std::vector<std::string>& words) {
    if (words.size() == 3) {
        return {words[2], TakeType(file, words[1]), std::nullopt};
    }
    if (words.size() != 5 || words[1] != "list") {
        file.FailAtLine("'property' needs a type and a name, or 'list', two types and a name");
    }
    const PlyType countType = TakeType(file, words[2]);
    if (countType == PlyType::Float || countType == PlyType::Double) {
        file.FailAtLine("the count of a list cannot be a fraction");
    }
    return {words[4], TakeType(file, words[3]), countType};
}

} // namespace

std::size_t SizeOf(PlyType type) {
    switch (type) {
    case PlyType::Int8:
    case PlyType::UInt8:
        return 1;
    case PlyType::Int16:
    case PlyType::UInt16:
        return 2;
    case PlyType::Int32:
    case PlyType::UInt32:
    case PlyType::Float:
        return 4;
    case PlyType::Double:
        break;
    }
    return 8;
}

bool PlyElement::HasLists() const {
    return std::any_of(properties.begin(), properties.end(),
                       [](const PlyProperty& property) { return property.listCountType.has_value(); });
}

std::size_t PlyElement::LeastRowBytes(PlyEncoding encoding) const {
    if (encoding == PlyEncoding::Ascii) {
        return 2 * properties.size(); // a digit and what separates it from the next
    }
    std::size_t bytes = 0;
    for (const PlyProperty& property : properties) {
        bytes += SizeOf(property.listCountType.value_or(property.type));
    }
    return bytes;
}

PlyHeader ReadPlyHeader(InputFile& file) {
    std::string line;
    if (!file.ReadLine(line, kLongestHeaderLine) || line != "ply") {
        file.Fail("is not a PLY file: its first line is not 'ply'");
    }
    PlyHeader header;
    bool hasFormat = false;
    while (file.ReadLine(line, kLongestHeaderLine)) {
        const std::vector<std::string> words = SplitWords(line);
        if (words.empty() || words[0] == "comment" || words[0] == "obj_info") {
            continue;
        }
        if (words[0] == "format") {
            header.encoding = TakeEncoding(file, words);
            hasFormat = true;
        } else if (words[0] == "element") {
            header.elements.push_back(TakeElement(file, words));
        } else if (words[0] == "property") {
            if (header.elements.empty()) {
                file.FailAtLine("a property without an element before it");
            }
            header.elements.back().properties.push_back(TakeProperty(file, words));
        } else if (words[0] == "end_header") {
            if (!hasFormat) {
                file.FailAtLine("the header ends without a 'format' line");
            }
            return header;
        } else {
            file.FailAtLine("unknown header line " + QuoteForMessage(line));
        }
    }
    file.FailAtLine("the file ends within its header; there is no 'end_header'");
}

} // namespace OrrinViewer
