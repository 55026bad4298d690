#include "rules/Contexts.h"

#include "core/StateLock.h"
#include "core/SystemDriver.h"
#include "rules/DebugNames.h"
#include "rules/MappedRanges.h"
#include "rules/PixelFormats.h"
#include "rules/Uniforms.h"
#include "rules/Violations.h"

#include <map>
#include <set>

namespace StandInDriver {

namespace {

constexpr DWORD kInvalidPixelFormat = 2000;

std::map<HGLRC, std::unique_ptr<Context>> g_contexts;
/// Numbers of deleted contexts; a handle leaves when the system uses it again.
std::map<HGLRC, std::uint32_t> g_deletedContexts;
std::uint32_t g_lastContextNumber = 0;

DWORD ThreadSlot() {
    static const DWORD slot = TlsAlloc();
    return slot;
}

void SetCurrentContext(Context* context) {
    if (Context* const previous = CurrentContext()) {
        previous->thread = 0;
    }
    if (context) {
        context->thread = GetCurrentThreadId();
    }
    TlsSetValue(ThreadSlot(), context);
}

bool Refuse(Call& call, DWORD lastError) {
    call.result = 0;
    SetLastError(lastError);
    return false;
}

bool Answer(Call& call, std::uint64_t result) {
    call.result = result;
    return false;
}

Context* FindContext(HGLRC handle) {
    const auto found = g_contexts.find(handle);
    return found == g_contexts.end() ? nullptr : found->second.get();
}

/// The context that a call names; null, and a violation, for one that is gone or never was.
Context* FindNamedContext(const Call& call, HGLRC handle) {
    if (Context* const context = FindContext(handle)) {
        return context;
    }
    const auto deleted = g_deletedContexts.find(handle);
    const char* const function = kFunctions[call.index].name;
    if (deleted != g_deletedContexts.end()) {
        AddViolation("%s names context %u, which was deleted", function, deleted->second);
    } else {
        AddViolation("%s names a context that never was: %p", function, static_cast<void*>(handle));
    }
    return nullptr;
}

bool IsCurrentElsewhere(const Call& call, const Context& context) {
    if (context.thread == 0 || context.thread == GetCurrentThreadId()) {
        return false;
    }
    AddViolation("%s names context %u, which is current on another thread", kFunctions[call.index].name,
                 context.number);
    return true;
}

bool IsDeviceContextGone(const Call& call, HDC deviceContext) {
    const DWORD type = GetObjectType(deviceContext);
    if (type == OBJ_MEMDC || (type == OBJ_DC && WindowFromDC(deviceContext))) {
        return false;
    }
    // A device context that belongs to no window draws to the screen or a printer, if it is one at all.
    if (type == OBJ_DC && System::GetPixelFormat(deviceContext) != 0) {
        return false;
    }
    AddViolation("%s is given a device context whose window is gone: %p", kFunctions[call.index].name,
                 static_cast<void*>(deviceContext));
    return true;
}

/// From version 3.2 on, a context without a word about its profile has the core profile.
bool AsksForCoreProfile(const int* attributes) {
    constexpr int kMajorVersion = 0x2091;
    constexpr int kMinorVersion = 0x2092;
    constexpr int kProfileMask = 0x9126;
    constexpr int kCoreProfileBit = 1;
    int major = 1;
    int minor = 0;
    int profile = kCoreProfileBit;
    for (; attributes && *attributes != 0; attributes += 2) {
        if (attributes[0] == kMajorVersion) {
            major = attributes[1];
        } else if (attributes[0] == kMinorVersion) {
            minor = attributes[1];
        } else if (attributes[0] == kProfileMask) {
            profile = attributes[1];
        }
    }
    return major * 10 + minor >= 32 && (profile & kCoreProfileBit) != 0;
}

void AddContext(HGLRC handle, HDC deviceContext, const Context* sharing, bool coreProfile) {
    auto context = std::make_unique<Context>();
    context->number = ++g_lastContextNumber;
    context->handle = handle;
    context->format = PixelFormatOf(deviceContext);
    context->coreProfile = coreProfile;
    context->shared = sharing ? sharing->shared : std::make_shared<ObjectTable>();
    g_deletedContexts.erase(handle);
    g_contexts[handle] = std::move(context);
}

bool AnswerCreation(Call& call, HGLRC handle, HDC deviceContext, const Context* sharing, bool coreProfile) {
    if (handle) {
        const DWORD lastError = GetLastError();
        AddContext(handle, deviceContext, sharing, coreProfile);
        SetLastError(lastError);
    }
    return Answer(call, reinterpret_cast<std::uintptr_t>(handle));
}

template <class Select> bool SelectContext(Call& call, HDC deviceContext, HGLRC handle, const Select& select) {
    const StateLock lock;
    if (!handle) {
        const BOOL released = select();
        if (released) {
            const DWORD lastError = GetLastError();
            SetCurrentContext(nullptr);
            SetLastError(lastError);
        }
        return Answer(call, static_cast<std::uint64_t>(released));
    }
    Context* const context = FindNamedContext(call, handle);
    if (!context) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    if (IsCurrentElsewhere(call, *context)) {
        return Refuse(call, ERROR_BUSY);
    }
    if (IsDeviceContextGone(call, deviceContext)) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    const int format = PixelFormatOf(deviceContext);
    if (format != context->format) {
        AddViolation("%s selects context %u, created for pixel format %d, on a device context with format %d",
                     kFunctions[call.index].name, context->number, context->format, format);
        return Refuse(call, kInvalidPixelFormat);
    }
    const BOOL selected = select();
    if (selected) {
        const DWORD lastError = GetLastError();
        SetCurrentContext(context);
        SetLastError(lastError);
    }
    return Answer(call, static_cast<std::uint64_t>(selected));
}

} // namespace

Context* CurrentContext() {
    return static_cast<Context*>(TlsGetValue(ThreadSlot()));
}

void ForgetThread() {
    if (CurrentContext()) {
        const StateLock lock;
        SetCurrentContext(nullptr);
    }
}

std::uint32_t LiveContextCount() {
    const StateLock lock;
    return static_cast<std::uint32_t>(g_contexts.size());
}

std::uint32_t LiveObjectCount(DriverObject kind) {
    const StateLock lock;
    std::set<const ObjectTable*> tables;
    for (const auto& [handle, context] : g_contexts) {
        tables.insert(context->shared.get());
        tables.insert(&context->own);
    }
    std::uint32_t count = 0;
    for (const ObjectTable* table : tables) {
        count += table->CountAlive(kind);
    }
    return count;
}

std::uint32_t ContextNumber(HGLRC handle) {
    const StateLock lock;
    const Context* const context = FindContext(handle);
    return context ? context->number : 0;
}

void SetFixedFunctionForbidden(std::uint32_t number, bool forbidden) {
    const StateLock lock;
    const Context* const current = CurrentContext();
    for (const auto& [handle, context] : g_contexts) {
        if (number == 0 ? context.get() == current : context->number == number) {
            context->fixedFunctionForbidden = forbidden;
        }
    }
}

void AllowFixedFunctionEverywhere() {
    const StateLock lock;
    for (const auto& [handle, context] : g_contexts) {
        context->fixedFunctionForbidden = false;
    }
}

bool AnswerCreateContext(Call& call) {
    const StateLock lock;
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    if (IsDeviceContextGone(call, deviceContext)) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    return AnswerCreation(call, System::CreateContext(deviceContext), deviceContext, nullptr, false);
}

bool AnswerCreateLayerContext(Call& call) {
    const StateLock lock;
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    const HGLRC handle = System::CreateLayerContext(deviceContext, static_cast<int>(call.arguments[1]));
    return AnswerCreation(call, handle, deviceContext, nullptr, false);
}

bool AnswerCreateContextAttribs(Call& call) {
    const StateLock lock;
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    const auto shareHandle = PointerArgument<HGLRC>(call, 1);
    const auto attributes = PointerArgument<const int*>(call, 2);
    const Context* sharing = nullptr;
    if (shareHandle) {
        sharing = FindNamedContext(call, shareHandle);
        if (!sharing) {
            return Refuse(call, ERROR_INVALID_HANDLE);
        }
        if (IsCurrentElsewhere(call, *sharing)) {
            return Refuse(call, ERROR_BUSY);
        }
    }
    if (IsDeviceContextGone(call, deviceContext)) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    using Function = HGLRC(WINAPI*)(HDC, HGLRC, const int*);
    const auto function = reinterpret_cast<Function>(SystemFunction(call.index, call.context));
    if (!function) {
        return Refuse(call, ERROR_PROC_NOT_FOUND);
    }
    const HGLRC handle = function(deviceContext, shareHandle, attributes);
    return AnswerCreation(call, handle, deviceContext, sharing, AsksForCoreProfile(attributes));
}

bool AnswerMakeCurrent(Call& call) {
    const auto deviceContext = PointerArgument<HDC>(call, 0);
    const auto handle = PointerArgument<HGLRC>(call, 1);
    return SelectContext(call, deviceContext, handle, [&] { return System::MakeCurrent(deviceContext, handle); });
}

bool AnswerMakeContextCurrent(Call& call) {
    using Function = BOOL(WINAPI*)(HDC, HDC, HGLRC);
    const auto function = reinterpret_cast<Function>(SystemFunction(call.index, call.context));
    if (!function) {
        return Refuse(call, ERROR_PROC_NOT_FOUND);
    }
    const auto drawn = PointerArgument<HDC>(call, 0);
    const auto read = PointerArgument<HDC>(call, 1);
    const auto handle = PointerArgument<HGLRC>(call, 2);
    return SelectContext(call, drawn, handle, [&] { return function(drawn, read, handle); });
}

bool AnswerDeleteContext(Call& call) {
    const StateLock lock;
    const auto handle = PointerArgument<HGLRC>(call, 0);
    if (!handle) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    Context* const context = FindNamedContext(call, handle);
    if (!context) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    if (IsCurrentElsewhere(call, *context)) {
        return Refuse(call, ERROR_BUSY);
    }
    if (context == CurrentContext()) {
        System::MakeCurrent(nullptr, nullptr);
        SetCurrentContext(nullptr);
        call.context = nullptr;
    }
    const BOOL deleted = System::DeleteContext(handle);
    if (deleted) {
        const DWORD lastError = GetLastError();
        g_deletedContexts[handle] = context->number;
        ForgetMappedRanges(*context);
        ForgetUniformsOf(*context);
        g_contexts.erase(handle);
        SetLastError(lastError);
    }
    return Answer(call, static_cast<std::uint64_t>(deleted));
}

bool AnswerShareLists(Call& call) {
    const StateLock lock;
    const auto firstHandle = PointerArgument<HGLRC>(call, 0);
    const auto secondHandle = PointerArgument<HGLRC>(call, 1);
    Context* const first = FindNamedContext(call, firstHandle);
    Context* const second = FindNamedContext(call, secondHandle);
    if (!first || !second) {
        return Refuse(call, ERROR_INVALID_HANDLE);
    }
    if (IsCurrentElsewhere(call, *first) || IsCurrentElsewhere(call, *second)) {
        return Refuse(call, ERROR_BUSY);
    }
    const BOOL shared = System::ShareLists(firstHandle, secondHandle);
    if (shared && first->shared != second->shared) {
        first->shared->TakeFrom(*second->shared);
        second->shared = first->shared;
    }
    return Answer(call, static_cast<std::uint64_t>(shared));
}

bool CheckSwapBuffers(Call& call) {
    JudgeOpenGroups(call);
    const StateLock lock;
    return IsDeviceContextGone(call, PointerArgument<HDC>(call, 0)) ? Refuse(call, ERROR_INVALID_HANDLE) : true;
}

} // namespace StandInDriver
