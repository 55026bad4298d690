#pragma once

#include "core/Call.h"

namespace StandInDriver {

// What calls take for addresses and what for offsets into a buffer. OpenGL goes by the buffer that is bound, so a
// buffer left bound, or one that is missing, lets the driver read or write where nothing is: some drivers crash, some
// draw garbage, some draw nothing. These rules refuse such a call, unless they say otherwise.

/// True for functions that read vertices or indices.
bool ReadsArrays(unsigned index);
/// False, and a violation, for a draw that reads indices or an enabled array from no memory or beyond a buffer.
bool JudgeDrawnArrays(const Call& call);

/// True for functions that read or write pixels at an address.
bool TransfersPixels(unsigned index);
/// False, and a violation, for pixels at no memory or beyond the bound pixel buffer.
bool JudgeTransfer(const Call& call);

/// True for glVertexPointer and its like.
bool SetsArray(unsigned index);
/// An address under a vertex array object, which has room for buffers only, is a violation. The call goes on, since
/// OpenGL refuses it itself.
void JudgeArrayAddress(const Call& call);

} // namespace StandInDriver
