// What a user waits for once: the process's first view, further views, a font's first string; and what a further view
// takes in memory. Each figure is taken once in a process: start it several times and take medians. It prints lines of
// name, value and unit between tabs. With --bare it opens windows with plain contexts instead, as a host without the
// library would: what lies between the two is the library's.

#include "BenchView.h"
#include "Clock.h"
#include "support/FontFile.h"

#include <psapi.h>

#include <cstring>
#include <vector>

namespace {

using namespace KTR;

/// So small that the buffers of a window do not count.
constexpr int kSide = 64;
constexpr int kFurtherViews = 8;
/// Some 6,000 characters of this size are a texture of several megabytes.
constexpr int kLargePoints = 24;

/// NOTE: Wine leaves PrivateUsage empty. What it and Windows call the page file's use is the same figure: memory that
/// no other process shares.
double PrivateMegabytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.PagefileUsage) / 1e6;
}

void Report(const char* name, double value, const char* unit) {
    std::printf("%s\t%.3f\t%s\n", name, value, unit);
}

/// A frame with some points and a string, through to the end of the GPU's work.
void DrawFrame(COpenGLView& view, const wchar_t* text) {
    view.SetBackgroundColor(RGB(10, 20, 30), true);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (int point = 0; point < 100; ++point) {
        view.AddIndex2DVertexRGBA(point * 0.01, point * 0.01, 255, 255, 255, 255);
    }
    view.EndArraysAndDisableClientState();
    view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
    view.DrawFontAtlasText(text, 5.0, 5.0, 0.0, false, false);
    view.DrawTeardownFontAtlasText(false, false);
    view.SwapBuffers();
    view.Finish();
}

void MeasureLibrary() {
    UseShadersOfTheBuild();
    const Clock firstClock;
    BenchView first(true, kSide, kSide);
    first.Take().InitializeFontManager();
    DrawFrame(first.Take(), L"first");
    Report("first view and its first frame", firstClock.Milliseconds(), "ms");

    // The second view may bring what all further ones share.
    BenchView second(true, kSide, kSide);
    DrawFrame(second.Take(), L"second");
    const double before = PrivateMegabytes();
    double milliseconds = 0.0;
    std::vector<std::unique_ptr<BenchView>> further;
    for (int index = 0; index < kFurtherViews; ++index) {
        const Clock clock;
        further.push_back(std::make_unique<BenchView>(true, kSide, kSide));
        DrawFrame(further.back()->Take(), L"further");
        milliseconds += clock.Milliseconds();
    }
    Report("a further view and its first frame", milliseconds / kFurtherViews, "ms");
    Report("memory of a further view", (PrivateMegabytes() - before) / kFurtherViews, "MB");

    FontParameters request = FontRequest(L"DejaVu Sans", kLargePoints);
    COpenGLView& view = first.Take();
    const Clock loadClock;
    if (view.SetUpNewFont(request) != S_OK) {
        std::fprintf(stderr, "the font did not load\n");
        return;
    }
    Report("a large font: loading", loadClock.Milliseconds(), "ms");
    const Clock stringClock;
    DrawFrame(view, L"first");
    Report("a large font: the frame of its first string", stringClock.Milliseconds(), "ms");
    const Clock nextClock;
    DrawFrame(view, L"next");
    Report("a large font: the frame after that", nextClock.Milliseconds(), "ms");
}

class BareContext {
public:
    BareContext() : m_window(kSide, kSide) {
        PIXELFORMATDESCRIPTOR format = {};
        format.nSize = sizeof(format);
        format.nVersion = 1;
        format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
        format.cColorBits = 32;
        format.cDepthBits = 24;
        const HDC deviceContext = m_window.DeviceContext();
        SetPixelFormat(deviceContext, ChoosePixelFormat(deviceContext, &format), &format);
        m_context = wglCreateContext(deviceContext);
        wglMakeCurrent(deviceContext, m_context);
    }
    ~BareContext() { wglDeleteContext(m_context); }
    BareContext(const BareContext&) = delete;
    BareContext& operator=(const BareContext&) = delete;

    void DrawFrame() const {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glBegin(GL_POINTS);
        for (int point = 0; point < 100; ++point) {
            glVertex2d(point * 0.01, point * 0.01);
        }
        glEnd();
        ::SwapBuffers(m_window.DeviceContext());
        glFinish();
    }

private:
    TestWindow m_window;
    HGLRC m_context = nullptr;
};

void MeasureBare() {
    const Clock firstClock;
    const BareContext first;
    first.DrawFrame();
    Report("bare: first context and its first frame", firstClock.Milliseconds(), "ms");
    const BareContext second;
    second.DrawFrame();
    const double before = PrivateMegabytes();
    double milliseconds = 0.0;
    std::vector<std::unique_ptr<BareContext>> further;
    for (int index = 0; index < kFurtherViews; ++index) {
        const Clock clock;
        further.push_back(std::make_unique<BareContext>());
        further.back()->DrawFrame();
        milliseconds += clock.Milliseconds();
    }
    Report("bare: a further context and its first frame", milliseconds / kFurtherViews, "ms");
    Report("bare: memory of a further context", (PrivateMegabytes() - before) / kFurtherViews, "MB");
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount > 1 && std::strcmp(arguments[1], "--bare") == 0) {
        MeasureBare();
    } else {
        MeasureLibrary();
    }
    return 0;
}
