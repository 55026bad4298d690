#include "JsonCursor.h"

#include "TextEncoding.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace OrrinViewer {

namespace {

/// Deeper nesting than any map has, and shallow enough for functions that call themselves once per level.
constexpr int kDeepestNesting = 64;

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsBlank(char character) {
    return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

/// Powers of ten that are exact.
constexpr std::array<double, 23> kPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

} // namespace

void JsonCursor::Fail(const char* problem) const {
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t at = 0; at < m_at && at < m_text.size(); ++at) {
        const bool isLineEnd = m_text[at] == '\n';
        line += isLineEnd ? 1 : 0;
        column = isLineEnd ? 1 : column + 1;
    }
    throw JsonFault("is not valid JSON: line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
                    problem);
}

/// The first character of what comes next; 0 at the end of the text.
char JsonCursor::PeekCharacter() {
    while (m_at < m_text.size() && IsBlank(m_text[m_at])) {
        ++m_at;
    }
    return m_at < m_text.size() ? m_text[m_at] : '\0';
}

JsonKind JsonCursor::Peek() {
    const char character = PeekCharacter();
    switch (character) {
    case '{':
        return JsonKind::Object;
    case '[':
        return JsonKind::Array;
    case '"':
        return JsonKind::String;
    case 't':
    case 'f':
    case 'n':
        return JsonKind::Literal;
    default:
        break;
    }
    if (character != '-' && !IsDigit(character)) {
        Fail(m_at < m_text.size() ? "a value is expected" : "the document ends before its last value");
    }
    return JsonKind::Number;
}

bool JsonCursor::PeekNull() {
    return PeekCharacter() == 'n';
}

void JsonCursor::Enter(char opening) {
    if (PeekCharacter() != opening) {
        Fail("an object or array is expected");
    }
    if (++m_depth > kDeepestNesting) {
        throw JsonFault("the document is nested more than " + std::to_string(kDeepestNesting) + " levels deep");
    }
    ++m_at;
    m_isFirst = true;
}

bool JsonCursor::Next(char closing) {
    const char character = PeekCharacter();
    if (character == closing) {
        ++m_at;
        --m_depth;
        m_isFirst = false;
        return false;
    }
    if (!m_isFirst) {
        if (character != ',') {
            Fail(m_at < m_text.size() ? "a comma or the end of what was begun is expected"
                                      : "the document ends before what was begun");
        }
        ++m_at;
    }
    m_isFirst = false;
    return true;
}

bool JsonCursor::NextMember(std::string& name) {
    if (!Next('}')) {
        return false;
    }
    if (PeekCharacter() != '"') {
        Fail("the name of a member is expected");
    }
    TakeString(name);
    if (PeekCharacter() != ':') {
        Fail("a colon is expected");
    }
    ++m_at;
    return true;
}

void JsonCursor::TakeString(std::string& text) {
    text.clear();
    const std::size_t start = ++m_at;
    bool isAscii = true;
    for (std::size_t copied = start;;) {
        if (m_at >= m_text.size()) {
            Fail("the document ends within a text");
        }
        const auto character = static_cast<unsigned char>(m_text[m_at]);
        isAscii = isAscii && character < 0x80;
        if (character == '"' || character == '\\') {
            text.append(m_text.substr(copied, m_at - copied));
            ++m_at;
            if (character == '"') {
                break;
            }
            AppendEscape(text);
            copied = m_at;
        } else if (character < ' ') {
            Fail("a control character stands in a text");
        } else {
            ++m_at;
        }
    }
    if (!isAscii && !IsUtf8(text)) {
        m_at = start;
        Fail("a text is not in UTF-8");
    }
}

unsigned JsonCursor::TakeHexadecimal() {
    unsigned value = 0;
    if (m_text.size() - m_at < 4) {
        Fail("the document ends within a text");
    }
    const char* first = m_text.data() + m_at;
    const auto [end, error] = std::from_chars(first, first + 4, value, 16);
    if (error != std::errc() || end != first + 4) {
        Fail("four hexadecimal digits are expected");
    }
    m_at += 4;
    return value;
}

/// What stands behind a backslash.
void JsonCursor::AppendEscape(std::string& text) {
    constexpr std::string_view kSigns = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char sign = m_at < m_text.size() ? m_text[m_at] : '\0';
    if (const std::size_t known = kSigns.find(sign); known != std::string_view::npos) {
        text += kMeanings[known];
        ++m_at;
        return;
    }
    if (sign != 'u') {
        Fail("there is no such escape");
    }
    ++m_at;
    char32_t character = TakeHexadecimal();
    if (character >= 0xD800 && character < 0xDC00 && m_text.substr(m_at).starts_with("\\u")) {
        m_at += 2;
        const char32_t second = TakeHexadecimal();
        if (second < 0xDC00 || second > 0xDFFF) {
            Fail("a half of a character is missing");
        }
        character = 0x10000 + ((character - 0xD800) << 10) + (second - 0xDC00);
    }
    if (character >= 0xD800 && character < 0xE000) {
        Fail("a half of a character is missing");
    }
    AppendUtf8(text, character);
}

void JsonCursor::PassDigits() {
    if (m_at >= m_text.size() || !IsDigit(m_text[m_at])) {
        Fail("a digit is expected");
    }
    while (m_at < m_text.size() && IsDigit(m_text[m_at])) {
        ++m_at;
    }
}

double JsonCursor::TakeNumber() {
    const std::size_t start = m_at;
    const auto isAt = [this](char character) { return m_at < m_text.size() && m_text[m_at] == character; };
    const bool isNegative = isAt('-');
    m_at += isNegative ? 1 : 0;
    const std::size_t digits = m_at;
    PassDigits();
    if (m_text[digits] == '0' && m_at > digits + 1) {
        m_at = digits;
        Fail("a number begins with 0");
    }
    std::size_t point = m_at;
    std::size_t end = m_at;
    if (isAt('.')) {
        ++m_at;
        PassDigits();
        end = m_at;
    }
    const bool hasExponent = isAt('e') || isAt('E');
    if (!hasExponent && end - digits <= 16) {
        // Up to 15 digits are a whole number that a double holds exactly, and so are the powers of ten: one division
        // rounds as it should. This is most of what a file of coordinates takes to read.
        std::uint64_t whole = 0;
        for (std::size_t at = digits; at < end; ++at) {
            if (at != point) {
                whole = whole * 10 + static_cast<std::uint64_t>(m_text[at] - '0');
            }
        }
        const std::size_t decimals = end > point ? end - point - 1 : 0;
        if (whole < (std::uint64_t{1} << 53)) {
            const double value = static_cast<double>(whole) / kPowersOfTen[decimals];
            return isNegative ? -value : value;
        }
    }
    bool isSmall = false;
    if (hasExponent) {
        ++m_at;
        isSmall = isAt('-');
        m_at += isSmall || isAt('+') ? 1 : 0;
        PassDigits();
    }
    double value = 0.0;
    const auto [read, error] = std::from_chars(m_text.data() + start, m_text.data() + m_at, value);
    if (error == std::errc::result_out_of_range) {
        if (!isSmall) {
            m_at = start;
            Fail("a number is too large");
        }
        return 0.0;
    }
    return value;
}

std::optional<bool> JsonCursor::TakeBoolean() {
    const char first = PeekCharacter();
    SkipLiteral();
    return first == 'n' ? std::nullopt : std::optional(first == 't');
}

std::size_t JsonCursor::TakeNumbers(std::span<double> numbers) {
    std::size_t count = 0;
    for (EnterArray(); NextElement(); ++count) {
        const JsonKind kind = Peek();
        double value = std::numeric_limits<double>::quiet_NaN();
        if (kind == JsonKind::Number) {
            value = TakeNumber();
        } else {
            Skip();
        }
        if (count < numbers.size()) {
            numbers[count] = value;
        }
    }
    return count;
}

std::string JsonCursor::TakeText() {
    PeekCharacter();
    const std::size_t start = m_at;
    Skip();
    std::string text;
    bool isInString = false;
    bool isEscaped = false;
    for (const char character : m_text.substr(start, m_at - start)) {
        if (isInString || !IsBlank(character)) {
            text += character;
        }
        if (character == '"' && !isEscaped) {
            isInString = !isInString;
        }
        isEscaped = character == '\\' && !isEscaped;
    }
    return text;
}

void JsonCursor::Skip() {
    switch (Peek()) {
    case JsonKind::Object:
        for (EnterObject(); Next('}');) {
            if (PeekCharacter() != '"') {
                Fail("the name of a member is expected");
            }
            SkipString();
            if (PeekCharacter() != ':') {
                Fail("a colon is expected");
            }
            ++m_at;
            Skip();
        }
        return;
    case JsonKind::Array:
        for (EnterArray(); NextElement();) {
            Skip();
        }
        return;
    case JsonKind::String:
        SkipString();
        return;
    case JsonKind::Number:
        TakeNumber();
        return;
    case JsonKind::Literal:
        SkipLiteral();
        return;
    }
}

void JsonCursor::SkipString() {
    std::string text;
    TakeString(text);
}

void JsonCursor::SkipLiteral() {
    for (const std::string_view literal : {"true", "false", "null"}) {
        if (m_text.substr(m_at).starts_with(literal)) {
            m_at += literal.size();
            return;
        }
    }
    Fail("a value is expected");
}

void JsonCursor::Finish() {
    PeekCharacter();
    if (m_at < m_text.size()) {
        Fail("something follows the document");
    }
}

} // namespace OrrinViewer
