#include "support/Picture.h"
#include "support/ProcessFootprint.h"
#include "support/RecordedFixture.h"

#include <array>

namespace {

/// Several views of one process, all drawing with the shared programs; each test ends with nothing left behind.
class SharedPrograms : public RecordedTest {
protected:
    SharedPrograms() { driver.SetVersionText(kVersionOfPrograms); }
    ~SharedPrograms() override {
        first.reset();
        second.reset();
        third.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }

    static std::unique_ptr<LiveView> Open() {
        auto live = std::make_unique<LiveView>();
        EXPECT_EQ(live->created, 1);
        EXPECT_TRUE((*live)->IsCurrentContextOpenGL4OrLater());
        live->Clear();
        return live;
    }
    /// Moves what a view draws, so that a foreign matrix shows.
    static void Shift(LiveView& live, double pixels) {
        live->MakeCurrent(GLContextMain);
        live->LoadIdentity();
        live->Translate(pixels, 0.0, 0.0);
    }
    static void AddSquare(LiveView& live, Pixel color) {
        for (const auto& [x, y] : {std::pair{0, 0}, {8, 0}, {8, 8}, {0, 0}, {8, 8}, {0, 8}}) {
            live->AddIndex2DVertexRGBA(x, y, color.r, color.g, color.b, 255);
        }
    }
    /// A square 8 pixels wide at the view's own place.
    static void DrawSquare(LiveView& live, Pixel color, GLShaderTypes shader = GLShaderColorPassThrough) {
        live->MakeCurrent(GLContextMain);
        live.Clear();
        live->BeginArrays(GL_TRIANGLES, shader);
        AddSquare(live, color);
        live->EndArrays();
    }
    static void ExpectSquareAt(LiveView& live, int x, Pixel color) {
        EXPECT_EQ(live.At(x + 4, 4), color) << "at " << x;
        EXPECT_EQ(live.CountDrawn(), 64) << "at " << x;
        EXPECT_EQ(live->GetError(), 0U);
    }

    std::unique_ptr<LiveView> first;
    std::unique_ptr<LiveView> second;
    std::unique_ptr<LiveView> third;
};

constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kGreen{0, 255, 0, 255};

// The programs' uniforms are one set for all views: a view whose program is still bound must not draw with the matrices
// of the one that drew in between.
TEST_F(SharedPrograms, ViewsInTurnKeepTheirOwnPicture) {
    first = Open();
    second = Open();
    Shift(*first, 10.0);
    Shift(*second, 60.0);
    for (int turn = 0; turn < 3; ++turn) {
        DrawSquare(*first, kRed);
        ExpectSquareAt(*first, 10, kRed);
        DrawSquare(*second, kGreen, turn == 1 ? GLShaderLine : GLShaderColorPassThrough);
        ExpectSquareAt(*second, 60, kGreen);
    }
}

TEST_F(SharedPrograms, OpenBatchSurvivesAnotherViewsDraw) {
    first = Open();
    second = Open();
    Shift(*second, 60.0);
    Shift(*first, 10.0);
    (*first)->EnableClientState(true, false, true, false, GLShaderColorPassThrough);
    (*first)->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(*first, kRed);
    DrawSquare(*second, kGreen);
    (*first)->MakeCurrent(GLContextMain);
    (*first)->EndArraysAndDisableClientState();
    ExpectSquareAt(*first, 10, kRed);
    // After DisableClientState no program is in use, although the context remembers which it was.
    DrawSquare(*first, kGreen);
    ExpectSquareAt(*first, 10, kGreen);
}

// A view alone does not pay for the sharing.
TEST_F(SharedPrograms, BatchAfterBatchBindsNothingAgain) {
    first = Open();
    second = Open();
    DrawSquare(*first, kRed);
    driver.JournalOnly({"glUseProgram", "glUniform*", "glBindVertexArray", "glGetUniformLocation"});
    driver.StartJournal();
    DrawSquare(*first, kRed);
    EXPECT_TRUE(driver.Journal().empty());
    DrawSquare(*second, kRed);
    DrawSquare(*first, kRed);
    driver.StopJournal();
    EXPECT_EQ(driver.Journal("glUseProgram").size(), 2U);
    EXPECT_EQ(driver.Journal("glBindVertexArray").size(), 1U) << "each context binds its own once";
    EXPECT_TRUE(driver.Journal("glGetUniformLocation").empty()) << "the program was asked by the first view";
}

// Hosts close windows in any order. The programs live as long as a view that draws with them.
TEST_F(SharedPrograms, MasterMayGoFirst) {
    first = Open();
    second = Open();
    third = Open();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U);
    Shift(*second, 30.0);
    DrawSquare(*first, kRed);
    first.reset();
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 13U);
    DrawSquare(*second, kGreen);
    ExpectSquareAt(*second, 30, kGreen);
    third.reset();
    first = Open();
    EXPECT_EQ(driver.CallCount("glLinkProgram"), 13U) << "built once for all";
    DrawSquare(*first, kRed);
    ExpectSquareAt(*first, 0, kRed);
    first.reset();
    second.reset();
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
    // A new view finds nothing and starts again.
    third = Open();
    EXPECT_EQ((*third)->GetMasterContextIndex(), 0);
    DrawSquare(*third, kRed);
    ExpectSquareAt(*third, 0, kRed);
}

// An hour of redrawing, in short: two windows in turn with changing programs, batches that fill the arrays among small
// ones, and the window that made the programs closed half-way.
TEST_F(SharedPrograms, HourOfFlushesIsDrawnRightAndLeavesNothing) {
    first = Open();
    second = Open();
    Shift(*first, 10.0);
    Shift(*second, 60.0);
    constexpr int rounds = 2500;
    constexpr int batchesPerView = 4;
    ProcessFootprint before;
    for (int round = 0; round < rounds; ++round) {
        if (round == 100) {
            before = ProcessFootprint::Take();
        }
        for (const auto& view : {&first, &second}) {
            if (!*view) {
                continue;
            }
            LiveView& live = **view;
            live->MakeCurrent(GLContextMain);
            live.Clear();
            for (const GLShaderTypes shader : {GLShaderPoint, GLShaderLine, GLShaderLineContour}) {
                live->BeginArrays(GL_POINTS, shader);
                for (int vertex = round % 500 == 0 ? 40'000 : 6; vertex > 0; --vertex) {
                    live->AddIndex2DVertexRGBA(4.5, 4.5, 255, 255, 255, 255);
                }
                live->EndArrays();
            }
            DrawSquare(live, view == &first ? kRed : kGreen);
            if (round % 100 == 0) {
                ExpectSquareAt(live, view == &first ? 10 : 60, view == &first ? kRed : kGreen);
            }
        }
        if (round == rounds / 2) {
            first.reset();
            third = Open();
            Shift(*third, 10.0);
            std::swap(first, third);
        }
    }
    EXPECT_GE(driver.CallCount("glFenceSync"), 2U * rounds * batchesPerView);
    const ProcessFootprint after = ProcessFootprint::Take();
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.memory, before.memory + 16'000'000);
    EXPECT_LE(driver.LiveObjects(DriverObject::Sync), 6U) << "three segments each";
}

// A host that shuts a view down but destroys it later may open another in between.
TEST_F(SharedPrograms, ViewOpenedAfterTheLastShutDownHasPrograms) {
    first = Open();
    (*first)->ShutDownOpenGLContexts(first->window.Window());
    EXPECT_EQ(driver.LiveObjects(DriverObject::Program), 0U);
    second = Open();
    DrawSquare(*second, kGreen);
    ExpectSquareAt(*second, 0, kGreen);
}

TEST_F(SharedPrograms, RecreatedContextDrawsOn) {
    first = Open();
    second = Open();
    for (const auto& live : {first.get(), second.get()}) {
        DrawSquare(*live, kRed);
        driver.FailCall("wglSwapBuffers", 1, 1, 2000);
        (*live)->SwapBuffers();
        live->DrawInPixels();
        DrawSquare(*live, kGreen);
        ExpectSquareAt(*live, 0, kGreen);
    }
}

TEST_F(SharedPrograms, HostMaySwitchToProgramsLater) {
    driver.RestoreVersionText();
    first = std::make_unique<LiveView>();
    EXPECT_FALSE((*first)->IsCurrentContextOpenGL4OrLater());
    COpenGLView::SetOpenGLVersion(4, 4);
    second = Open();
    DrawSquare(*second, kGreen);
    ExpectSquareAt(*second, 0, kGreen);
}

// The driver refuses one attribute-based context. That view shares nothing, so it draws without programs, and its twin
// is none the worse for it.
TEST_F(SharedPrograms, PlainContextDrawsWithFixedFunctions) {
    first = Open();
    driver.FailCall("wglCreateContextAttribsARB");
    second = std::make_unique<LiveView>();
    ASSERT_EQ(second->created, 1);
    driver.JournalOnly({"glUseProgram", "glDrawArrays", "glDrawElements"});
    driver.StartJournal();
    second->Clear();
    (*second)->EnableClientStateInternalBuffers(true, false, true, false, GLShaderColorPassThrough);
    (*second)->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddSquare(*second, kGreen);
    (*second)->EndArraysAndDisableClientState();
    driver.StopJournal();
    ExpectSquareAt(*second, 0, kGreen);
    EXPECT_EQ(driver.Journal().size(), 1U);
    DrawSquare(*first, kRed);
    ExpectSquareAt(*first, 0, kRed);
}

// An assignment shares settings, never buffers: neither view may write into or delete the other's.
TEST_F(SharedPrograms, AssignedViewKeepsItsBuffers) {
    first = Open();
    second = Open();
    DrawSquare(*first, kRed);
    DrawSquare(*second, kRed);
    *second->view = *first->view;
    DrawSquare(*second, kGreen);
    ExpectSquareAt(*second, 0, kGreen);
}

} // namespace
