#include "LoadScene.h"
#include "ShaderFolder.h"
#include "ViewerOptions.h"
#include "ViewerSession.h"
#include "drawing/WideText.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

/// Without a person in front of it, a program must not stop at a message box: what it says goes to the error output.
int PrintMessageBox(const wchar_t* text, const wchar_t* caption, unsigned int /*type*/, void* /*context*/) {
    std::fprintf(stderr, "%s: %s\n", OrrinViewer::Utf8Text(caption).c_str(), OrrinViewer::Utf8Text(text).c_str());
    return IDOK;
}

void PrintSummary(const OrrinViewer::Scene& scene) {
    const OrrinViewer::Extent& extent = scene.GetExtent();
    std::printf("%zu points, %zu features, x %.2f to %.2f, y %.2f to %.2f, z %.2f to %.2f\n", scene.CountPoints(),
                scene.CountFeatures(), extent.low.x, extent.high.x, extent.low.y, extent.high.y, extent.low.z,
                extent.high.z);
    if (scene.CountCells() > 0) {
        std::printf("%zu cells of relief\n", scene.CountCells());
    }
    if (scene.CountPixels() > 0) {
        std::printf("%zu pixels of rasters\n", scene.CountPixels());
    }
    std::fflush(stdout);
}

/// What there is to say once all files are read. False when they cannot be shown.
bool Report(const OrrinViewer::Scene& scene) {
    if (const std::string problem = scene.GetProblem(); !problem.empty()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        return false;
    }
    if (scene.GetExtent().IsEmpty()) {
        std::fprintf(stderr, "There is nothing to show: the files hold no points, no shapes and no pixels.\n");
        return false;
    }
    PrintSummary(scene);
    return true;
}

int ShowFiles(const OrrinViewer::ViewerOptions& options) {
    OrrinViewer::Scene scene = OrrinViewer::LoadScene(options);
    if (options.frames > 0) {
        // Without a person nobody looks at a part of the points.
        scene.WaitUntilRead();
        KTR::SetMessageBoxHandler(PrintMessageBox, nullptr);
        scene.ReadRastersAtOnce(); // no later frame would show them finer
    }
    const bool isReading = scene.IsReading();
    if (!isReading) {
        scene.Update();
        // A person sees what there is of a file that is damaged further on, however soon it was read.
        const bool isWorthAWindow = options.frames == 0 && !scene.GetExtent().IsEmpty();
        if (!Report(scene) && !isWorthAWindow) {
            return 1;
        }
    }
    OrrinViewer::FindShaderFolder();
    OrrinViewer::ViewerSession session(scene, options);
    if (!session.Open()) {
        std::fprintf(stderr, "There is no OpenGL to draw with: neither a pixel format nor a context could be had.\n");
        return 1;
    }
    session.Run(isReading ? Report : nullptr);
    return 0;
}

} // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    std::vector<std::string> utf8Arguments;
    for (int index = 1; index < argumentCount; ++index) {
        utf8Arguments.push_back(OrrinViewer::Utf8Text(arguments[index]));
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
