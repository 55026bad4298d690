#pragma once

#include "core/Functions.h"

#include <vector>

namespace StandInDriver {

/// Bytes of one number of a GL type; 0 for packed and unknown types.
std::size_t SizeOfType(unsigned type);
double ReadNumber(unsigned type, const unsigned char* address);

/// What a call's pointer points to, of a function whose name tells how much that is: glLoadMatrixd, glVertex3dv,
/// glUniform4fv.
struct CallValues {
    /// Numbers of one element; 0 where the function has no such pointer.
    unsigned components = 0;
    std::vector<double> numbers;
};

CallValues ValuesOf(const Call& call);

} // namespace StandInDriver
