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

inline const OpenGLVersionData& Version() {
    return COpenGLView::m_gsOpenGLVersionData;
}
