#include "support/RecordedFixture.h"

#include <string>
#include <string_view>
#include <thread>

namespace {

class OverlayJournals : public BothPipelinesTest {
protected:
    void DrawFrame() {
        View().SetBackgroundColor(0, true);
        View().EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        View().BeginArrays(GL_LINES, GLShaderColorPassThrough);
        for (int vertex = 0; vertex < 300; ++vertex) {
            View().AddIndex2DVertexRGBA(vertex, vertex % 7, 255, 0, 0, 255);
        }
        View().EndArraysAndDisableClientState();
    }
};

// Each letter is one call: "+" a mode on, "-" off, "s" a layer started, "c" one completed, "t" one completed by another
// thread, "w" a swap, "g" any other call of the view. A number is how many frames the screen has seen by then.
struct Sequence {
    const char* name;
    std::string_view calls;
};

constexpr Sequence kSequences[] = {
    {"OffIsAsEver", "w1w2"},
    {"OnWithoutLayers", "+w1w2"},
    {"LastCompletionPresentsOnce", "+ssw0w0c0c1c1"},
    {"NothingAskedNothingPresented", "+sc0w1"},
    {"TurningOffPresents", "+sw0-1-1w2"},
    {"TurningOffWithoutAWish", "+s-0w1"},
    {"CompletionsTooMany", "ccc+sw0c1sw1c2"},
    {"LayersCountedWithTheModeOff", "s+w0c1"},
    {"OffLayersDelayNothing", "sw1"},
    {"AnotherThreadCompletes", "+sw0t0g1g1"},
    {"AnotherThreadThenASwap", "+sw0t0w1g1"},
    {"NewLayerBeforeItIsPresented", "+sw0t0s0g0c1"},
};

class DelayedSwaps : public RecordedViewTest, public testing::WithParamInterface<Sequence> {
protected:
    DelayedSwaps() : RecordedViewTest(false) {}
};

TEST_P(DelayedSwaps, FollowTheirTable) {
    driver.StartJournal();
    for (const char call : GetParam().calls) {
        switch (call) {
        case '+':
        case '-':
            View().SwapBuffersSetDelayedSwapModeState(call == '+');
            break;
        case 's':
            View().SwapBuffersCountDelayedLayerStart();
            break;
        case 'c':
            View().SwapBuffersCountDelayedLayerComplete();
            break;
        case 't':
            std::thread([&] { View().SwapBuffersCountDelayedLayerComplete(); }).join();
            break;
        case 'w':
            EXPECT_EQ(View().SwapBuffers(), live->window.DeviceContext());
            break;
        case 'g':
            View().LineWidth(1.0F);
            break;
        default:
            EXPECT_EQ(driver.Journal("wglSwapBuffers").size(), static_cast<std::size_t>(call - '0'));
        }
    }
    EXPECT_GE(View().GetDelayedLayerCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Sequences, DelayedSwaps, testing::ValuesIn(kSequences),
                         [](const auto& test) { return test.param.name; });

// Between the first move and the last nothing of the scene is drawn. Where a swap keeps the back buffer, only the tile
// that the band lay in is put back; elsewhere the whole frame.
TEST_P(OverlayJournals, MovesDrawTheBandAndNothingElse) {
    for (const bool copies : {false, true}) {
        SCOPED_TRACE(copies);
        driver.SetStringText(GL_RENDERER, copies ? "llvmpipe" : "a graphics card");
        DrawFrame();
        View().SwapBuffers();
        driver.JournalOnly({"glDraw*", "glReadPixels", "glReadBuffer", "wglSwapBuffers"});
        driver.StartJournal();
        ASSERT_EQ(View().BeginRubberBand(GLRubberBandLine, 10.0, 10.0), S_OK);
        driver.StopJournal();
        EXPECT_EQ(driver.Journal("glReadBuffer").front().Integer(0), copies ? GL_BACK : GL_FRONT);
        View().MoveRubberBand(20.0, 20.0);
        View().MoveRubberBand(24.0, 24.0);
        driver.StartJournal();
        ASSERT_EQ(View().MoveRubberBand(28.0, 28.0), S_OK);
        driver.StopJournal();
        EXPECT_TRUE(driver.Journal("glReadPixels").empty());
        EXPECT_EQ(driver.Journal("wglSwapBuffers").size(), 1U);
        const std::vector<DriverCall> pixels = driver.Journal("glDrawPixels");
        const std::size_t draws =
            driver.Journal("glDrawArrays").size() + driver.Journal("glDrawElements").size() + pixels.size();
        EXPECT_EQ(draws, 2U) << "the frame's part and the band";
        if (!GetParam()) {
            EXPECT_EQ(pixels.at(0).Integer(0), copies ? 32 : 128) << "pixels wide";
        }
        EXPECT_EQ(View().EndRubberBand(false), S_OK);
    }
    driver.RestoreStringText(GL_RENDERER);
}

// While layers are missing a band is not shown either; it comes with them.
TEST_P(OverlayJournals, BandWaitsForLayersToo) {
    DrawFrame();
    View().SwapBuffers();
    View().SwapBuffersSetDelayedSwapModeState(true);
    View().SwapBuffersCountDelayedLayerStart();
    ASSERT_EQ(View().BeginRubberBand(GLRubberBandLine, 10.0, 10.0), S_OK);
    driver.JournalOnly({"wglSwapBuffers"});
    driver.StartJournal();
    EXPECT_EQ(View().MoveRubberBand(20.0, 20.0), S_OK);
    EXPECT_TRUE(driver.Journal().empty());
    View().SwapBuffersCountDelayedLayerComplete();
    EXPECT_EQ(driver.Journal().size(), 1U);
    EXPECT_EQ(View().MoveRubberBand(24.0, 24.0), S_OK);
    EXPECT_EQ(driver.Journal().size(), 2U);
    driver.StopJournal();
    EXPECT_EQ(View().EndRubberBand(false), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Pipelines, OverlayJournals, testing::Bool(), PipelineName);

} // namespace
