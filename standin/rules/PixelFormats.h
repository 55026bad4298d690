#pragma once

#include "core/Functions.h"

#include <windows.h>

namespace StandInDriver {

/// Number of a device context's pixel format, a made-up one included; 0 for none.
int PixelFormatOf(HDC deviceContext);

/// Windows that were given a pixel format and still exist.
std::uint32_t LiveWindowCount();

void SetOnlyGenericFormats(bool on);
void SetNoPixelFormats(bool on);
void SetFormatList(const PIXELFORMATDESCRIPTOR* formats, std::uint32_t count);
/// Back to the formats that the system has.
void ResetPixelFormats();

// These answer instead of the system and return false, or let the call go on.

bool AnswerChoosePixelFormat(Call& call);
bool AnswerDescribePixelFormat(Call& call);
bool AnswerGetPixelFormat(Call& call);
bool AnswerSetPixelFormat(Call& call);
bool AnswerChoosePixelFormatARB(Call& call);

/// Shows a described format as software's where asked to.
void ChangeDescribedFormat(Call& call);

} // namespace StandInDriver
