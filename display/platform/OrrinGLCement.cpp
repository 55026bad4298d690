#include "OrrinGLCement.h"

#include <cstddef>
#include <type_traits>

namespace {

struct EntryPointName {
    unsigned slot;
    const char* name;
};

constexpr EntryPointName kLookedUpNames[] = {
#define ORRIN_GL_ENTRY_POINT(slot, name) {slot, #name},
#include "generated/GLEntryPointNames.inc"
#undef ORRIN_GL_ENTRY_POINT
};
static_assert(std::size(kLookedUpNames) == kGLEntryPointsLookedUp);

#define ORRIN_GL_ENTRY_POINT(slot, name) static_assert(offsetof(GLEntryPoints, name) == (slot) * sizeof(void*));
#include "generated/GLEntryPointNames.inc"
#undef ORRIN_GL_ENTRY_POINT

/// The module that this library's WGL functions come from, which makes its contexts.
HMODULE ModuleOfContexts() {
    HMODULE module = nullptr;
    // The reference count stays as it is: the module is in the process for as long as this library imports from it.
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&wglGetProcAddress), &module);
    return module;
}

PROC* SlotsOf(GLEntryPoints& table) {
    return reinterpret_cast<PROC*>(&table);
}

/// A function of the given type that does nothing.
template <typename Function> struct Inert;
template <typename Result, typename... Arguments> struct Inert<Result(ORRIN_GLAPI*)(Arguments...)> {
    static Result ORRIN_GLAPI Call(Arguments...) {
        if constexpr (!std::is_void_v<Result>) {
            return Result{};
        }
    }
};

COrrinGLCement MakeInertTable() {
    COrrinGLCement table;
#define ORRIN_GL_ENTRY_POINT(slot, name) table.name = &Inert<decltype(table.name)>::Call;
#include "generated/GLEntryPointNames.inc"
#undef ORRIN_GL_ENTRY_POINT
    return table;
}

} // namespace

COrrinGLCement::COrrinGLCement() {
    InitializeTables();
}

void COrrinGLCement::InitializeTables() {
    static_cast<GLEntryPoints&>(*this) = GLEntryPoints{};
    ullFound = 0;
    ullNotFound = 0;
    uFoundByWgl = 0;
    uFoundByModule = 0;
    strInfo.Empty();
    strInfoA.Empty();
}

PROC COrrinGLCement::glGetProcAddress(HINSTANCE module, const char* name) {
    // NOTE: some drivers answer 1, 2, 3 or -1 for a function that they lack. Such a value counts as found, because the
    // version policy judges a driver by null slots alone.
    if (const PROC fromDriver = wglGetProcAddress(name)) {
        ++uFoundByWgl;
        ++ullFound;
        return fromDriver;
    }
    if (const FARPROC fromModule = GetProcAddress(module, name)) {
        ++uFoundByModule;
        ++ullFound;
        return reinterpret_cast<PROC>(fromModule);
    }
    ++ullNotFound;
    return nullptr;
}

int COrrinGLCement::LoadOpenGLExtensionFunctions() {
    // Not the module of the name: where a host brings an OpenGL of its own, two have it.
    const HMODULE module = ModuleOfContexts();
    PROC* slots = SlotsOf(*this);
    for (const EntryPointName& entry : kLookedUpNames) {
        slots[entry.slot] = glGetProcAddress(module, entry.name);
    }
    return 1;
}

const COrrinGLCement& KTR::InertGLCement() {
    static const COrrinGLCement table = MakeInertTable();
    return table;
}
