#include "support/Outlines.h"
#include "support/RecordedFixture.h"

namespace {

constexpr GLRGBAColor kFill{100, 60, 30, 255};

using TesselatorCalls = ProgramsTest;

// Maps have thousands of polygons: each is a draw, not a change of program.
TEST_F(TesselatorCalls, PolygonsInARowBindTheProgramOnce) {
    const Outline outline{RingAround(50.0, 50.0, 9, false, [](double) { return 30.0; })};
    driver.StartJournal();
    live->view->EnableClientState(true, false, true, false, GLShaderColorPassThrough);
    for (int polygon = 0; polygon < 5; ++polygon) {
        AddOutline(*live->view->GetTesselator(), outline, kFill);
    }
    EXPECT_EQ(driver.Journal("glUseProgram").size(), 1U);
    EXPECT_EQ(driver.Journal("glDrawArrays").size(), 5U);
    live->view->EnableClientState(true, false, true, false, GLShaderPoint);
    AddOutline(*live->view->GetTesselator(), outline, kFill);
    EXPECT_EQ(driver.Journal("glUseProgram").size(), 3U) << "fills are drawn with their own program";
    live->view->DisableClientState();
}

// A host that showed outlines gets its polygons filled, and the state cache says so.
TEST_F(TesselatorCalls, PolygonModeBecomesFillInCacheAndDriver) {
    live->view->PolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    FillOutline(*live->view, {RingAround(50.0, 50.0, 9, false, [](double) { return 30.0; })}, kFill);
    GLAttributes reported;
    live->view->GetCurrentGLAttributes(reported);
    EXPECT_EQ(reported.polygonMode, static_cast<unsigned int>(GL_FILL));
    EXPECT_EQ(live->view->GetContextRecord(GLContextMain).attributes.polygonMode, reported.polygonMode);
}

// Where a fan or a strip is longer than a batch, each draw starts with what the one before ended with.
TEST_F(TesselatorCalls, LongFansAndStripsGoOnBehindAFullBatch) {
    Ring corner{{0.0, 0.0}};
    for (int step = 0; step <= 40'000; ++step) {
        corner.push_back({100.0 * std::cos(1.57 * step / 40'000), 100.0 * std::sin(1.57 * step / 40'000)});
    }
    Ring band;
    for (int step = 0; step <= 40'000; ++step) {
        band.push_back({step * 0.01, 20.0});
    }
    for (int step = 40'000; step >= 0; --step) {
        band.push_back({step * 0.01 + 0.005, 60.0});
    }
    driver.StartJournal();
    FillOutline(*live->view, {corner}, kFill);
    FillOutline(*live->view, {band}, kFill);
    driver.StopJournal();
    const auto draws = driver.Journal("glDrawArrays");
    bool fan = false;
    bool strip = false;
    for (std::size_t index = 1; index < draws.size(); ++index) {
        const DriverCall& before = draws[index - 1];
        if (before.arguments[2] <= static_cast<unsigned>(kBatchCapacity)) {
            continue;
        }
        const auto vertex = [](const DriverCall& draw, std::size_t number) {
            const std::vector<double>& values = draw.Array("attribute0")->values;
            return std::vector<double>(values.begin() + static_cast<std::ptrdiff_t>(number * 3),
                                       values.begin() + static_cast<std::ptrdiff_t>(number * 3 + 3));
        };
        const std::size_t last = before.arguments[2] - 1;
        EXPECT_EQ(draws[index].arguments[0], before.arguments[0]);
        if (before.arguments[0] == GL_TRIANGLE_FAN) {
            fan = true;
            EXPECT_EQ(vertex(draws[index], 0), vertex(before, 0));
            EXPECT_EQ(vertex(draws[index], 1), vertex(before, last));
        } else if (before.arguments[0] == GL_TRIANGLE_STRIP) {
            strip = true;
            EXPECT_EQ(vertex(draws[index], 1), vertex(before, last - 1));
            EXPECT_EQ(vertex(draws[index], 2), vertex(before, last));
        }
    }
    EXPECT_TRUE(fan);
    EXPECT_TRUE(strip);
}

} // namespace
