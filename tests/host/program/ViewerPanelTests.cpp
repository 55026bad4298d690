// The panel beside the map in a person's hands: what its ticks, sliders and lists change on the map.

#include "ViewerHand.h"

#include <commctrl.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

using Color = std::array<int, 3>;

constexpr Color kGround = {44, 49, 58};
constexpr Color kFirstLine = {255, 244, 214};
constexpr Color kSecondLine = {90, 210, 255};
constexpr Color kBuilding = {226, 82, 60};

bool IsNear(const Color& one, const Color& other, int apart) {
    return std::abs(one[0] - other[0]) <= apart && std::abs(one[1] - other[1]) <= apart &&
           std::abs(one[2] - other[2]) <= apart;
}

class ViewerPanel : public ViewerProgram {
protected:
    /// A point every metre from 0 to 100 each way, high in the east; in the western half ground, in the eastern
    /// buildings.
    fs::path WriteCloud() const {
        std::string text =
            "ply\nformat ascii 1.0\nelement vertex 10201\nproperty double x\nproperty double y\nproperty "
            "double z\nproperty uchar classification\nend_header\n";
        for (int y = 0; y <= 100; ++y) {
            for (int x = 0; x <= 100; ++x) {
                char line[64] = {};
                std::snprintf(line, sizeof(line), "%d %d %d %d\n", x, y, x, x < 50 ? 2 : 6);
                text += line;
            }
        }
        return Write("cloud.ply", text);
    }
    fs::path WriteLine(const char* name) const {
        return Write(name, R"({"type": "LineString", "coordinates": [[0, 110], [100, 110]]})");
    }
    /// The visible control of a kind: the first one, or the one beside a text.
    static HWND FindControl(HWND panel, const wchar_t* kind, const std::wstring& text = {}) {
        struct Search {
            const wchar_t* kind;
            const std::wstring* text;
            LONG top;
            HWND found;
        } search = {WC_STATICW, &text, 0, nullptr};
        const auto look = [](HWND window, LPARAM parameter) -> BOOL {
            auto& looked = *reinterpret_cast<Search*>(parameter);
            wchar_t name[64] = {};
            RECT place = {};
            GetClassNameW(window, name, 64);
            GetWindowRect(window, &place);
            const bool isKind = lstrcmpiW(name, looked.kind) == 0 && IsWindowVisible(window);
            const bool isThere = lstrcmpiW(looked.kind, WC_STATICW) == 0
                                     ? ViewerHand::TitleOf(window) == *looked.text
                                     : looked.text->empty() || std::abs(place.top - looked.top) < 4;
            if (isKind && isThere) {
                looked.found = window;
                looked.top = place.top;
            }
            return looked.found == nullptr;
        };
        if (!text.empty()) {
            EnumChildWindows(panel, look, reinterpret_cast<LPARAM>(&search));
            EXPECT_NE(search.found, nullptr) << testing::PrintToString(text);
        }
        search = {kind, &text, search.top, nullptr};
        EnumChildWindows(panel, look, reinterpret_cast<LPARAM>(&search));
        return search.found;
    }
    /// The middle of a line of a list.
    static int LineY(HWND list, int line) {
        const auto heightOf = [list](WPARAM lines) {
            return HIWORD(SendMessageW(list, LVM_APPROXIMATEVIEWRECT, lines, -1));
        };
        const int height = heightOf(2) - heightOf(1);
        return line * height + height / 2;
    }
};

// On one pipeline: what they draw alike is not the panel's affair.
TEST_F(ViewerPanel, ShowsHidesOrdersAndStylesLayers) {
    constexpr int kTick = 10;
    constexpr int kName = 60;
    const std::vector<std::wstring> arguments = {WriteCloud().wstring(),
                                                 WriteLine("one.geojson").wstring(),
                                                 WriteLine("two.geojson").wstring(),
                                                 L"--area",
                                                 L"-10,-10,140,140",
                                                 L"--plain",
                                                 L"--units",
                                                 L"metres",
                                                 L"--line-width",
                                                 L"9",
                                                 L"--point-size",
                                                 L"7",
                                                 L"--color",
                                                 L"elevation",
                                                 L"--pipeline",
                                                 L"gl4",
                                                 L"--width",
                                                 L"450",
                                                 L"--height",
                                                 L"450"};
    const Outcome outcome = Start(arguments, [&](const PROCESS_INFORMATION& process) {
        ViewerHand hand(process, Folder());
        const HWND map = hand.FindWindow(L" ms");
        const HWND panel = hand.FindWindow(L"Layers");
        ASSERT_NE(map, nullptr);
        ASSERT_NE(panel, nullptr);
        // Three pixels a metre; the lines lie above the cloud.
        const auto at = [&](int x, int y) { return hand.LookWhenStill(map).At(30 + 3 * x, 420 - 3 * y); };
        const auto becomes = [&](int x, int y, const Color& color, int apart) {
            Color there = {};
            EXPECT_TRUE(ViewerHand::WaitUntil([&] {
                there = hand.LookAt(map).At(30 + 3 * x, 420 - 3 * y);
                return IsNear(there, color, apart);
            })) << testing::PrintToString(there);
        };
        const auto lineIs = [&](const Color& color) {
            return ViewerHand::WaitUntil([&] { return IsNear(hand.LookAt(map).At(180, 90), color, 3); });
        };
        EXPECT_TRUE(lineIs(kSecondLine)) << "the last one is uppermost, and told apart";
        const HWND layers = FindControl(panel, WC_LISTVIEWW);
        ASSERT_NE(layers, nullptr);

        hand.Drag(layers, kName, LineY(layers, 1), kName, 1);
        EXPECT_TRUE(lineIs(kFirstLine)) << "dragged to the top";
        hand.Drag(layers, kName, LineY(layers, 0), kName, LineY(layers, 2) + 30);
        EXPECT_TRUE(lineIs(kSecondLine)) << "and to the bottom, which is above the cloud";
        hand.Click(layers, kTick, LineY(layers, 0));
        EXPECT_TRUE(lineIs(kFirstLine)) << "hidden";
        Sleep(GetDoubleClickTime());
        hand.Click(layers, kTick, LineY(layers, 0));
        EXPECT_TRUE(lineIs(kSecondLine)) << "and shown again";
        hand.Click(layers, kName, LineY(layers, 0));
        hand.Press("Delete");
        EXPECT_TRUE(lineIs(kFirstLine)) << "removed";

        // The cloud: from black at its low end to the ramp's end, which then begins further up.
        hand.Click(layers, kName, LineY(layers, 1));
        const Color halfway = at(50, 50);
        const HWND low = FindControl(panel, WC_EDITW);
        ASSERT_NE(low, nullptr);
        hand.Click(low, 10, 8);
        hand.Press("Home shift+End");
        hand.Type("60");
        hand.Press("Return");
        becomes(50, 50, {52, 64, 150}, 2); // below the ramp's low end
        hand.Click(FindControl(panel, WC_BUTTONW, L"Height (m)"), 10, 8);
        becomes(50, 50, halfway, 0); // the data's own range

        const HWND attribute = FindControl(panel, WC_COMBOBOXW);
        ASSERT_NE(attribute, nullptr);
        hand.Click(attribute, 10, 8);
        hand.Press("c Return");
        becomes(80, 50, kBuilding, 2);
        const HWND bar = FindControl(panel, TRACKBAR_CLASSW, L"Opacity");
        hand.Click(bar, 3, 8);
        hand.Press("Home");
        becomes(80, 50, kGround, 0); // nothing is seen of it
        hand.Press("Next");
        Color half = {};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            half[channel] = (kGround[channel] + kBuilding[channel]) / 2;
        }
        becomes(80, 50, half, 50); // a tenth, but at five points or so above each other
        hand.Press("End");
        becomes(80, 50, kBuilding, 2);

        struct Lists {
            HWND layers;
            HWND other;
        } lists = {layers, nullptr};
        EnumChildWindows(
            panel,
            [](HWND window, LPARAM parameter) -> BOOL {
                auto& looked = *reinterpret_cast<Lists*>(parameter);
                wchar_t name[64] = {};
                GetClassNameW(window, name, 64);
                const bool isIt = window != looked.layers && lstrcmpiW(name, WC_LISTVIEWW) == 0;
                looked.other = isIt ? window : looked.other;
                return !isIt;
            },
            reinterpret_cast<LPARAM>(&lists));
        ASSERT_TRUE(lists.other && IsWindowVisible(lists.other));
        const Color ground = at(20, 50);
        hand.Click(lists.other, kTick, LineY(lists.other, 1));
        becomes(80, 50, kGround, 0); // buildings are left out
        EXPECT_EQ(at(20, 50), ground);
        // Escape leaves the panel, not the program.
        hand.Press("Escape");
        EXPECT_EQ(at(80, 50), kGround);
        PostThreadMessageW(process.dwThreadId, WM_QUIT, 0, 0);
    });
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
}

} // namespace
} // namespace OrrinViewer
