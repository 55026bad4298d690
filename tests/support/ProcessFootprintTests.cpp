#include "ProcessFootprint.h"
#include "TestWindow.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

// A count that never moves would pass every test of leaks.
TEST(Footprint, RisesWithWhatTheProcessMakes) {
    constexpr std::size_t number = 10;
    const TestWindow first; // the system adds a window of its own to a thread's first
    const ProcessFootprint before = ProcessFootprint::Take();
    std::vector<HANDLE> events;
    std::vector<HDC> deviceContexts;
    std::vector<std::unique_ptr<TestWindow>> windows;
    const std::vector<char> block(40'000'000, 'x');
    for (std::size_t index = 0; index < number; ++index) {
        events.push_back(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        deviceContexts.push_back(GetDC(nullptr));
        windows.push_back(std::make_unique<TestWindow>());
    }
    const ProcessFootprint after = ProcessFootprint::Take();
    EXPECT_GE(after.handles, before.handles + number);
    EXPECT_GE(after.gdiObjects, before.gdiObjects + number);
    EXPECT_EQ(after.windows, before.windows + number);
    EXPECT_GE(after.memory, before.memory + block.size());
    for (std::size_t index = 0; index < number; ++index) {
        CloseHandle(events[index]);
        ReleaseDC(nullptr, deviceContexts[index]);
    }
}

} // namespace
