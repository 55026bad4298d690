// Runs the live tests. On the driver that the project is developed on all of them run; with ORRIN_GL_DRIVER (see
// tools/wine-run.sh) on others, those that such a driver cannot pass are left out, each for a reason that is printed.

#include "ViewFixture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct LeftOut {
    const char* reason;
    const char* tests;
};

constexpr LeftOut kWithoutPrograms = {
    "it has no OpenGL 4.4: what draws with programs, or compares with that",
    "*/Program*:*/program*:Program*.*:StateOfPrograms.*:Scenes/Parity.*:Shapes/Tesselator.*:EyeDome.*:"
    "Scenes/EyeDomeScene.*:TextPictures.*:TextPlaces.RasterTextBehindTheEyeIsNotDrawn:Fonts/PlainText.*:"
    "Strings/GoldenText.*:Strings/NationalGrid.*"};

constexpr LeftOut kOnZink[] = {
    {"Mesa's bitmaps crash with it", "Frame.MemoryBitmapIsDrawnByTheLegacyContext"},
    {"of a stippled line that goes up it lacks the first pixel of each dash", "Scenes/Parity.*/StippledLines"},
    {"depths come back off by one step of their 24 bits",
     "Pipelines/BackingStore.SceneComesBackUnderEachOverlay/Programs"},
    {"a line exactly between two rows of pixels is in the other one", "Strings/GoldenText.LooksAsItDid/underlined"},
};

void Leave(const LeftOut& tests) {
    std::printf("Left out: %s (%s).\n", tests.tests, tests.reason);
    std::string filter = GTEST_FLAG_GET(filter);
    filter += (filter.find('-') == std::string::npos ? "-" : ":") + std::string(tests.tests);
    GTEST_FLAG_SET(filter, filter);
}

void LeaveOutWhatTheDriverCannot() {
    const Notices notices;
    ForgetFirstView();
    UseBuiltShaders();
    {
        const LiveView live;
        const COrrinGLCement& gl = *live->GetContextRecord(GLContextMain).glCement;
        const char* const renderer = reinterpret_cast<const char*>(gl.glGetString(GL_RENDERER));
        const OpenGLVersionData& version = COpenGLView::m_gsOpenGLVersionData;
        std::printf("The driver is %s with OpenGL %d.%d.\n", renderer, version.iVendorMajor, version.iVendorMinor);
        if (version.iVendorMajor * 10 + version.iVendorMinor < 44) {
            Leave(kWithoutPrograms);
        }
        if (renderer && std::strncmp(renderer, "zink", 4) == 0) {
            for (const LeftOut& tests : kOnZink) {
                Leave(tests);
            }
        }
    }
    ForgetFirstView();
}

} // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    if (std::getenv("ORRIN_GL_DRIVER")) {
        LeaveOutWhatTheDriverCannot();
    }
    return RUN_ALL_TESTS();
}
