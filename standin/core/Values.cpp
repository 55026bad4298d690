#include "core/Values.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace StandInDriver {

namespace {

constexpr unsigned kByte = 0x1400;
constexpr unsigned kUnsignedByte = 0x1401;
constexpr unsigned kShort = 0x1402;
constexpr unsigned kUnsignedShort = 0x1403;
constexpr unsigned kInt = 0x1404;
constexpr unsigned kUnsignedInt = 0x1405;
constexpr unsigned kFloat = 0x1406;
constexpr unsigned kDouble = 0x140A;

template <class T> double ReadAs(const unsigned char* address) {
    T value;
    std::memcpy(&value, address, sizeof(value));
    return static_cast<double>(value);
}

struct ValueRule {
    unsigned type = 0;
    unsigned components = 0;
    int countArgument = -1;
    unsigned pointerArgument = 0;
};

unsigned TakeDigit(std::string_view& text) {
    if (text.empty() || text.front() < '1' || text.front() > '4') {
        return 0;
    }
    const auto digit = static_cast<unsigned>(text.front() - '0');
    text.remove_prefix(1);
    return digit;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

unsigned TypeOfSuffix(std::string_view suffix) {
    constexpr std::pair<std::string_view, unsigned> kSuffixes[] = {
        {"b", kByte}, {"ub", kUnsignedByte}, {"s", kShort}, {"us", kUnsignedShort},
        {"i", kInt},  {"ui", kUnsignedInt},  {"f", kFloat}, {"d", kDouble}};
    for (const auto& [text, type] : kSuffixes) {
        if (suffix == text) {
            return type;
        }
    }
    return 0;
}

/// glUniform4fv, glProgramUniform2iv, glUniformMatrix4x3fv: an array of vectors or matrices.
ValueRule UniformRule(std::string_view name, unsigned firstArgument) {
    ValueRule rule;
    const bool matrix = TakePrefix(name, "Matrix");
    const unsigned columns = TakeDigit(name);
    rule.components = columns;
    if (matrix) {
        rule.components *= TakePrefix(name, "x") ? TakeDigit(name) : columns;
    }
    if (!name.ends_with('v')) {
        return {};
    }
    rule.type = TypeOfSuffix(name.substr(0, name.size() - 1));
    rule.countArgument = static_cast<int>(firstArgument) + 1;
    rule.pointerArgument = firstArgument + (matrix ? 3 : 2);
    return rule;
}

/// glVertex3dv, glColor4ubv: one vector.
ValueRule VectorRule(std::string_view name, unsigned pointerArgument) {
    ValueRule rule;
    rule.components = TakeDigit(name);
    if (!name.ends_with('v')) {
        return {};
    }
    rule.type = TypeOfSuffix(name.substr(0, name.size() - 1));
    rule.pointerArgument = pointerArgument;
    return rule;
}

ValueRule RuleOf(std::string_view name) {
    TakePrefix(name, "gl");
    for (const std::string_view matrix : {"LoadMatrix", "MultMatrix", "LoadTransposeMatrix", "MultTransposeMatrix"}) {
        if (TakePrefix(name, matrix)) {
            return {TypeOfSuffix(name), 16, -1, 0};
        }
    }
    if (name == "ClipPlane") {
        return {kDouble, 4, -1, 1};
    }
    if (TakePrefix(name, "ProgramUniform")) {
        return UniformRule(name, 1);
    }
    if (TakePrefix(name, "Uniform")) {
        return UniformRule(name, 0);
    }
    for (const std::string_view vector : {"Vertex", "Color", "Normal", "TexCoord", "RasterPos"}) {
        if (TakePrefix(name, vector)) {
            return VectorRule(name, 0);
        }
    }
    return {};
}

const ValueRule& RuleOfFunction(unsigned index) {
    static const ValueRule* const rules = [] {
        auto* made = new ValueRule[kFunctionCount];
        for (unsigned function = 0; function < kFunctionCount; ++function) {
            const ValueRule rule = RuleOf(kFunctions[function].name);
            made[function] = rule.type != 0 && rule.components != 0 ? rule : ValueRule();
        }
        return made;
    }();
    return rules[index];
}

} // namespace

std::size_t SizeOfType(unsigned type) {
    switch (type) {
    case kByte:
    case kUnsignedByte:
        return 1;
    case kShort:
    case kUnsignedShort:
        return 2;
    case kInt:
    case kUnsignedInt:
    case kFloat:
        return 4;
    case kDouble:
        return 8;
    default:
        return 0;
    }
}

double ReadNumber(unsigned type, const unsigned char* address) {
    switch (type) {
    case kByte:
        return ReadAs<signed char>(address);
    case kUnsignedByte:
        return ReadAs<unsigned char>(address);
    case kShort:
        return ReadAs<short>(address);
    case kUnsignedShort:
        return ReadAs<unsigned short>(address);
    case kInt:
        return ReadAs<int>(address);
    case kUnsignedInt:
        return ReadAs<unsigned>(address);
    case kFloat:
        return ReadAs<float>(address);
    default:
        return ReadAs<double>(address);
    }
}

CallValues ValuesOf(const Call& call) {
    const ValueRule& rule = RuleOfFunction(call.index);
    CallValues values;
    if (rule.type == 0) {
        return values;
    }
    values.components = rule.components;
    const auto* const address = PointerArgument<const unsigned char*>(call, rule.pointerArgument);
    const auto count = rule.countArgument < 0 ? 1 : static_cast<std::int64_t>(call.arguments[rule.countArgument]);
    for (std::int64_t position = 0; address && position < count * rule.components; ++position) {
        const auto offset = static_cast<std::size_t>(position) * SizeOfType(rule.type);
        values.numbers.push_back(ReadNumber(rule.type, address + offset));
    }
    return values;
}

} // namespace StandInDriver
