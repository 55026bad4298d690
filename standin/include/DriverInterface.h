#pragma once

// The stand-in driver's control functions and the records that cross its boundary: plain C, so that a test and the DLL
// need not share a C++ library. Tests use the class StandIn in DriverControl.h.

#include <windows.h>

#include <cstdint>

/// What the driver tracks by name.
enum class DriverObject : std::uint32_t {
    Texture,
    Buffer,
    Sampler,
    VertexArray,
    Program,
    Shader,
    DisplayList,
    Sync,
    Framebuffer,
    Renderbuffer,
    Query,
    ProgramPipeline,
    TransformFeedback,
    Count
};

/// Data that a call's pointer pointed to when it was made, all numbers widened to double.
struct OrrinStandInArray {
    const char* name;
    std::uint32_t components;
    std::uint64_t valueCount;
    const double* values;
};

/// One recorded call. The pointers stay valid until the journal is started again or the driver is reset.
struct OrrinStandInEntry {
    std::uint64_t sequence;
    const char* function;
    /// One letter per argument: i signed, u unsigned, f float, d double, p pointer, s text (see `text`).
    const char* letters;
    /// Raw values; f and d hold the bits of a double.
    const std::uint64_t* arguments;
    std::uint32_t argumentCount;
    /// Letter of the result, v when there is none.
    char resultLetter;
    std::uint64_t result;
    std::uint32_t context;
    std::uint32_t thread;
    const char* text;
    const OrrinStandInArray* arrays;
    std::uint32_t arrayCount;
};

// Result, name, parameters. Functions that take a function's name answer 0 when the driver has none of that name; texts
// that they return stay valid until the calling test asks again.
#define ORRIN_STANDIN_FUNCTIONS(X)                                                                                     \
    X(void, Reset, (void))                                                                                             \
    X(void, StartJournal, (void))                                                                                      \
    X(void, StopJournal, (void))                                                                                       \
    X(int, JournalOnly, (const char* const* patterns, std::uint32_t count))                                            \
    X(std::uint64_t, JournalSize, (void))                                                                              \
    X(int, JournalEntry, (std::uint64_t index, OrrinStandInEntry * entry))                                             \
    X(void, SetStringText, (std::uint32_t name, const char* text))                                                     \
    X(void, RestoreStringText, (std::uint32_t name))                                                                   \
    X(int, HideEntryPoint, (const char* function, int hidden))                                                         \
    X(void, AnswerLegacyNames, (int on))                                                                               \
    X(int, FailCall, (const char* function, std::uint32_t nth, std::uint32_t count, std::uint32_t lastError))          \
    X(int, SetReturnValue, (const char* function, std::uint32_t nth, std::uint32_t count, std::uint64_t value))        \
    X(int, SetIntegerAnswer, (const char* function, std::uint32_t parameterName, std::int64_t value))                  \
    X(void, OnlyGenericFormats, (int on))                                                                              \
    X(void, NoPixelFormats, (int on))                                                                                  \
    X(void, SetFormatList, (const PIXELFORMATDESCRIPTOR* formats, std::uint32_t count))                                \
    X(void, PerContextFunctions, (int on))                                                                             \
    X(void, NullDriver, (int on))                                                                                      \
    X(void, ForbidFixedFunction, (std::uint32_t context, int on))                                                      \
    X(void, JudgeDroppedUniforms, (int on))                                                                            \
    X(std::uint64_t, ViolationCount, (void))                                                                           \
    X(const char*, Violation, (std::uint64_t index))                                                                   \
    X(void, ClearViolations, (void))                                                                                   \
    X(std::uint32_t, LiveContexts, (void))                                                                             \
    X(std::uint32_t, LiveObjects, (std::uint32_t kind))                                                                \
    X(std::uint32_t, AbandonedObjects, (std::uint32_t kind))                                                           \
    X(std::uint32_t, LiveWindowsWithFormat, (void))                                                                    \
    X(const char*, LeakReport, (void))                                                                                 \
    X(int, CallCount, (const char* function, std::uint64_t* calls))                                                    \
    X(std::uint64_t, GLCallCount, (void))                                                                              \
    X(std::uint32_t, ContextNumber, (HGLRC context))                                                                   \
    X(std::uint32_t, CurrentContextNumber, (void))

/// The driver's control functions, as OrrinStandIn_Interface hands them out; each is also exported as
/// OrrinStandIn_NAME.
struct OrrinStandInInterface {
    std::uint32_t size;
#define ORRIN_STANDIN_MEMBER(result, name, parameters) result(*name) parameters;
    ORRIN_STANDIN_FUNCTIONS(ORRIN_STANDIN_MEMBER)
#undef ORRIN_STANDIN_MEMBER
};
