#pragma once

#include "ViewFixture.h"

#include "DriverControl.h"

#include <string>

/// A test on the stand-in driver: each starts a fresh process's worth of class-wide state, and fails on a broken rule
/// of the driver or on a context that it leaves behind.
class RecordedTest : public FreshProcessTest {
protected:
    /// The judging comes last, when the test's own views are gone.
    ~RecordedTest() override {
        constexpr std::size_t shown = 8;
        const std::vector<std::string> violations = driver.Violations();
        std::string rules;
        for (std::size_t index = 0; index < violations.size() && index < shown; ++index) {
            rules += violations[index] + "\n";
        }
        if (violations.size() > shown) {
            rules += "and " + std::to_string(violations.size() - shown) + " more";
        }
        EXPECT_EQ(rules, "");
        EXPECT_EQ(driver.LiveContexts(), m_liveContextsBefore) << driver.LeakReport();
    }

    /// The only message box shown, or empty texts.
    NoticeRecord OnlyNotice() const {
        EXPECT_EQ(notices.shown.size(), 1U);
        return notices.shown.size() == 1 ? notices.shown.front() : NoticeRecord{};
    }

    StandIn driver;

private:
    std::uint32_t m_liveContextsBefore = driver.LiveContexts();
};

/// Texts of drivers that bring the 4.x pipeline in force, and the fixed-function one.
inline constexpr const char* kVersionOfPrograms = "4.6.0 NVIDIA 551.23";
inline constexpr const char* kVersionOfFixedFunctions = "2.0";

/// A test with a view on one of the pipelines, which is reached as the policy does: by the driver's version text. Its
/// views leave no GL object behind.
class RecordedViewTest : public RecordedTest {
protected:
    explicit RecordedViewTest(bool programs) {
        driver.SetVersionText(programs ? kVersionOfPrograms : kVersionOfFixedFunctions);
        live = std::make_unique<LiveView>();
    }
    ~RecordedViewTest() override {
        live.reset();
        EXPECT_EQ(driver.LeakReport(), "");
    }
    COpenGLView& View() const { return *live->view; }

    std::unique_ptr<LiveView> live;
};

/// On the 4.x pipeline.
class ProgramsTest : public RecordedViewTest {
protected:
    ProgramsTest() : RecordedViewTest(true) {}
};

/// On each of the two in turn: INSTANTIATE_TEST_SUITE_P(Pipelines, Suite, testing::Bool(), PipelineName).
class BothPipelinesTest : public RecordedViewTest, public testing::WithParamInterface<bool> {
protected:
    BothPipelinesTest() : RecordedViewTest(GetParam()) {}
};

inline const OpenGLVersionData& Version() {
    return COpenGLView::m_gsOpenGLVersionData;
}
