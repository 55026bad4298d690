#include "support/RecordedFixture.h"

namespace {

HMODULE ModuleOf(const void* address) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const wchar_t*>(address), &module);
    return module;
}

// Where a host brings an OpenGL of its own, two modules are called opengl32.dll. Functions of 1.1 taken from the other
// one would not know the context.
TEST(Loader, TakesFunctionsFromTheModuleThatItsContextsComeFrom) {
    const HMODULE standIn = GetModuleHandleW(L"opengl32.dll");
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    const HMODULE other = LoadLibraryW((std::wstring(folder) + L"\\opengl32.dll").c_str());
    ASSERT_NE(other, nullptr);
    ASSERT_NE(other, standIn);
    // Wine finds by its name whichever module was touched last; Windows the one that came first.
    GetProcAddress(other, "glBegin");
    const bool found = GetModuleHandleW(L"opengl32.dll") == other;
    COrrinGLCement functions;
    functions.LoadOpenGLExtensionFunctions();
    const HMODULE asked = ModuleOf(reinterpret_cast<const void*>(functions.glBegin));
    GetProcAddress(standIn, "glBegin");
    FreeLibrary(other);
    EXPECT_TRUE(found) << "otherwise this shows nothing";
    EXPECT_EQ(asked, standIn);
}

} // namespace
