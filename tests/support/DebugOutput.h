#pragma once

#include <string>

/// Catches what the process sends to the debugger, from construction to destruction. One at a time.
class DebugOutput {
public:
    DebugOutput();
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    /// Everything so far, in order and without separators.
    const std::wstring& Text() const;
    /// How often `part` occurs in the text.
    int Count(const std::wstring& part) const;
    bool Has(const std::wstring& part) const { return Count(part) > 0; }
    void Clear();

private:
    void* m_handler;
};
