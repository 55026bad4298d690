#pragma once

#include "core/Call.h"

namespace StandInDriver {

// KHR_debug: OpenGL takes an error for these, which a host that only looks at pictures never hears of.

/// A name for an object that is not alive.
bool JudgeObjectLabel(Call& call);
bool TrackPushedGroup(Call& call);
/// More groups closed than were opened.
bool JudgePoppedGroup(Call& call);
/// A group that reaches over the end of a frame.
void JudgeOpenGroups(const Call& call);

} // namespace StandInDriver
