#include "DebugOutput.h"

#include <windows.h>

namespace {

// A program without a debugger gets its own debugger output as an exception, which it may take.
constexpr DWORD kNarrowOutput = 0x40010006;
constexpr DWORD kWideOutput = 0x4001000A;

std::wstring g_text;

LONG CALLBACK TakeDebugOutput(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == kWideOutput && record.NumberParameters >= 2) {
        g_text += reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == kNarrowOutput && record.NumberParameters >= 2) {
        const char* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        g_text += std::wstring(text, text + strlen(text));
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

DebugOutput::DebugOutput() : m_handler(AddVectoredExceptionHandler(1, TakeDebugOutput)) {
    g_text.clear();
}

DebugOutput::~DebugOutput() {
    RemoveVectoredExceptionHandler(m_handler);
}

const std::wstring& DebugOutput::Text() const {
    return g_text;
}

int DebugOutput::Count(const std::wstring& part) const {
    int count = 0;
    for (std::size_t at = g_text.find(part); at != std::wstring::npos; at = g_text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

void DebugOutput::Clear() {
    g_text.clear();
}
