#pragma once

#include <cstdint>

namespace StandInDriver {

/// Adds a line, in printf's terms, to what the code under test did wrong.
#ifndef _MSC_VER
[[gnu::format(printf, 1, 2)]]
#endif
void AddViolation(const char* format, ...);

std::uint64_t ViolationCount();
/// A violation's text, valid until they are cleared; null beyond the last.
const char* ViolationText(std::uint64_t index);
void ClearViolations();

} // namespace StandInDriver
