#include "support/PipelineFixture.h"

#include <GL/glext.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>
#include <set>

namespace {

struct Told {
    spdlog::level::level_enum level;
    std::string text;
};

class TellingSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::vector<Told> told;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        told.push_back({message.level, {message.payload.data(), message.payload.size()}});
    }
    void flush_() override {}
};

const std::vector<std::string> kFunctions = {"glObjectLabel", "glPushDebugGroup", "glPopDebugGroup",
                                             "glDebugMessageCallback"};

/// Hosts call SetDebugNames before their first context.
class DebugNames : public OnBothPipelines {
protected:
    ~DebugNames() override { COpenGLView::SetDebugNames(false); }

    /// What a host draws in a frame: a batch, geometry that stays, records, an image, a string, a shape, a stored
    /// frame.
    static void DrawFrame(const LiveView& live) {
        COpenGLView& view = *live.view;
        view.InitializeFontManager();
        live.Clear();
        DrawSquare(view, kRed);
        GLGeometry geometry;
        ASSERT_EQ(view.BeginGeometry(geometry), S_OK);
        view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(view, kGreen, 20.0);
        view.EndArrays();
        ASSERT_EQ(view.EndGeometry(), S_OK);
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        EXPECT_EQ(view.DrawGeometry(geometry), S_OK);
        view.DisableClientState();
        const GLDrawGeometry corners[3] = {{40, 0, 0, 0, 0, 1, 0, 0, 0, 0, 255, 255},
                                           {48, 0, 0, 0, 0, 1, 0, 0, 0, 0, 255, 255},
                                           {48, 8, 0, 0, 0, 1, 0, 0, 0, 0, 255, 255}};
        EXPECT_EQ(view.DrawGeometry3D(GL_TRIANGLES, GLShaderColorPassThrough, corners, 3, nullptr, 0), S_OK);
        const unsigned int pixels[4] = {~0U, ~0U, ~0U, ~0U};
        EXPECT_EQ(view.DrawImage(60, 0, 68, 8, 0, GL_RGBA, 2, 2, 4, GL_NEAREST, pixels), S_OK);
        view.DrawCircle2D(90, 10, 6, true);
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        view.DrawFontAtlasText(L"map", 10.0, 40.0, 0.0, false, false);
        view.DrawTeardownFontAtlasText(false, false);
        EXPECT_EQ(view.SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 128, 128), S_OK);
        view.RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 128, 128, 0, 0, 128, 128, false, false, false);
        EXPECT_EQ(view.GetError(), 0U);
        view.SwapBuffers(); // the driver judges a group that is still open
    }
};

// Without being asked the library makes none of these calls: captures of hosts that name things themselves stay theirs.
TEST_P(DebugNames, NothingIsNamedUnasked) {
    const LiveView live;
    DrawFrame(live);
    for (const std::string& function : kFunctions) {
        EXPECT_EQ(driver.CallCount(function), 0U) << function;
    }
}

TEST_P(DebugNames, ObjectsHaveNamesAndOperationsGroups) {
    COpenGLView::SetDebugNames(true);
    driver.JournalOnly({"glObjectLabel", "glPushDebugGroup", "glGenTextures", "glGenBuffers", "glGenSamplers",
                        "glGenVertexArrays", "glCreateProgram"});
    driver.StartJournal();
    {
        const LiveView live;
        DrawFrame(live);
    }
    std::set<std::string> names;
    std::set<std::string> groups;
    std::uint64_t made = 0;
    std::set<std::pair<std::uint64_t, std::uint64_t>> named;
    for (const DriverCall& call : driver.Journal()) {
        if (call.function == "glPushDebugGroup") {
            groups.insert(call.text);
        } else if (call.function == "glObjectLabel") {
            names.insert(call.text);
            named.emplace(call.arguments[0], call.arguments[1]);
        } else {
            made += call.function == "glCreateProgram" ? 1 : call.arguments[0];
        }
    }
    EXPECT_EQ(driver.CallCount("glPushDebugGroup"), driver.CallCount("glPopDebugGroup"));
    EXPECT_TRUE(groups.contains("batch"));
    EXPECT_TRUE(groups.contains("DrawGeometry"));
    EXPECT_TRUE(groups.contains("DrawGeometry3D"));
    EXPECT_TRUE(groups.contains("shapes"));
    EXPECT_TRUE(groups.contains("SaveBackingStore"));
    EXPECT_TRUE(groups.contains("RestoreBackingStore"));
    EXPECT_TRUE(names.contains("image"));
    if (UsesPrograms()) {
        EXPECT_TRUE(names.contains("program OrrinText.vert"));
        EXPECT_TRUE(names.contains("ring of vertices"));
        EXPECT_TRUE(names.contains("geometry"));
        EXPECT_TRUE(names.contains("font"));
    }
    EXPECT_EQ(named.size(), made) << testing::PrintToString(driver.JournalText());
}

TEST_P(DebugNames, DriverWithoutThemDrawsAsEver) {
    for (const std::string& function : kFunctions) {
        driver.HideEntryPoint(function);
    }
    COpenGLView::SetDebugNames(true);
    const LiveView live;
    ExpectDraws(*live.view, kRed);
    EXPECT_EQ(driver.CallCount("glPushDebugGroup"), 0U);
}

// What the driver says reaches the host's log at a level of its own; the library's groups are no news there.
TEST_P(DebugNames, DriversMessagesReachTheLogger) {
    const auto sink = std::make_shared<TellingSink>();
    const auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::debug);
    COpenGLView::RegisterLogger(logger);
    COpenGLView::SetDebugNames(true);
    {
        const LiveView live;
        DrawSquare(*live.view, kRed);
        const COrrinGLCement& gl = *live.view->GetContextRecord(GLContextMain).glCement;
        gl.glDebugMessageInsert(GL_DEBUG_SOURCE_THIRD_PARTY, GL_DEBUG_TYPE_ERROR, 7, GL_DEBUG_SEVERITY_HIGH, -1,
                                "out of order");
        live.view->Finish();
    }
    spdlog::drop("OrrinLogger");
    bool heard = false;
    for (const Told& one : sink->told) {
        EXPECT_EQ(one.text.find("batch"), std::string::npos) << one.text;
        heard = heard || (one.level == spdlog::level::err && one.text == "OpenGL driver: out of order");
    }
    EXPECT_TRUE(heard);
}

ORRIN_ON_BOTH_PIPELINES(DebugNames);

} // namespace
