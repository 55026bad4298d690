#include "DriverInterface.h"

#include "core/Dispatch.h"
#include "core/StateLock.h"
#include "faults/Faults.h"
#include "record/Journal.h"
#include "rules/Contexts.h"
#include "rules/PixelFormats.h"
#include "rules/Uniforms.h"
#include "rules/Violations.h"

using namespace StandInDriver;

namespace {

/// Does something with the function of a name; 0 when there is none.
template <class Action> int WithFunction(const char* name, const Action& action) {
    const int index = FindFunction(name);
    if (index < 0) {
        return 0;
    }
    action(static_cast<unsigned>(index));
    return 1;
}

void AddLine(std::string& report, std::uint32_t count, const char* what) {
    if (count != 0) {
        report += (report.empty() ? "" : ", ") + std::to_string(count) + " " + what;
    }
}

} // namespace

extern "C" {

#define ORRIN_STANDIN_EXPORT(result, name, parameters) __declspec(dllexport) result OrrinStandIn_##name parameters;
ORRIN_STANDIN_FUNCTIONS(ORRIN_STANDIN_EXPORT)
#undef ORRIN_STANDIN_EXPORT

void OrrinStandIn_Reset() {
    ClearJournal();
    ClearJournalFilter();
    ClearFaults();
    ResetPixelFormats();
    ResetDispatch();
    ClearViolations();
    ForgetAbandonedObjects();
    ResetCallCounts();
    AllowFixedFunctionEverywhere();
    SetDroppedUniformsJudged(false);
}

void OrrinStandIn_StartJournal() {
    StartJournal();
}

void OrrinStandIn_StopJournal() {
    StopJournal();
}

int OrrinStandIn_JournalOnly(const char* const* patterns, std::uint32_t count) {
    return SetJournalFilter(patterns, count);
}

std::uint64_t OrrinStandIn_JournalSize() {
    return JournalSize();
}

int OrrinStandIn_JournalEntry(std::uint64_t index, OrrinStandInEntry* entry) {
    return ReadJournalEntry(index, *entry);
}

void OrrinStandIn_SetStringText(std::uint32_t name, const char* text) {
    SetStringText(name, text);
}

void OrrinStandIn_RestoreStringText(std::uint32_t name) {
    RestoreStringText(name);
}

int OrrinStandIn_HideEntryPoint(const char* function, int hidden) {
    return WithFunction(function, [hidden](unsigned index) { SetHidden(index, hidden != 0); });
}

void OrrinStandIn_AnswerLegacyNames(int on) {
    SetAnswerLegacyNames(on != 0);
}

int OrrinStandIn_FailCall(const char* function, std::uint32_t nth, std::uint32_t count, std::uint32_t lastError) {
    return WithFunction(function, [=](unsigned index) { AddFailure(index, nth, count, lastError); });
}

int OrrinStandIn_SetReturnValue(const char* function, std::uint32_t nth, std::uint32_t count, std::uint64_t value) {
    return WithFunction(function, [=](unsigned index) { AddReturnValue(index, nth, count, value); });
}

int OrrinStandIn_SetIntegerAnswer(const char* function, std::uint32_t parameterName, std::int64_t value) {
    const int index = FindFunction(function);
    return index >= 0 && AddIntegerAnswer(static_cast<unsigned>(index), parameterName, value);
}

void OrrinStandIn_OnlyGenericFormats(int on) {
    SetOnlyGenericFormats(on != 0);
}

void OrrinStandIn_NoPixelFormats(int on) {
    SetNoPixelFormats(on != 0);
}

void OrrinStandIn_SetFormatList(const PIXELFORMATDESCRIPTOR* formats, std::uint32_t count) {
    SetFormatList(formats, count);
}

void OrrinStandIn_PerContextFunctions(int on) {
    SetPerContextFunctions(on != 0);
}

void OrrinStandIn_NullDriver(int on) {
    SetNullDriver(on != 0);
}

void OrrinStandIn_ForbidFixedFunction(std::uint32_t context, int on) {
    SetFixedFunctionForbidden(context, on != 0);
}

void OrrinStandIn_JudgeDroppedUniforms(int on) {
    SetDroppedUniformsJudged(on != 0);
}

std::uint64_t OrrinStandIn_ViolationCount() {
    return ViolationCount();
}

const char* OrrinStandIn_Violation(std::uint64_t index) {
    return ViolationText(index);
}

void OrrinStandIn_ClearViolations() {
    ClearViolations();
}

std::uint32_t OrrinStandIn_LiveContexts() {
    return LiveContextCount();
}

std::uint32_t OrrinStandIn_LiveObjects(std::uint32_t kind) {
    return kind < kObjectKinds ? LiveObjectCount(static_cast<DriverObject>(kind)) : 0;
}

std::uint32_t OrrinStandIn_AbandonedObjects(std::uint32_t kind) {
    return AbandonedObjectCount(static_cast<DriverObject>(kind));
}

std::uint32_t OrrinStandIn_LiveWindowsWithFormat() {
    return LiveWindowCount();
}

const char* OrrinStandIn_LeakReport() {
    const StateLock lock;
    static auto* const report = new std::string;
    report->clear();
    AddLine(*report, LiveContextCount(), "context(s)");
    AddLine(*report, LiveWindowCount(), "window(s) with a pixel format");
    for (unsigned number = 0; number < kObjectKinds; ++number) {
        const auto kind = static_cast<DriverObject>(number);
        AddLine(*report, LiveObjectCount(kind), (std::string(NameOfKind(kind)) + "(s)").c_str());
        AddLine(*report, AbandonedObjectCount(kind), (std::string("abandoned ") + NameOfKind(kind) + "(s)").c_str());
    }
    return report->c_str();
}

int OrrinStandIn_CallCount(const char* function, std::uint64_t* calls) {
    return WithFunction(function, [calls](unsigned index) { *calls = CallsSinceReset(index); });
}

std::uint64_t OrrinStandIn_GLCallCount() {
    std::uint64_t calls = 0;
    for (unsigned index = 0; index < kFunctionCount; ++index) {
        calls += IsGLFunction(index) ? CallsSinceReset(index) : 0;
    }
    return calls;
}

std::uint32_t OrrinStandIn_ContextNumber(HGLRC context) {
    return ContextNumber(context);
}

std::uint32_t OrrinStandIn_CurrentContextNumber() {
    const Context* const context = CurrentContext();
    return context ? context->number : 0;
}

__declspec(dllexport) const OrrinStandInInterface* OrrinStandIn_Interface() {
    static const OrrinStandInInterface driver = {sizeof(OrrinStandInInterface),
#define ORRIN_STANDIN_ADDRESS(result, name, parameters) OrrinStandIn_##name,
                                                 ORRIN_STANDIN_FUNCTIONS(ORRIN_STANDIN_ADDRESS)
#undef ORRIN_STANDIN_ADDRESS
    };
    return &driver;
}

} // extern "C"

/// The system's DLL is loaded on first use, not here, where loading is forbidden.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_THREAD_DETACH) {
        ForgetThread();
    }
    return TRUE;
}
