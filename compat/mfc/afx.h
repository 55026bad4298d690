#pragma once
// The few MFC types of the library's interface, for compilers that come without MFC. Names and behaviour follow MFC, so
// that sources read the same with either; a type has only the operations that the library and its hosts use.

#ifndef NOMINMAX
#define NOMINMAX
#endif
// What the interface needs of <windows.h>; a host that needs all of it includes it itself, before.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#undef WIN32_LEAN_AND_MEAN
#else
#include <windows.h>
#endif

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <vector>

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
inline std::size_t LengthOf(const wchar_t* text) {
    return text ? std::wcslen(text) : 0;
}
inline std::size_t LengthOf(const char* text) {
    return text ? std::strlen(text) : 0;
}
inline void UpperCase(wchar_t* text, std::size_t length) {
    CharUpperBuffW(text, static_cast<DWORD>(length));
}
inline void UpperCase(char* text, std::size_t length) {
    CharUpperBuffA(text, static_cast<DWORD>(length));
}

/// A string value that converts to a pointer to its characters, as MFC's strings do. It keeps them in a vector: each
/// source of a host includes this, and <string> would cost it 8,000 lines more.
template <typename Char> class StringT {
public:
    StringT() = default;
    StringT(const Char* text) { Append(text, LengthOf(text)); }
    StringT(const Char* text, int length) { Append(text, static_cast<std::size_t>(length)); }
    StringT& operator=(const Char* text) { return *this = StringT(text); }

    operator const Char*() const { return GetString(); }
    const Char* GetString() const {
        static const Char empty = 0;
        return m_text.empty() ? &empty : m_text.data();
    }
    int GetLength() const { return m_text.empty() ? 0 : static_cast<int>(m_text.size() - 1); }
    bool IsEmpty() const { return GetLength() == 0; }
    void Empty() { m_text.clear(); }

    /// Replaces the text by printf-style formatting; "%s" takes a string of the same character type.
    void Format(const Char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        va_list again;
        va_copy(again, arguments);
        const int length = FormatLength(format, arguments);
        va_end(arguments);
        // NOTE: not the text itself, which may be among the arguments.
        std::vector<Char> text(length > 0 ? static_cast<std::size_t>(length) + 1 : 0, Char(0));
        if (length > 0) {
            FormatInto(text.data(), text.size(), format, again);
        }
        va_end(again);
        m_text.swap(text);
    }

    StringT& MakeUpper() {
        UpperCase(m_text.data(), static_cast<std::size_t>(GetLength()));
        return *this;
    }
    /// Position of the first occurrence, or -1.
    int Find(const Char* part) const {
        const int length = static_cast<int>(LengthOf(part));
        for (int start = 0; start + length <= GetLength(); ++start) {
            int same = 0;
            while (same < length && GetString()[start + same] == part[same]) {
                ++same;
            }
            if (same == length) {
                return start;
            }
        }
        return -1;
    }
    int Find(Char character) const {
        const Char part[] = {character, Char(0)};
        return Find(part);
    }
    StringT Left(int count) const { return StringT(GetString(), count < GetLength() ? count : GetLength()); }
    /// Removes white space at both ends.
    StringT& Trim() {
        const auto isSpace = [](Char character) {
            return character == Char(' ') || (character >= 9 && character <= 13);
        };
        int first = 0;
        int end = GetLength();
        while (end > 0 && isSpace(GetString()[end - 1])) {
            --end;
        }
        while (first < end && isSpace(GetString()[first])) {
            ++first;
        }
        return *this = StringT(GetString() + first, end - first);
    }
    /// Removes characters from a position on; the new length.
    int Delete(int index, int count = 1) {
        if (index < GetLength()) {
            const int removed = count < GetLength() - index ? count : GetLength() - index;
            m_text.erase(m_text.begin() + index, m_text.begin() + index + removed);
        }
        return GetLength();
    }
    int Compare(const Char* other) const {
        for (const Char* own = GetString();; ++own, ++other) {
            if (*own != *other || *own == 0) {
                return *own == *other ? 0 : *own < *other ? -1 : 1;
            }
        }
    }
    int CompareNoCase(const Char* other) const { return CompatMfc::CompareNoCase(GetString(), other); }

    StringT& operator+=(const Char* text) {
        Append(text, LengthOf(text));
        return *this;
    }
    friend StringT operator+(StringT left, const Char* right) { return left += right; }
    friend bool operator==(const StringT& left, const StringT& right) { return left.Compare(right.GetString()) == 0; }
    friend bool operator==(const StringT& left, const Char* right) { return left.Compare(right) == 0; }

private:
    /// The characters may be this string's own.
    void Append(const Char* text, std::size_t length) {
        if (length == 0) {
            return;
        }
        const std::size_t before = static_cast<std::size_t>(GetLength());
        std::vector<Char> joined;
        joined.reserve(before + length + 1);
        joined.insert(joined.end(), GetString(), GetString() + before);
        joined.insert(joined.end(), text, text + length);
        joined.push_back(Char(0));
        m_text.swap(joined);
    }

    std::vector<Char> m_text; ///< with a zero behind, or empty
};

} // namespace CompatMfc

using CStringW = CompatMfc::StringT<wchar_t>;
using CStringA = CompatMfc::StringT<char>;
using CString = CStringW;
