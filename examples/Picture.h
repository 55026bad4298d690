#pragma once
// For the documentation's pictures and the tests, not for hosts: with a file named on the command line an example draws
// one frame into it and ends. A second word, 1.1 or 4.4, chooses the pipeline.

#include <OrrinDisplay.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

/// Before the first context: takes the pipeline, and messages to the terminal, where the command line has a file.
inline void PreparePicture(KTR::COpenGLView& view, int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        return;
    }
    KTR::SetMessageBoxHandler(
        [](const wchar_t* text, const wchar_t*, unsigned int, void*) {
            std::fprintf(stderr, "%ls\n", text);
            return IDOK;
        },
        nullptr);
    if (argumentCount > 2) {
        const bool programs = std::strcmp(arguments[2], "4.4") == 0;
        KTR::COpenGLView::SetOpenGLVersion(programs ? 4 : 1, programs ? 4 : 1);
        view.InitializeFontManager();
    }
}

/// The window shows its frame after a change of size, as a user may have it, and the frame goes into the file, unless
/// it has fewer than three colours, so that nothing but a background can show. Returns the program's exit code.
inline int WritePicture(HWND window, KTR::COpenGLView& view, char* path) {
    // With a layer that is never complete the finished frame stays where it can be read.
    view.SwapBuffersSetDelayedSwapModeState(true);
    view.SwapBuffersCountDelayedLayerStart();
    RECT frame = {0, 0, 840, 600};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    SetWindowPos(window, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top, SWP_NOMOVE | SWP_NOZORDER);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    view.MakeCurrent(KTR::GLContextMain);
    int width = 0;
    int height = 0;
    view.GetWindowDimensions(width, height);
    std::vector<unsigned int> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    view.ReadPixels(0, 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, pixels.data());
    // OpenGL's rows come from below, a bitmap file's from above.
    for (int low = 0, high = height - 1; low < high; ++low, --high) {
        std::swap_ranges(pixels.begin() + low * width, pixels.begin() + (low + 1) * width,
                         pixels.begin() + high * width);
    }
    std::vector<unsigned int> colors = pixels;
    std::sort(colors.begin(), colors.end());
    colors.erase(std::unique(colors.begin(), colors.end()), colors.end());
    std::printf("%d x %d pixels of %d colours by the %s pipeline, error %u\n", width, height,
                static_cast<int>(colors.size()), view.DrawsWithPrograms() ? "4.x" : "1.1", view.GetError());
    const bool drawn = width == 840 && height == 600 && colors.size() > 2;
    return drawn && KTR::SaveRGBBufferToBMPFile(path, width, height, GL_BGRA,
                                                reinterpret_cast<unsigned char*>(pixels.data()))
               ? 0
               : 1;
}
