#pragma once

#include "core/Functions.h"

namespace StandInDriver {

/// Lets calls fail: `count` of them, beginning with the nth from now; a count of 0 takes back all
/// that was asked of this function.
void AddFailure(unsigned index, std::uint32_t nth, std::uint32_t count, std::uint32_t lastError);
/// Lets calls return a value without reaching the system's driver.
void AddReturnValue(unsigned index, std::uint32_t nth, std::uint32_t count, std::uint64_t value);
/// What a function that ends in a parameter name and a pointer says for that name. False for any other function.
bool AddIntegerAnswer(unsigned index, std::uint32_t parameterName, std::int64_t value);
void SetStringText(std::uint32_t name, const char* text);
void RestoreStringText(std::uint32_t name);
void ClearFaults();

/// Whether a function's calls have to be looked at.
bool HasFaults(unsigned index);

/// True, with result and last error set, when the test has decided on this call; `ordinal` counts the function's calls.
bool ApplyFault(Call& call, std::uint64_t ordinal);

/// Replaces what the system's driver answered by what the test wants to be answered.
void ApplyAnswers(Call& call);

} // namespace StandInDriver
