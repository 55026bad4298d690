#pragma once

#include "core/Functions.h"

namespace StandInDriver {

/// Calls of a function since the driver was loaded.
std::uint64_t CallsSinceLoading(unsigned index);
/// Calls of a function since the last reset.
std::uint64_t CallsSinceReset(unsigned index);
void ResetCallCounts();

void SetHidden(unsigned index, bool hidden);
void SetAnswerLegacyNames(bool on);
void SetPerContextFunctions(bool on);
void SetNullDriver(bool on);
/// Nothing hidden, nothing per context, no null driver.
void ResetDispatch();

} // namespace StandInDriver
