#pragma once

#include "generated/GLEntryPoints.h"

#include <afx.h>

namespace KTR {

/// Writes the functions that drawing with programs needs beyond OpenGL 1.1, and that a context's table lacks, into
/// `names`, separated by commas. False when it lacks none.
bool FindMissingProgramFunctions(const GLEntryPoints& functions, CString& names);

} // namespace KTR
