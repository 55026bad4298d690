#include "support/TextSink.h"
#include "support/ViewFixture.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

namespace {

class Trace : public FreshProcessTest {
protected:
    ~Trace() override {
        spdlog::drop("OrrinLogger");
        spdlog::drop("OtherLogger");
    }
    static std::shared_ptr<TextSink> Register(const std::string& name, spdlog::level::level_enum level) {
        const auto sink = std::make_shared<TextSink>();
        auto logger = std::make_shared<spdlog::logger>(name, sink);
        logger->set_level(level);
        COpenGLView::RegisterLogger(std::move(logger));
        return sink;
    }
};

using Texts = std::vector<std::string>;

TEST_F(Trace, EachLabelledCallIsOneRecordInOrder) {
    const LiveView live;
    const auto sink = Register("OrrinLogger", spdlog::level::trace);
    live->Enable(GL_BLEND);
    live->Disable(GL_BLEND);
    live->PushMatrix(GL_MODELVIEW, L"label");
    live->PopMatrix(L"label");
    live->SetBackgroundColor(0, true);
    live->Clear(GL_COLOR_BUFFER_BIT);
    live->Color(1, 2, 3);
    live->EnableClientState(true, false, true, false, GLShaderLine);
    live->BeginArrays(GL_LINES, GLShaderLine);
    live->EndArraysAndDisableClientState();
    live->Finish();
    live->Flush();
    EXPECT_EQ(sink->texts, (Texts{"glEnable: END",
                                  "glDisable: END",
                                  "glMatrixMode: END",
                                  "PushMatrix:  END",
                                  "glMatrixMode: END",
                                  "glLoadMatrixd: END",
                                  "glMatrixMode: END",
                                  "PopMatrix:  END",
                                  "SetBackgroundColor: glClearColor()",
                                  "SetBackgroundColor: glClear()",
                                  "Clear: END:  glClear()",
                                  "Color 3ub: END",
                                  "EnableClientState: BEGIN  4 bool version",
                                  "DisableClientState BEGIN:",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "DisableClientState END:",
                                  "EnableClientStateVertex END: ",
                                  "EnableClientStateColor END: ",
                                  "Enable ClientState: END: 4 bool version  ",
                                  "DisableClientState BEGIN:",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "glDisableClientState: END",
                                  "DisableClientState END:",
                                  "glFinish: END",
                                  "glFlush: END"}));
}

TEST_F(Trace, DrawsAreLabelledOncePerFlush) {
    const LiveView live;
    live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
    const auto sink = Register("OrrinLogger", spdlog::level::trace);
    live->BeginArrays(GL_POINTS, GLShaderPoint);
    for (int count = 0; count < 32'770; ++count) {
        live->AddIndex2DVertexRGBA(1, 1, 1, 1, 1, 1);
        if (count == 32'768) {
            EXPECT_TRUE(sink->texts.empty()) << "the 32769th add does not flush";
        }
    }
    EXPECT_EQ(sink->texts, Texts{"glDrawElements: AFTER:"});
    EXPECT_EQ(live->GetBatchVertexCount(), 1);
}

TEST_F(Trace, LevelAboveTraceAndOtherNamesStaySilent) {
    const LiveView live;
    const auto other = Register("OtherLogger", spdlog::level::trace);
    live->Flush();
    EXPECT_TRUE(other->texts.empty());
    const auto first = Register("OrrinLogger", spdlog::level::debug);
    const auto second = Register("OrrinLogger", spdlog::level::trace);
    live->Flush();
    EXPECT_TRUE(first->texts.empty());
    EXPECT_TRUE(second->texts.empty()) << "the first logger of a name stands";
    spdlog::get("OrrinLogger")->set_level(spdlog::level::trace);
    live->Flush();
    EXPECT_EQ(first->texts, Texts{"glFlush: END"});
}

TEST_F(Trace, LabelsKeepTheirLowBytesAndNothingIsFormatted) {
    const LiveView live;
    const auto sink = Register("OrrinLogger", spdlog::level::trace);
    live->outputGlError(L"\x0141{} %s \x00E9");
    EXPECT_EQ(sink->texts, Texts{"A{} %s \xE9"});
    live->outputGlError(nullptr);
    EXPECT_EQ(sink->texts.size(), 1U);
    spdlog::drop("OrrinLogger");
    live->Flush();
    EXPECT_EQ(sink->texts.size(), 1U);
}

} // namespace
