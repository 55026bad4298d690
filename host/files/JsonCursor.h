#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrrinViewer {

/// What is wrong with a document, in words that follow its file's name.
class JsonFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class JsonKind {
    Object,
    Array,
    String,
    Number,
    Literal, ///< true, false or null
};

/// Reads a JSON text value by value and builds nothing of it: what nobody asks for is passed over, and numbers become
/// doubles where they stand. What is passed over is judged too. Throws JsonFault with line and column.
class JsonCursor {
public:
    /// The text must outlive the cursor.
    explicit JsonCursor(std::string_view text) : m_text(text) {}

    /// Where a value begins, to come back to.
    struct Place {
        std::size_t at = 0;
        int depth = 0;
    };
    Place Here() const { return {m_at, m_depth}; }
    void JumpTo(const Place& place) {
        m_at = place.at;
        m_depth = place.depth;
    }

    /// The kind of the next value.
    JsonKind Peek();
    bool PeekNull();

    // Into an object or array; then Next... before each member, until it says that there are no more. Each member's
    // value has to be taken or passed over in between.

    void EnterObject() { Enter('{'); }
    bool NextMember(std::string& name);
    void EnterArray() { Enter('['); }
    bool NextElement() { return Next(']'); }

    // Each takes what Peek has told to be of its kind; a Literal that is no boolean is null.

    void TakeString(std::string& text);
    double TakeNumber();
    std::optional<bool> TakeBoolean();
    /// Takes an array. Its first numbers go into `numbers`, NaN for what is no number. Tells how many elements it has.
    std::size_t TakeNumbers(std::span<double> numbers);
    /// The text of the next value without the blanks between its parts.
    std::string TakeText();
    void Skip();

    /// A fault where anything follows the document.
    void Finish();

private:
    char PeekCharacter();
    void Enter(char opening);
    bool Next(char closing);
    void PassDigits();
    void SkipString();
    void SkipLiteral();
    unsigned TakeHexadecimal();
    void AppendEscape(std::string& text);
    [[noreturn]] void Fail(const char* problem) const;

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_depth = 0;
    bool m_isFirst = false; ///< no member of what was entered has been taken yet
};

} // namespace OrrinViewer
