#include "core/SystemDriver.h"

#include "rules/Contexts.h"

#include <atomic>
#include <string>

namespace StandInDriver {

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

/// Extensions of WGL are called without a current context too; the last answer serves then.
std::atomic<void*> g_lastAnswers[kFunctionCount];

/// The system's DLL and its exports, all looked up at once.
struct SystemExports {
    void* addresses[kFunctionCount] = {};

    SystemExports() {
        wchar_t folder[MAX_PATH] = {};
        GetSystemDirectoryW(folder, MAX_PATH);
        const HMODULE module = LoadLibraryW((std::wstring(folder) + L"\\opengl32.dll").c_str());
        for (unsigned index = 0; module && index < kFunctionCount; ++index) {
            if (kFunctions[index].exported) {
                addresses[index] = reinterpret_cast<void*>(::GetProcAddress(module, kFunctions[index].name));
            }
        }
        // HACK: Wine finds a module by name in what it touched last, and two are now called opengl32.dll. After this
        // look-up in our own, GetModuleHandle and GDI find the stand-in again; without it the self-test's second test
        // meets the system's.
        ::GetProcAddress(reinterpret_cast<HMODULE>(&__ImageBase), "wglGetProcAddress");
    }
};

void* ExportOfFunction(unsigned index) {
    static const SystemExports exports;
    return exports.addresses[index];
}

template <class F> F Typed(unsigned index) {
    return reinterpret_cast<F>(ExportOfFunction(index));
}

} // namespace

void* SystemFunction(unsigned index, Context* context) {
    if (kFunctions[index].exported) {
        return ExportOfFunction(index);
    }
    if (!context) {
        return g_lastAnswers[index].load(std::memory_order_relaxed);
    }
    std::atomic<void*>& known = context->systemFunctions[index];
    void* address = known.load(std::memory_order_relaxed);
    if (!address) {
        address = System::GetProcAddress(kFunctions[index].name);
        known.store(address, std::memory_order_relaxed);
        g_lastAnswers[index].store(address, std::memory_order_relaxed);
    }
    return address;
}

namespace System {

HGLRC CreateContext(HDC deviceContext) {
    return Typed<HGLRC(WINAPI*)(HDC)>(Index_wglCreateContext)(deviceContext);
}

HGLRC CreateLayerContext(HDC deviceContext, int layer) {
    return Typed<HGLRC(WINAPI*)(HDC, int)>(Index_wglCreateLayerContext)(deviceContext, layer);
}

BOOL DeleteContext(HGLRC context) {
    return Typed<BOOL(WINAPI*)(HGLRC)>(Index_wglDeleteContext)(context);
}

BOOL MakeCurrent(HDC deviceContext, HGLRC context) {
    return Typed<BOOL(WINAPI*)(HDC, HGLRC)>(Index_wglMakeCurrent)(deviceContext, context);
}

BOOL ShareLists(HGLRC first, HGLRC second) {
    return Typed<BOOL(WINAPI*)(HGLRC, HGLRC)>(Index_wglShareLists)(first, second);
}

int ChoosePixelFormat(HDC deviceContext, const PIXELFORMATDESCRIPTOR* wanted) {
    return Typed<int(WINAPI*)(HDC, const PIXELFORMATDESCRIPTOR*)>(Index_wglChoosePixelFormat)(deviceContext, wanted);
}

int GetPixelFormat(HDC deviceContext) {
    return Typed<int(WINAPI*)(HDC)>(Index_wglGetPixelFormat)(deviceContext);
}

BOOL SetPixelFormat(HDC deviceContext, int format, const PIXELFORMATDESCRIPTOR* descriptor) {
    const auto function = Typed<BOOL(WINAPI*)(HDC, int, const PIXELFORMATDESCRIPTOR*)>(Index_wglSetPixelFormat);
    return function(deviceContext, format, descriptor);
}

void* GetProcAddress(const char* name) {
    return Typed<void*(WINAPI*)(const char*)>(Index_wglGetProcAddress)(name);
}

} // namespace System

} // namespace StandInDriver
