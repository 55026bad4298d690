#include "core/Dispatch.h"

#include "core/StateLock.h"
#include "core/SystemDriver.h"
#include "faults/Faults.h"
#include "null/NullDriver.h"
#include "record/Journal.h"
#include "rules/Addresses.h"
#include "rules/Contexts.h"
#include "rules/DebugNames.h"
#include "rules/MappedRanges.h"
#include "rules/Objects.h"
#include "rules/PixelFormats.h"
#include "rules/Uniforms.h"
#include "rules/Violations.h"

#include <algorithm>
#include <string_view>

namespace StandInDriver {

namespace {

std::atomic<std::uint64_t> g_calls[kFunctionCount] = {};
std::uint64_t g_callsAtReset[kFunctionCount] = {};

std::atomic<bool> g_hidden[kFunctionCount] = {};
std::atomic<bool> g_answerLegacyNames = false;
std::atomic<bool> g_perContextFunctions = false;
std::atomic<bool> g_nullDriver = false;
/// Number of the context that last asked for functions of each variant.
std::atomic<std::uint32_t> g_variantContext[kContextVariants] = {};

bool AnswerGetProcAddress(Call& call);

/// What the driver does about a function beside forwarding it.
struct Hook {
    unsigned index;
    /// Returns false when it has answered the call itself.
    bool (*before)(Call&);
    void (*after)(Call&);
};

constexpr Hook kHooks[] = {
    {Index_wglGetProcAddress, AnswerGetProcAddress, nullptr},
    {Index_wglCreateContext, AnswerCreateContext, nullptr},
    {Index_wglCreateLayerContext, AnswerCreateLayerContext, nullptr},
    {Index_wglCreateContextAttribsARB, AnswerCreateContextAttribs, nullptr},
    {Index_wglMakeCurrent, AnswerMakeCurrent, nullptr},
    {Index_wglMakeContextCurrentARB, AnswerMakeContextCurrent, nullptr},
    {Index_wglDeleteContext, AnswerDeleteContext, nullptr},
    {Index_wglShareLists, AnswerShareLists, nullptr},
    {Index_wglSwapBuffers, CheckSwapBuffers, nullptr},
    {Index_wglChoosePixelFormat, AnswerChoosePixelFormat, nullptr},
    {Index_wglDescribePixelFormat, AnswerDescribePixelFormat, ChangeDescribedFormat},
    {Index_wglGetPixelFormat, AnswerGetPixelFormat, nullptr},
    {Index_wglSetPixelFormat, AnswerSetPixelFormat, nullptr},
    {Index_wglChoosePixelFormatARB, AnswerChoosePixelFormatARB, nullptr},
    {Index_wglUseFontBitmapsA, JudgeFontLists, TrackFontLists},
    {Index_wglUseFontBitmapsW, JudgeFontLists, TrackFontLists},
    {Index_wglUseFontOutlinesA, JudgeFontLists, TrackFontLists},
    {Index_wglUseFontOutlinesW, JudgeFontLists, TrackFontLists},
    {Index_glObjectLabel, JudgeObjectLabel, nullptr},
    {Index_glPushDebugGroup, TrackPushedGroup, nullptr},
    {Index_glPopDebugGroup, JudgePoppedGroup, nullptr},
    {Index_glLinkProgram, nullptr, ForgetUniforms},
    {Index_glProgramBinary, nullptr, ForgetUniforms},
    {Index_glNewList, nullptr, TrackNewList},
    {Index_glMapBufferRange, nullptr, TrackMapping},
    {Index_glUnmapBuffer, TrackUnmapping, nullptr},
    {Index_glDeleteBuffers, TrackBufferDeletion, nullptr},
    {Index_glDrawArrays, nullptr, TrackMappedDraw},
    {Index_glFenceSync, nullptr, TrackFence},
    {Index_glClientWaitSync, nullptr, TrackFenceWait},
    {Index_glFinish, nullptr, TrackFinish},
    {Index_glReadPixels, nullptr, TrackFinish},
};

/// How one function is handled; made once.
struct Handling {
    bool (*before)(Call&) = nullptr;
    void (*after)(Call&) = nullptr;
    /// False for a call whose addresses must not be followed, neither by the driver nor by the journal.
    bool (*judgeAddresses)(const Call&) = nullptr;
    bool tracksObjects = false;
    bool takesCapability = false;
    bool draws = false;
    bool setsArray = false;
    bool writesUniforms = false;
    bool Any() const {
        return before || after || judgeAddresses || tracksObjects || draws || setsArray || writesUniforms;
    }
};

bool Draws(unsigned index, std::string_view name) {
    const bool isDraw = name.starts_with("glDraw") || name.starts_with("glMultiDraw") || name.starts_with("glRect");
    return index == Index_glBegin || (isDraw && !name.starts_with("glDrawBuffer") && name != "glDrawPixels");
}

const Handling& HandlingOf(unsigned index) {
    static const Handling* const handlings = [] {
        auto* made = new Handling[kFunctionCount];
        for (unsigned function = 0; function < kFunctionCount; ++function) {
            const std::string_view name = kFunctions[function].name;
            Handling& handling = made[function];
            handling.tracksObjects = TracksObjects(function);
            handling.takesCapability = name == "glEnable" || name == "glDisable" || name == "glIsEnabled";
            handling.draws = Draws(function, name);
            handling.setsArray = SetsArray(function);
            handling.writesUniforms = WritesUniforms(function);
            handling.judgeAddresses = ReadsArrays(function)       ? JudgeDrawnArrays
                                      : TransfersPixels(function) ? JudgeTransfer
                                                                  : nullptr;
        }
        for (const Hook& hook : kHooks) {
            made[hook.index].before = hook.before;
            made[hook.index].after = hook.after;
        }
        return made;
    }();
    return handlings[index];
}

/// Capabilities that went with the fixed-function pipeline. GL_POINT_SPRITE is not counted among them: in a
/// compatibility context it decides whether shaders know a fragment's place in its point.
bool IsFixedFunctionCapability(std::uint64_t capability) {
    constexpr std::uint64_t kOthers[] = {
        0x0B10 /* point smooth */, 0x0B24 /* line stipple */,   0x0B42 /* polygon stipple */,
        0x0B50 /* lighting */,     0x0B57 /* color material */, 0x0B60 /* fog */,
        0x0BA1 /* normalize */,    0x0BC0 /* alpha test */,     0x0D80 /* auto normal */,
        0x0DE0 /* texture 1D */,   0x0DE1 /* texture 2D */,     0x803A /* rescale normal */,
        0x806F /* texture 3D */,   0x8458 /* color sum */,      0x8513 /* cube map */};
    const bool isLight = capability >= 0x4000 && capability < 0x4008;
    const bool isGeneration = capability >= 0x0C60 && capability <= 0x0C63;
    return isLight || isGeneration ||
           std::find(std::begin(kOthers), std::end(kOthers), capability) != std::end(kOthers);
}

/// Polygons of any number of corners: quads, quad strips and polygons.
bool IsFixedFunctionPrimitive(std::uint64_t mode) {
    return mode >= 7 && mode <= 9;
}

void JudgeFixedFunction(const Call& call) {
    const Handling& handling = HandlingOf(call.index);
    const std::uint64_t first = call.arguments[0];
    if (kFunctions[call.index].fixedFunctionOnly) {
        AddViolation("%s is called in context %u, where the fixed-function pipeline is forbidden",
                     kFunctions[call.index].name, call.context->number);
    } else if ((handling.takesCapability && IsFixedFunctionCapability(first)) ||
               (handling.draws && IsFixedFunctionPrimitive(first))) {
        AddViolation("%s(0x%X) is called in context %u, where the fixed-function pipeline is forbidden",
                     kFunctions[call.index].name, static_cast<unsigned>(first), call.context->number);
    }
}

bool NameIsFound(const FunctionDescription& function) {
    return !function.exported || g_answerLegacyNames || g_perContextFunctions ||
           (g_nullDriver && function.version != 0);
}

void* AddressFor(unsigned index, Context& context) {
    void* const system = SystemFunction(index, &context);
    if (!system) {
        return nullptr;
    }
    const FunctionCode& code = CodeOfFunction(index);
    if (g_nullDriver && IsGLFunction(index)) {
        void* const nothing = NullFunction(index);
        return nothing ? nothing : code.variants[kAnyContext];
    }
    if (!g_perContextFunctions || !IsGLFunction(index)) {
        return code.variants[kAnyContext];
    }
    const unsigned variant = context.number % kContextVariants;
    g_variantContext[variant] = context.number;
    return code.variants[variant];
}

/// As on Windows, only functions beyond GL 1.1 are found, and only while a context is current.
bool AnswerGetProcAddress(Call& call) {
    call.result = 0;
    if (!call.context) {
        SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    const auto name = PointerArgument<const char*>(call, 0);
    const int index = FindFunction(name);
    if (index < 0) {
        return true;
    }
    const auto number = static_cast<unsigned>(index);
    if (!g_hidden[number] && NameIsFound(kFunctions[number])) {
        call.result = reinterpret_cast<std::uintptr_t>(AddressFor(number, *call.context));
    }
    if (call.result == 0) {
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return false;
}

void JudgeVariant(const Call& call) {
    if (call.variant == kAnyContext || call.context->number % kContextVariants == call.variant) {
        return;
    }
    AddViolation("%s of context %u called while context %u is current", kFunctions[call.index].name,
                 g_variantContext[call.variant].load(), call.context->number);
}

bool NeedsAttention(const Call& call) {
    return HandlingOf(call.index).Any() || IsJournalOn() || HasFaults(call.index) ||
           (call.context && call.context->fixedFunctionForbidden.load(std::memory_order_relaxed));
}

/// Finds the system's function; without one the call ends here.
bool Forward(Call& call) {
    call.real = SystemFunction(call.index, call.context);
    if (!call.real) {
        AddViolation("%s is called, which the system's driver does not have", kFunctions[call.index].name);
        call.result = 0;
    }
    return call.real != nullptr;
}

/// What a call does wrong that the system's driver may see nevertheless.
void Judge(const Call& call, const Handling& handling) {
    if (handling.tracksObjects) {
        JudgeObjects(call);
    }
    if (handling.setsArray) {
        JudgeArrayAddress(call);
    }
    if (handling.writesUniforms) {
        JudgeUniform(call);
        TrackUniform(call);
    }
    if (handling.draws) {
        JudgeDrawnProgram(call);
        JudgeDrawnUniforms(call);
    }
}

bool Attend(Call& call, std::uint64_t ordinal) {
    const Handling& handling = HandlingOf(call.index);
    const bool isReadable = !handling.judgeAddresses || handling.judgeAddresses(call);
    call.entry = IsJournalOn() ? RecordCall(call, isReadable) : -1;
    if (HasFaults(call.index) && ApplyFault(call, ordinal)) {
        return false;
    }
    if (call.context && call.context->fixedFunctionForbidden) {
        JudgeFixedFunction(call);
    }
    Judge(call, handling);
    if (!isReadable || (handling.before && !handling.before(call))) {
        return false;
    }
    call.observed = true;
    return Forward(call);
}

bool Admit(Call& call, DWORD lastError) {
    const std::uint64_t ordinal = g_calls[call.index].fetch_add(1, std::memory_order_relaxed) + 1;
    call.context = CurrentContext();
    if (IsGLFunction(call.index)) {
        if (!call.context) {
            AddViolation("%s is called without a current context", kFunctions[call.index].name);
            call.entry = IsJournalOn() ? RecordCall(call) : -1;
            SetLastError(lastError);
            return false;
        }
        JudgeVariant(call);
    }
    if (!NeedsAttention(call)) {
        const bool found = Forward(call);
        SetLastError(lastError);
        return found;
    }
    SetLastError(lastError);
    return Attend(call, ordinal);
}

/// What the null driver swallows although it came through the DLL's export or through an older address.
bool IsSwallowed(const Call& call) {
    if (!g_nullDriver.load(std::memory_order_relaxed)) {
        return false;
    }
    const bool swaps = call.index == Index_wglSwapBuffers || call.index == Index_wglSwapLayerBuffers;
    return swaps || NullFunction(call.index) != nullptr;
}

} // namespace

bool EnterCall(Call& call) {
    if (IsSwallowed(call)) {
        call.result = IsGLFunction(call.index) ? 0 : 1;
        return false;
    }
    if (Admit(call, GetLastError())) {
        return true;
    }
    if (call.entry >= 0) {
        const DWORD lastError = GetLastError();
        RecordResult(call);
        SetLastError(lastError);
    }
    return false;
}

void LeaveCall(Call& call) {
    const DWORD lastError = GetLastError();
    const Handling& handling = HandlingOf(call.index);
    if (handling.tracksObjects) {
        TrackObjects(call);
    }
    if (handling.after) {
        handling.after(call);
    }
    if (HasFaults(call.index)) {
        ApplyAnswers(call);
    }
    if (call.entry >= 0) {
        RecordResult(call);
    }
    SetLastError(lastError);
}

std::uint64_t CallsSinceLoading(unsigned index) {
    return g_calls[index].load(std::memory_order_relaxed);
}

std::uint64_t CallsSinceReset(unsigned index) {
    const StateLock lock;
    return CallsSinceLoading(index) - g_callsAtReset[index];
}

void ResetCallCounts() {
    const StateLock lock;
    for (unsigned index = 0; index < kFunctionCount; ++index) {
        g_callsAtReset[index] = CallsSinceLoading(index);
    }
}

void SetHidden(unsigned index, bool hidden) {
    g_hidden[index] = hidden;
}

void SetAnswerLegacyNames(bool on) {
    g_answerLegacyNames = on;
}

void SetPerContextFunctions(bool on) {
    g_perContextFunctions = on;
}

void SetNullDriver(bool on) {
    g_nullDriver = on;
}

void ResetDispatch() {
    for (std::atomic<bool>& hidden : g_hidden) {
        hidden = false;
    }
    g_answerLegacyNames = false;
    g_perContextFunctions = false;
    g_nullDriver = false;
}

} // namespace StandInDriver
