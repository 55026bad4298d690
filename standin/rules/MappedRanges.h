#pragma once

#include "core/Call.h"

namespace StandInDriver {

// Draws that read persistently mapped memory. What such a draw reads must stay as it is until a fence behind the draw
// has signalled; who writes earlier gets torn pictures on a driver that draws while the program goes on.

void TrackMapping(Call& call);
bool TrackUnmapping(Call& call);
bool TrackBufferDeletion(Call& call);
void TrackMappedDraw(Call& call);
void TrackFence(Call& call);
void TrackFenceWait(Call& call);
void TrackFinish(Call& call);

/// A context that is about to be deleted.
void ForgetMappedRanges(const Context& context);

} // namespace StandInDriver
