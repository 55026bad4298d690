#pragma once

#include "Stage.h"

#include <string>
#include <vector>

namespace Frames {

/// What a way of drawing left in the back buffer.
struct Frame {
    std::string way;
    std::vector<unsigned char> pixels; ///< RGB, upper row first
};

Frame TakeFrame(KTR::COpenGLView& view, const char* way);
/// Writes FOLDER/WORKLOAD-WAY.png; an empty folder writes nothing.
void SaveFrame(const Frame& frame, const std::string& folder, const char* workload);
/// Says how the frames differ from `reference`. False when one differs that should not, or when the reference is empty.
bool ReportAgreement(const Workload& workload, const std::vector<Frame>& frames, const Frame& reference);

} // namespace Frames
