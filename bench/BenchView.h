#pragma once

// What the benchmarks share: views on either pipeline, the build's shaders, and the driver that swallows everything.

#include "DriverControl.h"
#include "support/TestWindow.h"

#include <OrrinDisplay.h>

#include <GL/glext.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

/// A view on a window of its own that draws through one pipeline.
class BenchView {
public:
    BenchView(bool programs, int width, int height) : m_programs(programs), m_window(width, height) {
        Choose();
        m_view->CreateContext(m_window.DeviceContext(), true, KTR::GLContextMain, L"bench", 32,
                              KTR::AccelerationHardware);
        m_view->InitializeOpenGL(m_window.Window());
    }
    /// Makes this the view that is measured.
    KTR::COpenGLView& Take() {
        Choose();
        m_view->MakeCurrent(KTR::GLContextMain);
        return *m_view;
    }
    const COrrinGLCement& Functions() const { return *m_view->GetContextRecord(KTR::GLContextMain).glCement; }
    HDC DeviceContext() const { return m_window.DeviceContext(); }

private:
    void Choose() const { KTR::COpenGLView::SetOpenGLVersion(m_programs ? 4 : 2, m_programs ? 4 : 0); }

    bool m_programs;
    TestWindow m_window;
    std::unique_ptr<KTR::COpenGLView> m_view = std::make_unique<KTR::COpenGLView>();
};

/// The program's two views, made when first asked for.
template <int Width, int Height> BenchView& ViewFor(bool programs) {
    // The process's first view settles the pipeline; the other one follows it.
    static BenchView fixedFunctions(false, Width, Height);
    if (!programs) {
        return fixedFunctions;
    }
    static BenchView view(true, Width, Height);
    return view;
}

/// A view on the pipeline that the process settles by itself, its main context current, kept for all benchmarks.
inline KTR::COpenGLView& View() {
    static TestWindow window(256, 256);
    static const std::unique_ptr<KTR::COpenGLView> view = [] {
        auto made = std::make_unique<KTR::COpenGLView>();
        made->CreateContext(window.DeviceContext(), true, KTR::GLContextMain, L"bench", 32, KTR::AccelerationHardware);
        made->InitializeOpenGL(window.Window());
        return made;
    }();
    return *view;
}

/// The stock programs lie beside the build's programs, not where an installation puts them.
inline void UseShadersOfTheBuild() {
    CString folder;
    KTR::GetExecutablePath(folder);
    SetEnvironmentVariableW(L"CommonProgramFiles", (std::wstring(folder) + L"..\\common").c_str());
}

/// Lets the stand-in swallow everything. It has to be told what to answer so that the programs seem to be built.
inline void SwallowEverything(StandIn& driver) {
    driver.NullDriver(true);
    driver.SetIntegerAnswer("glGetShaderiv", GL_COMPILE_STATUS, 1);
    driver.SetIntegerAnswer("glGetProgramiv", GL_LINK_STATUS, 1);
    driver.SetReturnValue("glCreateShader", 1, 1'000'000, 1);
    driver.SetReturnValue("glCreateProgram", 1, 1'000'000, 1);
}

/// The main function of a benchmark that only makes sense on the stand-in. Null `versionText` is the machine's own.
inline int RunOnNullDriver(int argumentCount, char** arguments, const char* versionText = nullptr) {
    if (!StandIn::IsLoaded()) {
        std::fprintf(stderr, "The null driver is not loaded; start this with ORRIN_DLL_OVERRIDES=opengl32=n,b.\n");
        return 1;
    }
    UseShadersOfTheBuild();
    StandIn driver;
    if (versionText) {
        driver.SetVersionText(versionText);
    }
    SwallowEverything(driver);
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
