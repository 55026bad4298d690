#include "FileError.h"
#include "Scene.h"
#include "ShaderFolder.h"
#include "ViewerOptions.h"
#include "ViewerWindow.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string Utf8(const wchar_t* text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(length > 0 ? static_cast<std::size_t>(length) : 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), length, nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

/// Without a person in front of it, a program must not stop at a message box: what it says goes to the error output.
int PrintMessageBox(const wchar_t* text, const wchar_t* caption, unsigned int /*type*/, void* /*context*/) {
    std::fprintf(stderr, "%s: %s\n", Utf8(caption).c_str(), Utf8(text).c_str());
    return IDOK;
}

int ShowFiles(const OrrinViewer::ViewerOptions& options) {
    OrrinViewer::Scene scene;
    scene.SetPointSize(options.pointSizePixels);
    scene.SetExaggeration(options.exaggeration);
    scene.Load(options.files, options.colorMode, options.cloudCellSize);
    const OrrinViewer::Extent& extent = scene.GetExtent();
    if (extent.IsEmpty()) {
        std::fprintf(stderr, "There is nothing to show: the files hold no points and no shapes.\n");
        return 1;
    }
    std::printf("%zu points, %zu features, x %.2f to %.2f, y %.2f to %.2f, z %.2f to %.2f\n", scene.CountPoints(),
                scene.CountFeatures(), extent.low.x, extent.high.x, extent.low.y, extent.high.y, extent.low.z,
                extent.high.z);
    if (scene.CountCells() > 0) {
        std::printf("%zu cells of relief\n", scene.CountCells());
    }
    std::fflush(stdout);

    if (options.frames > 0) {
        KTR::SetMessageBoxHandler(PrintMessageBox, nullptr);
    }
    OrrinViewer::FindShaderFolder();
    OrrinViewer::ViewerWindow window(scene);
    if (!window.Open(options)) {
        std::fprintf(stderr, "There is no OpenGL to draw with: neither a pixel format nor a context could be had.\n");
        return 1;
    }
    window.Run(options);
    return 0;
}

} // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    std::vector<std::string> utf8Arguments;
    for (int index = 1; index < argumentCount; ++index) {
        utf8Arguments.push_back(Utf8(arguments[index]));
    }
    const OrrinViewer::ParsedCommandLine commandLine = OrrinViewer::ParseCommandLine(utf8Arguments);
    if (commandLine.exitCode) {
        return *commandLine.exitCode;
    }
    try {
        return ShowFiles(commandLine.options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
