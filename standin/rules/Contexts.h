#pragma once

#include "core/Functions.h"
#include "rules/Objects.h"

#include <windows.h>

#include <atomic>
#include <memory>

namespace StandInDriver {

/// A living rendering context.
struct Context {
    std::uint32_t number = 0;
    HGLRC handle = nullptr;
    /// Pixel format of the device context that it was created on.
    int format = 0;
    bool coreProfile = false;
    /// Groups of KHR_debug that are open.
    int debugGroups = 0;
    /// Thread on which it is current, 0 for none.
    DWORD thread = 0;
    std::atomic<bool> fixedFunctionForbidden = false;
    std::shared_ptr<ObjectTable> shared;
    ObjectTable own;
    std::atomic<void*> systemFunctions[kFunctionCount] = {};
};

/// The calling thread's context, or null.
Context* CurrentContext();

/// The thread that ends here loses its current context, as the system has it.
void ForgetThread();

std::uint32_t LiveContextCount();
/// Names of one kind that are alive in any context.
std::uint32_t LiveObjectCount(DriverObject kind);
/// Number of a living context, 0 for an unknown one.
std::uint32_t ContextNumber(HGLRC context);
/// Allows or forbids the fixed-function pipeline in a context, 0 for the current one.
void SetFixedFunctionForbidden(std::uint32_t number, bool forbidden);
void AllowFixedFunctionEverywhere();

// These answer the calls instead of the system: they return false, with the call's result and last error set.

bool AnswerCreateContext(Call& call);
bool AnswerCreateLayerContext(Call& call);
bool AnswerCreateContextAttribs(Call& call);
bool AnswerMakeCurrent(Call& call);
bool AnswerMakeContextCurrent(Call& call);
bool AnswerDeleteContext(Call& call);
bool AnswerShareLists(Call& call);

/// True unless the device context is gone, which is a violation.
bool CheckSwapBuffers(Call& call);

} // namespace StandInDriver
