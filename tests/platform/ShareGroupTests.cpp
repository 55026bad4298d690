#include "support/PipelineFixture.h"

#include <latch>
#include <mutex>
#include <thread>

namespace {

class Mastership : public OnPrograms {};

TEST_F(Mastership, OtherViewsBuildNothing) {
    {
        LiveView first;
        LiveView second;
        ExpectDraws(*second.view, kRed);
        EXPECT_NE(second->GetMasterContextIndex(), 0);
        EXPECT_EQ(second->InitializeMasterContextSharedResources(), S_OK);
        EXPECT_EQ(driver.CallCount("glDeleteProgram"), 0U);
        EXPECT_EQ(driver.CallCount("glLinkProgram"), 13U);
        ExpectDraws(*second.view, kGreen);
        first->MakeCurrent(GLContextMain);
        ExpectDraws(*first.view, kBlue);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

TEST_F(Mastership, PassesOnWhenTheMasterStartsOver) {
    {
        LiveView first;
        LiveView second;
        ExpectDraws(*second.view, kRed);
        first->MakeCurrent(GLContextMain);
        ExpectDraws(*first.view, kRed);
        first->Initialize();
        EXPECT_EQ(first->GetMasterContextIndex(), -1);
        EXPECT_EQ(second->GetMasterContextIndex(), 0);
        second->MakeCurrent(GLContextMain);
        ExpectDraws(*second.view, kGreen);
        EXPECT_EQ(driver.CallCount("glLinkProgram"), 13U);
        TestWindow window;
        ASSERT_EQ(CreateMain(*first.view, window), 1);
        EXPECT_GT(first->GetMasterContextIndex(), 0);
        ExpectDraws(*first.view, kBlue);
        first->ShutDownOpenGLContexts(window.Window());
        first->DeleteContext(L"before its window", GLContextMain);
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

TEST_F(Mastership, StaysInTheGroupWhenTheMasterIsCreatedAgain) {
    {
        LiveView first;
        LiveView second;
        ExpectDraws(*second.view, kRed);
        first->MakeCurrent(GLContextMain);
        ExpectDraws(*first.view, kRed);
        ASSERT_EQ(CreateMain(*first.view, first.window), 1);
        EXPECT_NE(first->GetMasterContextIndex() == 0, second->GetMasterContextIndex() == 0) << "one of them";
        EXPECT_EQ(driver.CallCount("glLinkProgram"), 13U);
        ExpectDraws(*first.view, kGreen);
        second->MakeCurrent(GLContextMain);
        ExpectDraws(*second.view, kBlue);
        EXPECT_EQ(driver.LiveContexts(), 2U);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

/// Opens two views on threads of their own, does `between`, and lets both close at once.
template <typename Action> void CloseTwoAtOnce(Action between) {
    std::mutex opening;
    std::latch bothOpen(2);
    std::latch closing(1);
    const auto document = [&] {
        std::unique_ptr<LiveView> live;
        {
            const std::lock_guard lock(opening);
            live = std::make_unique<LiveView>(32, 32);
            (*live)->MakeNull(); // or none could share with it on another thread
        }
        bothOpen.count_down();
        closing.wait();
        live.reset();
    };
    std::thread first(document);
    std::thread second(document);
    bothOpen.wait();
    between();
    closing.count_down();
    first.join();
    second.join();
}

// Documents on threads of their own that the user closes all together.
TEST_F(Mastership, ViewsThatCloseAtOnceLeaveOneMasterOrNone) {
    const auto host = std::make_unique<COpenGLView>();
    for (int round = 0; round < 10; ++round) {
        CloseTwoAtOnce([] {});
        ASSERT_EQ(driver.LiveContexts(), 0U) << round;
        ASSERT_EQ(driver.LiveObjects(), 0U) << round << driver.LeakReport();
    }
    // One of them is the master, and a view that stays takes over: it is neither passed over nor passed to twice.
    auto stays = std::make_unique<LiveView>(32, 32);
    (*stays)->MakeNull();
    const auto links = driver.CallCount("glLinkProgram");
    for (int round = 0; round < 100; ++round) {
        CloseTwoAtOnce([&] {
            auto next = std::make_unique<LiveView>(32, 32);
            ASSERT_GT((*next)->GetMasterContextIndex(), 0);
            (*next)->MakeNull();
            stays = std::move(next);
            ASSERT_GT((*stays)->GetMasterContextIndex(), 0);
        });
        ASSERT_EQ((*stays)->GetMasterContextIndex(), 0) << round;
        ASSERT_EQ(driver.LiveContexts(), 1U) << round;
    }
    EXPECT_EQ(driver.CallCount("glLinkProgram"), links);
    (*stays)->MakeCurrent(GLContextMain);
    ExpectDraws(*stays->view, kGreen);
    stays.reset();
    EXPECT_EQ(driver.LeakReport(), "");
}

/// Views whose windows are gone before they are.
class GoneWindows : public OnPrograms {
protected:
    /// Objects that outlive the context that made them.
    std::array<unsigned, 4> SharedObjects() const {
        return {driver.LiveObjects(DriverObject::Buffer), driver.LiveObjects(DriverObject::Sync),
                driver.LiveObjects(DriverObject::Texture), driver.LiveObjects(DriverObject::Sampler)};
    }
    /// Leaves a fence behind each draw, and keeps the frame.
    static void Fill(LiveView& live) {
        live->MakeCurrent(GLContextMain);
        live.Clear();
        for (int draw = 0; draw < 3; ++draw) {
            live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
            AddSquare(*live.view, kRed);
            live->EndArrays();
        }
        EXPECT_EQ(live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 100, 90), S_OK);
    }
};

struct Leaving {
    const char* name;
    bool master;       ///< the view whose window is closed is the master
    bool otherCurrent; ///< the one that stays is current then
};

class WindowClosedFirst : public GoneWindows, public testing::WithParamInterface<Leaving> {};

// Hosts are told to shut a view down before its window goes; one that does not loses no memory on the card.
TEST_P(WindowClosedFirst, AnyMemberDeletesWhatIsLeft) {
    const Leaving& test = GetParam();
    {
        auto goes = test.master ? std::make_unique<LiveView>() : nullptr;
        LiveView stays;
        Fill(stays);
        const auto before = SharedObjects();
        if (!goes) {
            goes = std::make_unique<LiveView>();
        }
        Fill(*goes);
        ASSERT_EQ(SharedObjects(), (std::array<unsigned, 4>{2, 6, 4, 4}));
        (*goes)->MakeNull();
        if (test.otherCurrent) {
            stays->MakeCurrent(GLContextMain);
        }
        goes->window.Destroy();
        goes.reset();
        if (!test.otherCurrent) {
            EXPECT_NE(SharedObjects(), before) << "nobody can delete it yet";
            stays->MakeCurrent(GLContextMain);
        }
        EXPECT_EQ(SharedObjects(), before);
        EXPECT_EQ(stays->GetMasterContextIndex(), 0);
        ExpectDraws(*stays.view, kGreen);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

INSTANTIATE_TEST_SUITE_P(Orders, WindowClosedFirst,
                         testing::Values(Leaving{"MasterWhileTheOtherIsCurrent", true, true},
                                         Leaving{"MasterWhileNobodyIsCurrent", true, false},
                                         Leaving{"OtherWhileTheMasterIsCurrent", false, true},
                                         Leaving{"OtherWhileNobodyIsCurrent", false, false}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(GoneWindows, LastViewCallsNothingWithoutAContext) {
    auto live = std::make_unique<LiveView>();
    Fill(*live);
    (*live)->MakeNull();
    live->window.Destroy();
    const auto before = driver.GLCallCount();
    live.reset();
    EXPECT_EQ(driver.GLCallCount(), before);
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
    LiveView next;
    EXPECT_EQ(next->GetMasterContextIndex(), 0);
    ExpectDraws(*next.view, kGreen);
}

class NothingCurrent : public OnBothPipelines {
protected:
    /// What hosts do to a view without asking whether its context is current.
    static void TryEverything(COpenGLView& view) {
        view.SetBackgroundColor(RGB(200, 0, 0), true);
        CountInPixels(view);
        DrawSquare(view, kBlue);
        view.BeginArrays(GL_LINES, GLShaderLine);
        for (int vertex = 0; vertex < 40'000; ++vertex) {
            view.AddIndex2DVertexRGBA(vertex, 1.0, 255, 255, 255, 255);
        }
        view.EndArrays();
        GLVBO vbo;
        const std::vector<GLDrawGeometry> geometry(3);
        view.InitializeVBO(GL_TRIANGLES, GLShaderColorPassThrough, vbo, geometry.data(), geometry.size());
        view.DrawArrays(GL_TRIANGLES, 3, vbo, nullptr);
        view.EndVBOArraysAndDisableClientState();
        GLTesselator& tesselator = *view.GetTesselator();
        tesselator.BeginPolygon();
        for (const auto& [x, y] : {std::pair{0, 0}, {8, 0}, {8, 8}}) {
            tesselator.AddIndex2DVertexRGBA(x, y, 255, 255, 255, 255);
        }
        tesselator.EndContour();
        tesselator.EndPolygon();
        GLsync fence = nullptr;
        view.LockGPUBuffer(fence);
        view.WaitForGPUBuffer(fence);
        view.DeleteAttributeBuffers();
        view.PointSize(3.0F);
        Pixel pixel{};
        view.ReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
        view.PopAndMakeNull();
    }
};
ORRIN_ON_BOTH_PIPELINES(NothingCurrent);

TEST_P(NothingCurrent, AfterMakeNull) {
    {
        LiveView live;
        ExpectDraws(*live.view, kRed);
        live->MakeNull();
        const auto before = driver.GLCallCount();
        TryEverything(*live.view);
        EXPECT_EQ(driver.GLCallCount(), before);
        ASSERT_EQ(live->MakeCurrent(GLContextMain), 1);
        ExpectDraws(*live.view, kGreen);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

// The context of the view that was current before is still current; it must get nothing of what was meant for another.
TEST_P(NothingCurrent, AfterASelectionThatFailed) {
    {
        LiveView first;
        LiveView second;
        ExpectDraws(*second.view, kRed);
        first->MakeCurrent(GLContextMain);
        ExpectDraws(*first.view, kGreen);
        driver.FailCall("wglMakeCurrent");
        EXPECT_EQ(second->MakeCurrent(GLContextMain), 0);
        const auto before = driver.GLCallCount();
        TryEverything(*second.view);
        EXPECT_EQ(driver.GLCallCount(), before);
        ASSERT_EQ(first->MakeCurrent(GLContextMain), 1);
        EXPECT_EQ(BackBufferAt(*first.view, 4, 4), kGreen);
        ASSERT_EQ(second->MakeCurrent(GLContextMain), 1);
        ExpectDraws(*second.view, kBlue);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

TEST_P(NothingCurrent, InABootstrapWhoseSelectionFailed) {
    driver.FailCall("wglMakeCurrent");
    {
        const auto view = std::make_unique<COpenGLView>();
        EXPECT_EQ(driver.GLCallCount(), 0U);
        TryEverything(*view);
        EXPECT_EQ(driver.GLCallCount(), 0U);
        EXPECT_EQ(driver.LiveContexts(), 0U);
    }
    LiveView live;
    ASSERT_EQ(live.created, 1);
    ExpectDraws(*live.view, kRed);
}

} // namespace
