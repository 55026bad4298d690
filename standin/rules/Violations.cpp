#include "rules/Violations.h"

#include "core/StateLock.h"

#include <cstdarg>
#include <cstdio>
#include <deque>
#include <string>

namespace StandInDriver {

namespace {

std::deque<std::string> g_violations;

} // namespace

void AddViolation(const char* format, ...) {
    char text[512] = {};
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const StateLock lock;
    g_violations.emplace_back(text);
}

std::uint64_t ViolationCount() {
    const StateLock lock;
    return g_violations.size();
}

const char* ViolationText(std::uint64_t index) {
    const StateLock lock;
    return index < g_violations.size() ? g_violations[index].c_str() : nullptr;
}

void ClearViolations() {
    const StateLock lock;
    g_violations.clear();
}

} // namespace StandInDriver
