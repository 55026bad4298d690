#include "support/PipelineFixture.h"

#include <tuple>

namespace {

HGLRC MainContextOf(const COpenGLView& view) {
    return view.GetContextRecord(GLContextMain).renderingContext;
}

struct Creation {
    Pipeline pipeline;
    GLRenderingContextTypes kind;
    bool firstPlain, secondPlain; ///< the driver refuses the attribute-based one
};

class SecondCreations : public RecordedTest, public testing::WithParamInterface<Creation> {
protected:
    SecondCreations() { Offer(driver, GetParam().pipeline); }
};

// A host that creates a context where there is one gets a new one, and the old one goes.
TEST_P(SecondCreations, ReplaceTheFirst) {
    const Creation& test = GetParam();
    const TestWindow window;
    auto view = std::make_unique<COpenGLView>();
    for (const bool plain : {test.firstPlain, test.secondPlain}) {
        if (plain) {
            driver.FailCall("wglCreateContextAttribsARB");
        }
        ASSERT_EQ(view->CreateContext(window.DeviceContext(), true, test.kind, L"test", 32, AccelerationHardware), 1);
        EXPECT_EQ(driver.LiveContexts(), 1U);
        const bool programs = test.pipeline == Pipeline::Programs && test.kind == GLContextMain && !plain;
        EXPECT_EQ(view->DrawsWithPrograms(), programs);
        ExpectDraws(*view, kRed);
        EXPECT_EQ(view->GetMasterContextIndex() == 0, test.kind == GLContextMain && !plain);
    }
    EXPECT_LE(driver.CallCount("glLinkProgram"), 13U) << "the programs outlive the context that they were built on";
    view->ShutDownOpenGLContexts(window.Window());
    view.reset();
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

std::vector<Creation> AllCreations() {
    std::vector<Creation> all;
    for (const Pipeline pipeline : {Pipeline::FixedFunctions, Pipeline::Programs}) {
        for (const GLRenderingContextTypes kind : {GLContextMain, GLContextLegacy}) {
            for (const bool firstPlain : {false, true}) {
                for (const bool secondPlain : {false, true}) {
                    all.push_back({pipeline, kind, firstPlain, secondPlain});
                }
            }
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Contexts, SecondCreations, testing::ValuesIn(AllCreations()), [](const auto& tested) {
    return std::string(tested.param.pipeline == Pipeline::Programs ? "Programs" : "FixedFunctions") +
           (tested.param.kind == GLContextMain ? "Main" : "Legacy") +
           (tested.param.firstPlain ? "PlainThen" : "AttributesThen") +
           (tested.param.secondPlain ? "Plain" : "Attributes");
});

class Ownership : public OnBothPipelines {};
ORRIN_ON_BOTH_PIPELINES(Ownership);

struct CreationFault {
    const char* name;
    std::vector<const char*> functions;
};

TEST_P(Ownership, FailedSecondCreationLosesNothing) {
    {
        LiveView live;
        ExpectDraws(*live.view, kRed);
        for (const CreationFault& fault :
             {CreationFault{"selection", {"wglMakeCurrent"}},
              CreationFault{"creation", {"wglCreateContextAttribsARB", "wglCreateContext"}}}) {
            SCOPED_TRACE(fault.name);
            const HGLRC before = MainContextOf(*live.view);
            for (const char* function : fault.functions) {
                driver.FailCall(function, 1, 100);
            }
            EXPECT_EQ(CreateMain(*live.view, live.window), 0);
            for (const char* function : fault.functions) {
                driver.FailCall(function, 1, 0);
            }
            EXPECT_EQ(MainContextOf(*live.view), before);
            EXPECT_EQ(driver.LiveContexts(), 1U);
            EXPECT_EQ(live->GetMasterContextIndex(), 0);
            ASSERT_EQ(live->MakeCurrent(GLContextMain), 1);
            EXPECT_EQ(live->DrawsWithPrograms(), UsesPrograms());
            ExpectDraws(*live.view, kGreen);
        }
    }
    EXPECT_EQ(driver.LeakReport(), "");
}

// The frame that a view keeps is of one context. Another one that goes does not take it along, its own does.
TEST_P(Ownership, ReplacedContextTakesOnlyItsOwnFrameAlong) {
    {
        LiveView live;
        ExpectDraws(*live.view, kRed);
        const auto save = [&] {
            return live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, 64, 64);
        };
        const auto restore = [&] {
            live->SetBackgroundColor(0, true);
            live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, 64, 64, 0, 0, 128, 128, false, false, false);
            return BackBufferAt(*live.view, 4, 4);
        };
        ASSERT_EQ(save(), S_OK);
        EXPECT_EQ(restore(), kRed);
        ASSERT_EQ(CreateMain(*live.view, live.window), 1);
        CountInPixels(*live.view);
        EXPECT_EQ(restore(), kBlack) << "drawn by the context that is gone";
        ExpectDraws(*live.view, kGreen);
        ASSERT_EQ(save(), S_OK);
        EXPECT_EQ(restore(), kGreen);
    }
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

// A view that has two contexts of its own may go from one to the other: each has its own vertex arrays and buffers.
TEST_P(Ownership, TwoContextsOfOneViewKeepTheirObjectsApart) {
    auto master = std::make_unique<LiveView>();
    ExpectDraws(*master->view, kRed);
    auto live = std::make_unique<LiveView>();
    COpenGLView& view = *live->view;
    const HDC deviceContext = live->window.DeviceContext();
    const HGLRC first = MainContextOf(view);
    ExpectDraws(view, kRed);
    const HGLRC foreign = wglCreateContext(deviceContext);
    ASSERT_EQ(view.MakeCurrent(deviceContext, foreign, GLContextMain), 1);
    EXPECT_FALSE(view.DrawsWithPrograms());
    ExpectDraws(view, kGreen);
    ASSERT_EQ(CreateMain(view, live->window), 1);
    const HGLRC second = MainContextOf(view);
    ExpectDraws(view, kBlue);

    const auto inTurn = [&] {
        for (const auto& [context, color] : {std::pair{first, kRed}, {foreign, kGreen}, {second, kBlue}}) {
            ASSERT_EQ(view.MakeCurrent(deviceContext, context, GLContextMain), 1);
            EXPECT_EQ(view.DrawsWithPrograms(), UsesPrograms() && context != foreign);
            ExpectDraws(view, color);
        }
    };
    inTurn();
    driver.JournalOnly({"glGen*", "glMapBufferRange"});
    driver.StartJournal();
    inTurn();
    driver.StopJournal();
    EXPECT_TRUE(driver.Journal().empty()) << "each finds again what it had";

    EXPECT_EQ(driver.LiveContexts(), 4U);
    live.reset();
    EXPECT_EQ(driver.LiveContexts(), 2U) << "the master's and the host's own";
    EXPECT_TRUE(wglDeleteContext(foreign));
    (*master)->MakeCurrent(GLContextMain);
    ExpectDraws(*master->view, kGreen);
    EXPECT_EQ(driver.LiveObjects(DriverObject::Buffer), UsesPrograms() ? 1U : 0U);
    master.reset();
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

// The view whose window is closed has a context that no record names; the master closes after it.
TEST_P(Ownership, MasterGoesAfterAViewWithAContextThatDroppedOut) {
    for (const bool masterFirst : {false, true}) {
        auto master = std::make_unique<LiveView>();
        auto other = std::make_unique<LiveView>();
        ExpectDraws(*(*other).view, kRed);
        const HGLRC foreign = wglCreateContext(other->window.DeviceContext());
        ASSERT_EQ((*other)->MakeCurrent(other->window.DeviceContext(), foreign, GLContextMain), 1);
        (masterFirst ? master : other).reset();
        (masterFirst ? other : master).reset();
        EXPECT_EQ(driver.LiveContexts(), 1U) << "the host's own";
        EXPECT_TRUE(wglDeleteContext(foreign));
        EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
        LiveView next;
        EXPECT_EQ(next->GetMasterContextIndex(), 0);
        ExpectDraws(*next.view, kBlue);
    }
}

// A context that the host made is the host's, however the view lets go of it.
TEST_P(Ownership, AdoptedContextIsDrawnWithAndNeverDeleted) {
    const TestWindow window;
    const HDC deviceContext = window.DeviceContext();
    auto view = std::make_unique<COpenGLView>();
    // The window's format is the one that the view will want for its own context.
    ASSERT_EQ(view->SetupAdvancedPixelFormatForOpenGL(deviceContext, GLContextMain, true, 32, true, true, false), 1);
    const HGLRC foreign = wglCreateContext(deviceContext);
    ASSERT_NE(foreign, nullptr);
    const auto deletions = driver.CallCount("wglDeleteContext");
    const auto adopt = [&](const Pixel& color) {
        ASSERT_EQ(view->MakeCurrent(deviceContext, foreign, GLContextMain), 1);
        EXPECT_FALSE(view->DrawsWithPrograms());
        EXPECT_EQ(view->GetMasterContextIndex(), -1);
        ExpectDraws(*view, color);
    };
    adopt(kRed);
    EXPECT_EQ(view->DeleteContext(L"test", GLContextMain), 1);
    EXPECT_TRUE(view->IsCurrentGLRenderingContextNull(GLContextMain));
    adopt(kGreen);
    view->Initialize();
    adopt(kBlue);
    // A view that creates one of its own lets it go as well.
    ASSERT_EQ(CreateMain(*view, window), 1);
    EXPECT_NE(MainContextOf(*view), foreign);
    EXPECT_EQ(view->DrawsWithPrograms(), UsesPrograms());
    ExpectDraws(*view, kRed);
    adopt(kGreen);
    EXPECT_EQ(driver.CallCount("wglDeleteContext"), deletions);
    view.reset();
    EXPECT_EQ(driver.CallCount("wglDeleteContext"), deletions + 1) << "its own, which had dropped out";
    EXPECT_EQ(driver.LiveContexts(), 1U);
    EXPECT_TRUE(wglMakeCurrent(deviceContext, foreign));
    EXPECT_TRUE(wglDeleteContext(foreign));
    EXPECT_EQ(driver.LiveObjects(), 0U) << driver.LeakReport();
}

} // namespace
