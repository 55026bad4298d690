#pragma once
// The few MFC types of the library's interface, for compilers that come without MFC. Names and behaviour follow MFC, so
// that sources read the same with either; a type has only the operations that the library and its hosts use.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

namespace CompatMfc {

inline int FormatLength(const wchar_t* format, va_list arguments) {
    return _vscwprintf(format, arguments);
}
inline int FormatLength(const char* format, va_list arguments) {
    return _vscprintf(format, arguments);
}
inline void FormatInto(wchar_t* text, std::size_t capacity, const wchar_t* format, va_list arguments) {
    _vsnwprintf(text, capacity, format, arguments);
}
inline void FormatInto(char* text, std::size_t capacity, const char* format, va_list arguments) {
    _vsnprintf(text, capacity, format, arguments);
}
inline int CompareNoCase(const wchar_t* left, const wchar_t* right) {
    return _wcsicmp(left, right);
}
inline int CompareNoCase(const char* left, const char* right) {
    return _stricmp(left, right);
}
inline void UpperCase(wchar_t* text, std::size_t length) {
    CharUpperBuffW(text, static_cast<DWORD>(length));
}
inline void UpperCase(char* text, std::size_t length) {
    CharUpperBuffA(text, static_cast<DWORD>(length));
}

/// A string value that converts to a pointer to its characters, as MFC's strings do.
template <typename Char> class StringT {
public:
    StringT() = default;
    StringT(const Char* text) : m_text(text ? text : EmptyText()) {}
    StringT(const Char* text, int length) : m_text(text, static_cast<std::size_t>(length)) {}
    StringT& operator=(const Char* text) {
        m_text = text ? text : EmptyText();
        return *this;
    }

    operator const Char*() const { return m_text.c_str(); }
    const Char* GetString() const { return m_text.c_str(); }
    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    /// Replaces the text by printf-style formatting; "%s" takes a string of the same character type.
    void Format(const Char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        va_list again;
        va_copy(again, arguments);
        const int length = FormatLength(format, arguments);
        va_end(arguments);
        std::basic_string<Char> text(length > 0 ? static_cast<std::size_t>(length) : 0, Char(0));
        if (length > 0) {
            FormatInto(text.data(), text.size() + 1, format, again);
        }
        va_end(again);
        m_text = std::move(text);
    }

    StringT& MakeUpper() {
        UpperCase(m_text.data(), m_text.size());
        return *this;
    }
    /// Position of the first occurrence, or -1.
    int Find(const Char* part) const { return Position(m_text.find(part)); }
    int Find(Char character) const { return Position(m_text.find(character)); }
    StringT Left(int count) const { return StringT(m_text.substr(0, static_cast<std::size_t>(count)).c_str()); }
    /// Removes white space at both ends.
    StringT& Trim() {
        const auto isSpace = [](Char character) {
            return character == Char(' ') || (character >= 9 && character <= 13);
        };
        const auto end = std::find_if_not(m_text.rbegin(), m_text.rend(), isSpace).base();
        m_text.erase(end, m_text.end());
        m_text.erase(m_text.begin(), std::find_if_not(m_text.begin(), m_text.end(), isSpace));
        return *this;
    }
    /// Removes characters from a position on; the new length.
    int Delete(int index, int count = 1) {
        if (index < GetLength()) {
            m_text.erase(static_cast<std::size_t>(index), static_cast<std::size_t>(count));
        }
        return GetLength();
    }
    int Compare(const Char* other) const { return m_text.compare(other); }
    int CompareNoCase(const Char* other) const { return CompatMfc::CompareNoCase(m_text.c_str(), other); }

    StringT& operator+=(const Char* text) {
        m_text += text;
        return *this;
    }
    friend StringT operator+(StringT left, const Char* right) { return left += right; }
    friend bool operator==(const StringT& left, const StringT& right) { return left.m_text == right.m_text; }
    friend bool operator==(const StringT& left, const Char* right) { return left.m_text == right; }

private:
    static const Char* EmptyText() {
        static const Char empty = 0;
        return &empty;
    }
    static int Position(std::size_t found) { return found == std::string::npos ? -1 : static_cast<int>(found); }

    std::basic_string<Char> m_text;
};

} // namespace CompatMfc

using CStringW = CompatMfc::StringT<wchar_t>;
using CStringA = CompatMfc::StringT<char>;
using CString = CStringW;
