#include "SceneLoading.h"
#include "ViewerOptions.h"
#include "ViewerSession.h"
#include "drawing/WideText.h"
#include "files/FileError.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

/// The library had something to say, which is nothing good.
bool g_hasNotice = false;

/// Without a person in front of it, a program must not stop at a message box: what it says goes to the error output.
int PrintMessageBox(const wchar_t* text, const wchar_t* caption, unsigned int /*type*/, void* /*context*/) {
    g_hasNotice = true;
    std::fprintf(stderr, "%s: %s\n", OrrinViewer::Utf8Text(caption).c_str(), OrrinViewer::Utf8Text(text).c_str());
    return IDOK;
}

void PrintLines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
}

std::string ExplainMissingLabels(const OrrinViewer::Scene& scene) {
    std::string known;
    for (const std::string& name : scene.ListProperties()) {
        known += known.empty() ? name : ", " + name;
    }
    return "No feature has a property " + OrrinViewer::QuoteForMessage(scene.GetLabelProperty()) + "; " +
           (known.empty() ? "none of them has any" : "there are: " + known);
}

/// What there is of each kind, and where it is.
void PrintSummary(const OrrinViewer::Scene& scene) {
    const struct {
        std::size_t count;
        const char* name;
    } kinds[] = {{scene.CountPoints(), "points"},
                 {scene.CountFeatures(), "features"},
                 {scene.CountCells(), "cells of relief"},
                 {scene.CountFaces(), "faces"},
                 {scene.CountPixels(), "pixels of rasters"}};
    for (const auto& kind : kinds) {
        if (kind.count > 0) {
            std::printf("%zu %s, ", kind.count, kind.name);
        }
    }
    const OrrinViewer::Extent& extent = scene.GetExtent();
    // A hundredth of a degree is a kilometre.
    const int decimals = scene.GetUnits() == OrrinViewer::MapUnits::Degrees ? 7 : 2;
    std::printf("x %.*f to %.*f, y %.*f to %.*f", decimals, extent.low.x, decimals, extent.high.x, decimals,
                extent.low.y, decimals, extent.high.y);
    if (extent.HasHeights()) {
        std::printf(", z %.2f to %.2f", extent.low.z, extent.high.z);
    }
    const std::string system = scene.GetSystemName();
    std::printf("%s%s\n", system.empty() ? "" : ", in ", system.c_str());
    std::fflush(stdout);
}

/// What there is to say once all files are read. False when something is not as it was asked for.
bool Report(const OrrinViewer::Scene& scene, const OrrinViewer::SceneLoading& loading) {
    PrintLines(loading.GetFaults());
    PrintLines(scene.GetRemarks());
    PrintLines(scene.GetProblems());
    bool isWhole = loading.GetFaults().empty() && scene.GetProblems().empty();
    if (!scene.GetExtent().IsEmpty()) {
        PrintSummary(scene);
    } else if (isWhole) {
        std::fprintf(stderr, "There is nothing to show: the files hold no points, no shapes and no pixels.\n");
        isWhole = false;
    }
    if (!scene.GetLabelProperty().empty() && scene.CollectLabels().empty()) {
        std::fprintf(stderr, "%s\n", ExplainMissingLabels(scene).c_str());
        isWhole = false;
    }
    return isWhole;
}

int ShowFiles(const OrrinViewer::ViewerOptions& options) {
    OrrinViewer::Scene scene;
    OrrinViewer::StyleScene(scene, options);
    OrrinViewer::SceneLoading loading(scene, options);
    loading.Add(options.files);
    bool isWhole = true;
    if (options.frames > 0) {
        // Without a person nobody looks at a part of the data.
        loading.WaitUntilLoaded();
        scene.WaitUntilRead();
        KTR::SetMessageBoxHandler(PrintMessageBox, nullptr);
        isWhole = Report(scene, loading);
        if (scene.GetExtent().IsEmpty()) {
            return 1;
        }
    }
    OrrinViewer::ViewerSession session(scene, loading, options);
    if (!session.Open()) {
        std::fprintf(stderr, "There is no OpenGL to draw with: neither a pixel format nor a context could be had.\n");
        return 1;
    }
    session.Run(Report);
    // Who looks at a screenshot does not see what is missing in it; a person has been told.
    return options.frames > 0 && (!isWhole || g_hasNotice) ? 1 : 0;
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
