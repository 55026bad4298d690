#pragma once

#include "core/Functions.h"

namespace StandInDriver {

/// What the null driver puts in place of a GL function: drawing and state work does nothing, buffers and fences are
/// made up. Null for a function that still has to reach the system, as making objects and asking for limits does, and
/// for what is not GL.
void* NullFunction(unsigned index);

} // namespace StandInDriver
