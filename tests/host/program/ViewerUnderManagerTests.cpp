// The viewer on a desktop: what a window manager does to its windows, and what becomes of mouse and keys then.

#include "ViewerHand.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

class ViewerUnderManager : public ViewerProgram {
protected:
    /// Opens a cloud in so many windows of 500 by 300 pixels, and hands over the first one.
    void Use(int windows, const std::function<void(ViewerHand&, HWND)>& use) const {
        const fs::path cloud = Write("square.ply", SquareCloud(500'000, 4'500'000));
        const Outcome outcome = Start({cloud.wstring(), L"--windows", std::to_wstring(windows), L"--width", L"500",
                                       L"--height", L"300", L"--color", L"recorded"},
                                      [&](const PROCESS_INFORMATION& process) {
                                          ViewerHand hand(process, Folder());
                                          const HWND window = hand.FindWindow(L" ms");
                                          EXPECT_NE(window, nullptr) << "no window with a frame";
                                          if (window) {
                                              hand.LookWhenStill(window);
                                              use(hand, window);
                                          }
                                          PostThreadMessageW(process.dwThreadId, WM_QUIT, 0, 0);
                                      });
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    }
    /// What the window manager knows a window by, that of this number in the order of their making. It is shown.
    std::string Name(int number) const {
        return RunBeneathWine("xdotool search --onlyvisible --name OrrinViewer | sort -n | sed -n " +
                                  std::to_string(number) + "p | tr -d '[:space:]'",
                              Folder() / L"desk", 20);
    }
    /// Has the window manager do something with a window.
    void Ask(const std::string& command, const std::string& window, const std::string& values = {}) const {
        RunBeneathWine("xdotool " + command + " " + window + " " + values + " sleep 0.3", Folder() / L"desk", 20);
    }
    /// Whether a window's upper left corner is so many pixels from the screen's, but for a frame.
    static bool IsNear(HWND window, LONG place) {
        RECT area = {};
        GetWindowRect(window, &area);
        return std::abs(area.left - place) < 40 && std::abs(area.top - place) < 40;
    }
    static bool IsLeftOf(HWND one, HWND other) {
        RECT left = {};
        RECT right = {};
        GetWindowRect(one, &left);
        GetWindowRect(other, &right);
        return left.left < right.left;
    }
};

TEST_F(ViewerUnderManager, WindowHasAFrameAndStaysWhereItIsPut) {
    Use(1, [&](ViewerHand& hand, HWND window) {
        POINT corner{0, 0};
        ClientToScreen(window, &corner);
        RECT outer = {};
        GetWindowRect(window, &outer);
        EXPECT_GT(corner.y, outer.top) << "a title above the map";
        const Frame before = hand.LookWhenStill(window);
        Ask("windowmove", Name(1), "300 200");
        EXPECT_LT(ShareOfDifferingPixels(hand.LookUntilLike(window, before, 0.01), before, 3), 0.01) << "moved";
    });
}

TEST_F(ViewerUnderManager, MinimisedWindowComesBackAsItWas) {
    Use(1, [&](ViewerHand& hand, HWND window) {
        const Frame before = hand.LookWhenStill(window);
        const std::string name = Name(1);
        Ask("windowminimize", name);
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return IsIconic(window) != FALSE; }));
        Ask("windowactivate", name);
        RECT area = {};
        EXPECT_TRUE(ViewerHand::WaitUntil(
            [&] { return IsIconic(window) == FALSE && GetClientRect(window, &area) && area.right > 400; }));
        EXPECT_LT(ShareOfDifferingPixels(hand.LookUntilLike(window, before, 0.009), before, 3), 0.01)
            << "but for the time of a frame";
    });
}

TEST_F(ViewerUnderManager, ResizedWindowIsFilled) {
    Use(1, [&](ViewerHand& hand, HWND window) {
        Ask("windowsize", Name(1), "800 640");
        RECT area = {};
        EXPECT_TRUE(ViewerHand::WaitUntil([&] { return GetClientRect(window, &area) && area.right > 700; }));
        // The map's own ground also where there was no window before.
        const Frame frame = hand.LookUntil(window, [](const Frame& now) {
            const std::array<int, 3> ground = now.At(now.width / 4, now.height / 2);
            return ground != std::array<int, 3>{0, 0, 0} && now.At(now.width - 30, now.height * 7 / 10) == ground;
        });
        const std::array<int, 3> ground = frame.At(frame.width / 4, frame.height / 2);
        EXPECT_NE(ground, (std::array<int, 3>{0, 0, 0})) << "nothing was drawn";
        EXPECT_EQ(frame.At(frame.width * 3 / 4, frame.height * 7 / 10), ground);
        EXPECT_EQ(frame.At(frame.width - 30, frame.height * 7 / 10), ground);
    });
}

// The panel that opens beside the map does not keep the keys, although the manager gives them to each new window.
TEST_F(ViewerUnderManager, KeysAreTheMapsFromTheStart) {
    Use(1, [](ViewerHand& hand, HWND window) {
        const Frame before = hand.LookWhenStill(window);
        hand.Press("v");
        EXPECT_GT(ShareOfDifferingPixels(before, hand.LookUntilUnlike(window, before, 0.002), 10), 0.001);
    });
}

// A click on what shows of the lower window raises it, and the keys are its own from then on.
TEST_F(ViewerUnderManager, ClickRaisesAWindowAndGivesItTheKeys) {
    Use(2, [&](ViewerHand& hand, HWND) {
        std::vector<HWND> windows;
        for (HWND window = GetTopWindow(nullptr); window; window = GetWindow(window, GW_HWNDNEXT)) {
            if (IsWindowVisible(window) && ViewerHand::TitleOf(window).find(L"OrrinViewer") != std::wstring::npos) {
                windows.push_back(window);
            }
        }
        ASSERT_EQ(windows.size(), 2U);
        hand.Press("F4"); // the panel would lie over one of them
        for (const int number : {1, 2}) {
            const std::string place = std::to_string(200 * number);
            Ask("windowmove", Name(number), place + " " + place);
            EXPECT_TRUE(ViewerHand::WaitUntil([&] {
                return std::any_of(windows.begin(), windows.end(),
                                   [number](HWND window) { return IsNear(window, 200 * number); });
            })) << "moved";
        }
        std::vector<Frame> whole(2);
        for (const std::size_t clicked : {0U, 1U, 0U}) {
            const bool isLeft = IsLeftOf(windows[clicked], windows[1 - clicked]);
            hand.ClickForKeys(windows[clicked], isLeft ? 10 : 490, isLeft ? 10 : 290);
            hand.MoveTo(windows[clicked], isLeft ? 5 : 495, isLeft ? 5 : 295);
            const Frame raised = hand.LookWhenStill(windows[clicked]);
            hand.Press("v");
            const Frame turned = hand.LookUntilUnlike(windows[clicked], raised, 0.012);
            hand.Press("v");
            whole[clicked] = hand.LookUntilUnlike(windows[clicked], turned, 0.012);
            EXPECT_GT(ShareOfDifferingPixels(turned, whole[clicked], 10), 0.01) << "the view of window " << clicked;
        }
        EXPECT_LT(ShareOfDifferingPixels(whole[0], whole[1], 60), 0.01) << "each was uppermost, but for the reading";
    });
}

} // namespace
} // namespace OrrinViewer
