#include "support/Outlines.h"
#include "support/RecordedFixture.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>
#include <set>

namespace {

struct Label {
    std::string text;
    std::uint64_t callsBefore; ///< OpenGL calls made until it came
};

/// Keeps each label with its place among the calls.
class PlacedLabels : public spdlog::sinks::base_sink<std::mutex> {
public:
    explicit PlacedLabels(const StandIn& driver) : m_driver(&driver) {}
    std::vector<Label> labels;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        labels.push_back({{message.payload.data(), message.payload.size()}, m_driver->GLCallCount()});
    }
    void flush_() override {}

private:
    const StandIn* m_driver;
};

/// Labels that a call has instead of its function's name.
const std::set<std::pair<std::string, std::string>> kOwnLabels = {
    {"glClear", "Clear: END:  glClear()"},
    {"glClear", "SetBackgroundColor: glClear()"},
    {"glClearColor", "SetBackgroundColor: glClearColor()"},
    {"glColor3ub", "Color 3ub: END"},
    {"glColor4ub", "Color 4ub: END"},
    {"glColorPointer", "ColorPointer END: "},
    {"glDrawArrays", "glDrawArrays: AFTER:"},
    {"glDrawElements", "glDrawElements: AFTER:"},
    {"glEnableClientState", "EnableClientStateColor END: "},
    {"glEnableClientState", "EnableClientStateNormal END: "},
    {"glEnableClientState", "EnableClientStateVertex END: "},
    {"glFlush", "LockGPUBuffer: END"},
    {"glGenLists", "initializeDisplayList(): END"},
    {"glLightfv", "Light: END"},
    {"glNormalPointer", "NormalPointer END: "},
    {"glTexCoordPointer", "TexCoordPointer END: "},
    {"glUniform1f", "BindUniform1f: END"},
    {"glUniform1i", "BindUniform1i: END"},
    {"glUniform1ui", "BindUniform1ui: END"},
    {"glUniform4f", "BindUniform4f: END"},
    {"glUniform4fv", "BindUniform4fv: END"},
    {"glVertexPointer", "VertexPointer END: "},
};

bool ChangesSomething(const std::string& function) {
    return function.rfind("glGet", 0) != 0 && function.rfind("glIs", 0) != 0 && function != "glClientWaitSync";
}

/// Something of everything that a host draws with.
class BusyScene : public BothPipelinesTest {
protected:
    ~BusyScene() override {
        spdlog::drop("OrrinLogger");
        live.reset();
        COpenGLView::m_gFontManager.DeleteFontLibrary();
    }

    static void DrawBatches(COpenGLView& view) {
        for (int type = 0; type < kShaderCount; ++type) {
            const auto shader = static_cast<GLShaderTypes>(type);
            view.EnableClientStateInternalBuffers(true, true, true, true, shader);
            view.BeginArrays(GL_LINE_LOOP, shader);
            for (int vertex = 0; vertex < (type == 2 ? 70'000 : 7); ++vertex) {
                view.AddIndex2DVertexRGBA(vertex % 100, vertex % 90, 1, 2, 3, 255);
            }
            view.EndArraysAndDisableClientState();
        }
        std::vector<GLDrawGeometry> geometry(6);
        GLVBO vbo;
        view.EnableClientState(true, true, true, true, GLShaderColorPassThrough);
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        view.InitializeVBO(GL_TRIANGLES, GLShaderColorPassThrough, vbo, geometry.data(), geometry.size());
        view.DrawArrays(GL_TRIANGLES, 6, vbo, nullptr);
        view.EndVBOArraysAndDisableClientState();
        view.DeleteVBO(vbo);
        FillOutline(view, {RingAround(50.0, 50.0, 9, false, [](double) { return 30.0; })}, {1, 2, 3, 255});
    }
    static void ChangeState(COpenGLView& view) {
        const float direction[] = {0.0F, 0.0F, 1.0F, 0.0F};
        view.PushAttributes(0, L"");
        view.PushBothMatrices(L"");
        view.MatrixMode(GL_TEXTURE);
        view.Translate(1.0, 2.0, 3.0);
        view.SetUpViewport(0, 0, 100, 90);
        view.Enable(GL_LINE_STIPPLE);
        view.LineStippleOnOff(true);
        view.LineStipple(2, 0xF0F0);
        view.BlendFunc(GL_ONE, GL_ONE);
        view.LineWidth(2.0F);
        view.PointSize(3.0F);
        view.LogicOp(GL_COPY);
        view.PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        view.ShadeModel(GL_SMOOTH);
        view.TexEnv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        view.TexParameter(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        view.Light(GL_LIGHT0, GL_POSITION, direction);
        view.Color(1, 2, 3);
        view.Color(1, 2, 3, 4);
        view.RasterPosition(1.0, 2.0, 0.0);
        view.SaveLightingState();
        view.RestoreLightingState();
        view.SaveDepthBufferState();
        view.RestoreDepthBufferState();
        view.DisableLightsAndTextures();
        view.PixelStore(GL_PACK_ALIGNMENT, 1);
        view.DrawBuffer(GL_BACK);
        view.ReadBuffer(GL_BACK);
        GLAttributes attributes;
        view.GetCurrentGLAttributes(attributes);
        view.PopMatricesAndAttributes(true, true, true, GL_BACK, L"");
        view.SetBackgroundColor(RGB(1, 2, 3), true);
        view.Clear(GL_DEPTH_BUFFER_BIT);
    }
    static void DrawText(COpenGLView& view, HDC deviceContext) {
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        view.DrawFontAtlasText(L"map", 10.0, 10.0, 0.0, false, false);
        view.DrawFontAtlasScaledRotatedTextString(L"map", "map", false, false, 10.0, 30.0, 0.0, 2.0, 2.0, 1.0, 30.0);
        view.DrawTeardownFontAtlasText(false, true);
        unsigned int rasterLists = 0;
        unsigned int outlineLists = 0;
        const auto font = static_cast<HFONT>(GetStockObject(ANSI_VAR_FONT));
        const HFONT outlines = CreateFontW(20, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                           OUT_TT_ONLY_PRECIS, 0, 0, 0, L"Arial");
        view.RefreshRasterFont(deviceContext, rasterLists, font, 0);
        view.RefreshOutlineFont(deviceContext, outlineLists, outlines, 0);
        view.DrawRasterText(rasterLists, "map", 10.0, 50.0, 0.0);
        view.DrawOutlineText(outlineLists, "map", 10.0, 70.0, 0.0, 20.0, 10.0);
        view.DeleteFont(rasterLists);
        view.DeleteFont(outlineLists);
        DeleteObject(outlines);
    }
    static void DrawImages(COpenGLView& view, HDC deviceContext) {
        std::vector<unsigned char> pixels(16 * 16 * 4, 100);
        unsigned int texture = 0;
        unsigned int sampler = 0;
        EXPECT_EQ(view.LoadGLImage(GL_TEXTURE0, GL_RGBA, 16, 16, 4, GL_LINEAR, pixels.data(), texture, sampler), S_OK);
        const PointXYZ corners[] = {{0, 0, 0}, {50, 0, 0}, {50, 50, 0}, {0, 50, 0}};
        EXPECT_EQ(view.DrawTexturedQuadrilateral(texture, sampler, corners, nullptr), S_OK);
        view.DeleteTextureAndSamplerNames(texture, sampler);
        EXPECT_EQ(view.DrawImage(0, 0, 50, 50, 0, GL_LUMINANCE, 16, 16, 1, GL_NEAREST, pixels.data()), S_OK);
        EXPECT_EQ(view.SaveBackingStore(deviceContext, GLContextMain, GL_BACK, 0, 0, 100, 90), S_OK);
        view.RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 100, 90, 0, 0, 128, 128, true, true, false);
        view.DeleteBackingStore();
        view.ReadPixels(0, 0, 4, 4, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    }
};

// Who looks for a fault in a trace believes that a call without a label was not made.
TEST_P(BusyScene, EachCallThatChangesSomethingHasItsLabelBehindIt) {
    const auto sink = std::make_shared<PlacedLabels>(driver);
    auto logger = std::make_shared<spdlog::logger>("OrrinLogger", sink);
    logger->set_level(spdlog::level::trace);
    COpenGLView::RegisterLogger(std::move(logger));
    driver.JournalOnly({"gl*"});
    driver.StartJournal();
    const std::uint64_t before = driver.GLCallCount();
    {
        LiveView scene;
        COpenGLView& view = *scene.view;
        DrawBatches(view);
        ChangeState(view);
        DrawText(view, scene.window.DeviceContext());
        DrawImages(view, scene.window.DeviceContext());
        view.Finish();
        view.Flush();
    }
    driver.StopJournal();

    const std::vector<DriverCall> calls = driver.Journal();
    ASSERT_EQ(calls.size(), driver.GLCallCount() - before);
    EXPECT_GT(calls.size(), 300U);
    std::set<std::string> unlabelled;
    auto label = sink->labels.begin();
    for (std::size_t index = 0; index < calls.size(); ++index) {
        while (label != sink->labels.end() && label->callsBefore - before <= index) {
            ++label;
        }
        const std::string& function = calls[index].function;
        // The first label behind the call, before the next one.
        const std::string text =
            label != sink->labels.end() && label->callsBefore - before == index + 1 ? label->text : "no label";
        if (ChangesSomething(function) && text != function + ": END" && !kOwnLabels.contains({function, text})) {
            unlabelled.insert(function + " -> " + text);
        }
    }
    EXPECT_EQ(unlabelled, std::set<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Pipelines, BusyScene, testing::Bool(), PipelineName);

} // namespace
