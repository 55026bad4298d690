#pragma once

#include "core/Call.h"

namespace StandInDriver {

/// What the driver knows of one function from the registries.
struct FunctionDescription {
    const char* name;
    /// One letter per argument, as in the journal.
    const char* letters;
    char resultLetter;
    /// One letter per argument that names an object: upper case for a name, lower case for an array of names, - for
    /// none.
    const char* objects;
    char resultObject;
    /// The argument that counts the names of an array or of a range of lists, or -1.
    int countArgument;
    /// 10 × major + minor of the GL version that brought it, 0 for what is not GL.
    int version;
    bool fixedFunctionOnly;
    bool exported;
};

enum FunctionIndex : unsigned {
#define ORRIN_FUNCTION(name, ...) Index_##name,
#include "DriverFunctions.inc"
#undef ORRIN_FUNCTION
    kFunctionCount
};

extern const FunctionDescription kFunctions[kFunctionCount];

inline bool IsGLFunction(unsigned index) {
    return kFunctions[index].version != 0;
}

/// Number of the function with this name, or -1.
int FindFunction(const char* name);

/// The driver's addresses of a function.
const FunctionCode& CodeOfFunction(unsigned index);

} // namespace StandInDriver
