// The viewer as a program among others: what the system knows of it, and what it does as the user has set things up.

#include "ViewerHand.h"

#include "program/TouchGesture.h"
#include "program/WindowManners.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace OrrinViewer {
namespace {

/// A number among the user's settings for the length of a scope.
class UserSetting {
public:
    UserSetting(const wchar_t* key, const wchar_t* name, DWORD value) : m_key(key), m_name(name) {
        DWORD size = sizeof(m_before);
        m_wasSet = RegGetValueW(HKEY_CURRENT_USER, m_key, m_name, RRF_RT_REG_DWORD, nullptr, &m_before, &size) ==
                   ERROR_SUCCESS;
        RegSetKeyValueW(HKEY_CURRENT_USER, m_key, m_name, REG_DWORD, &value, sizeof(value));
    }
    ~UserSetting() {
        if (m_wasSet) {
            RegSetKeyValueW(HKEY_CURRENT_USER, m_key, m_name, REG_DWORD, &m_before, sizeof(m_before));
        } else {
            RegDeleteKeyValueW(HKEY_CURRENT_USER, m_key, m_name);
        }
    }
    UserSetting(const UserSetting&) = delete;
    UserSetting& operator=(const UserSetting&) = delete;

private:
    const wchar_t* m_key;
    const wchar_t* m_name;
    DWORD m_before = 0;
    bool m_wasSet = false;
};

class ViewerOnDesktop : public ViewerProgram {
protected:
    fs::path WriteParcel() const {
        return Write("parcel.geojson", R"({"type": "Feature", "properties": {"NAME": "Hill"}, "geometry":
            {"type": "Polygon", "coordinates": [[[0, 0], [100, 0], [100, 60], [0, 60], [0, 0]]]}})");
    }
    /// Opens the parcel in a window of 600 by 400 pixels, five a metre, and closes it afterwards.
    void Use(const std::function<void(HWND, const PROCESS_INFORMATION&)>& use) const {
        const Outcome outcome = Start({WriteParcel().wstring(), L"--area", L"-10,-10,110,70", L"--plain", L"--width",
                                       L"600", L"--height", L"400"},
                                      [&](const PROCESS_INFORMATION& process) {
                                          const HWND window = ViewerHand(process, Folder()).FindWindow(L" ms");
                                          EXPECT_NE(window, nullptr) << "no window with a frame";
                                          if (window) {
                                              use(window, process);
                                          }
                                          PostThreadMessageW(process.dwThreadId, WM_QUIT, 0, 0);
                                      });
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    }
    /// Rows from the upper end of the parcel's name to the lower one.
    int HeightOfLabel(const wchar_t* pipeline) const {
        const Frame frame = DrawMap({WriteParcel().wstring(), L"--units", L"metres", L"--labels", L"NAME", L"--area",
                                     L"-10,-10,110,70", L"--plain", L"--pipeline", pipeline},
                                    240, 160);
        int first = frame.height;
        int last = -1;
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                if (frame.At(x, y) == std::array<int, 3>{255, 255, 255}) {
                    first = std::min(first, y);
                    last = std::max(last, y);
                }
            }
        }
        return last - first + 1;
    }
};

/// Where the system looks for what to know of a program before it starts it.
TEST_F(ViewerOnDesktop, SystemIsToldWhatTheProgramCanDo) {
    const HMODULE program = LoadLibraryExW(ViewerPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(program, nullptr);
    const auto read = [program](WORD number, const wchar_t* kind) {
        const HRSRC found = FindResourceW(program, MAKEINTRESOURCEW(number), kind);
        const HGLOBAL loaded = found ? LoadResource(program, found) : nullptr;
        return loaded ? std::string(static_cast<const char*>(LockResource(loaded)), SizeofResource(program, found))
                      : std::string();
    };
    const std::string manifest = read(1, RT_MANIFEST);
    for (const char* const wanted : {">PerMonitorV2, PerMonitor<", ">true/pm<", "longPathAware",
                                     "Microsoft.Windows.Common-Controls", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"}) {
        EXPECT_NE(manifest.find(wanted), std::string::npos) << wanted;
    }
    EXPECT_GE(read(1, RT_GROUP_ICON).size(), 6U + 14U) << "an icon";
    const std::string version = read(VS_VERSION_INFO, RT_VERSION);
    FreeLibrary(program);

    // The same version as the program itself says.
    const std::string said = Run({L"--version"}).output;
    const std::size_t number = said.find_first_of("0123456789");
    ASSERT_NE(number, std::string::npos) << said;
    std::string wide;
    for (const char letter : said.substr(number, said.find_first_not_of("0123456789.", number) - number)) {
        wide += {letter, '\0'};
    }
    EXPECT_NE(version.find(wide), std::string::npos);
}

// On a fine screen texts of pixels could not be read, and a window that the system enlarges is blurred.
TEST_F(ViewerOnDesktop, TextsAreAsLargeAsTheScreenWants) {
    int coarse[2] = {};
    for (int pipeline = 0; pipeline < 2; ++pipeline) {
        coarse[pipeline] = HeightOfLabel(pipeline == 0 ? L"legacy" : L"gl4");
    }
    const UserSetting fineScreen(L"Control Panel\\Desktop", L"LogPixels", 192);
    for (int pipeline = 0; pipeline < 2; ++pipeline) {
        EXPECT_NEAR(HeightOfLabel(pipeline == 0 ? L"legacy" : L"gl4"), 2 * coarse[pipeline], 2) << pipeline;
    }
    Use([](HWND window, const PROCESS_INFORMATION&) {
        RECT client = {};
        GetClientRect(window, &client);
        EXPECT_EQ(client.right, 600);
        EXPECT_EQ(client.bottom, 400);
    });
}

TEST_F(ViewerOnDesktop, WindowTakesTheSizeThatAnotherScreenWants) {
    Use([](HWND window, const PROCESS_INFORMATION& process) {
        const RECT wanted = {40, 50, 940, 650};
        void* const there = VirtualAllocEx(process.hProcess, nullptr, sizeof(wanted), MEM_COMMIT, PAGE_READWRITE);
        ASSERT_NE(there, nullptr);
        WriteProcessMemory(process.hProcess, there, &wanted, sizeof(wanted), nullptr);
        SendMessageW(window, WM_DPICHANGED, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(there));
        RECT taken = {};
        GetWindowRect(window, &taken);
        EXPECT_EQ(std::memcmp(&taken, &wanted, sizeof(wanted)), 0)
            << taken.left << " " << taken.top << " " << taken.right << " " << taken.bottom;
    });
}

TEST_F(ViewerOnDesktop, TitleIsDarkWhereTheUserWantsPrograms) {
    constexpr wchar_t key[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
    {
        const UserSetting light(key, L"AppsUseLightTheme", 1);
        EXPECT_FALSE(WantsDarkTitle());
    }
    const UserSetting dark(key, L"AppsUseLightTheme", 0);
    EXPECT_TRUE(WantsDarkTitle());
    Use([](HWND window, const PROCESS_INFORMATION&) { EXPECT_TRUE(IsWindowVisible(window)); });
}

// They send parts of a notch, and tell with Ctrl that fingers part. What the parts add up to is a wheel's notch, and
// one step of the view's history.
TEST_F(ViewerOnDesktop, TouchpadsZoomAndMoveSmoothly) {
    Use([this](HWND window, const PROCESS_INFORMATION& process) {
        const ViewerHand hand(process, Folder());
        const auto turn = [window](UINT wheel, int delta, WORD keys) {
            POINT place = {300, 200};
            ClientToScreen(window, &place);
            PostMessageW(window, wheel, MAKEWPARAM(keys, static_cast<WORD>(delta)), MAKELPARAM(place.x, place.y));
        };
        const auto takeBack = [window] { PostMessageW(window, WM_KEYDOWN, VK_BACK, 0); };
        const Frame before = hand.LookWhenStill(window);
        turn(WM_MOUSEWHEEL, 2 * WHEEL_DELTA, 0);
        const Frame notched = hand.LookUntilUnlike(window, before, 0.005);
        EXPECT_GT(ShareOfDifferingPixels(before, notched, 3), 0.005);
        takeBack();
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
        for (int part = 0; part < 20; ++part) {
            turn(WM_MOUSEWHEEL, WHEEL_DELTA / 10, part % 2 == 0 ? MK_CONTROL : 0);
        }
        EXPECT_LT(ShareOfDifferingPixels(notched, hand.LookUntilLike(window, notched, 0.0009), 3), 0.001);
        takeBack();
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
        for (int part = 0; part < 12; ++part) {
            turn(WM_MOUSEHWHEEL, WHEEL_DELTA / 6, 0);
        }
        const auto countElsewhere = [&before](const Frame& moved) {
            int elsewhere = 0;
            for (int y = 0; y < 400; ++y) {
                for (int x = 0; x < 480; ++x) {
                    elsewhere += moved.At(x, y) != before.At(x + 120, y) ? 1 : 0;
                }
            }
            return elsewhere;
        };
        const Frame moved = hand.LookUntil(window, [&](const Frame& now) { return countElsewhere(now) < 30; });
        EXPECT_LT(countElsewhere(moved), 30) << "the map is 120 pixels farther to the left";
        takeBack();
        EXPECT_EQ(hand.LookUntilLike(window, before).rgba, before.rgba);
    });
}

GESTUREINFO Gesture(DWORD kind, DWORD flags, SHORT x, SHORT y, ULONGLONG distance = 0) {
    GESTUREINFO gesture = {};
    gesture.cbSize = sizeof(gesture);
    gesture.dwID = kind;
    gesture.dwFlags = flags;
    gesture.ptsLocation = {x, y};
    gesture.ullArguments = distance;
    return gesture;
}

TEST(TouchGesture, FingersThatPartAndMoveAreFollowed) {
    TouchGesture touch;
    EXPECT_FALSE(touch.Follow(Gesture(GID_ZOOM, GF_BEGIN, 100, 100, 80)));
    std::optional<TouchStep> step = touch.Follow(Gesture(GID_ZOOM, 0, 103, 98, 100));
    ASSERT_TRUE(step);
    EXPECT_DOUBLE_EQ(step->factor, 1.25);
    EXPECT_EQ(step->center.x, 103);
    EXPECT_DOUBLE_EQ(step->rightPixels, 3.0);
    EXPECT_DOUBLE_EQ(step->downPixels, -2.0);
    step = touch.Follow(Gesture(GID_ZOOM, GF_END, 103, 98, 50));
    ASSERT_TRUE(step);
    EXPECT_DOUBLE_EQ(step->factor, 0.5);
    // Elsewhere and with other arguments: neither a jump nor a zoom.
    EXPECT_FALSE(touch.Follow(Gesture(GID_ZOOM, 0, 500, 400, 10)));
    EXPECT_FALSE(touch.Follow(Gesture(GID_PAN, GF_BEGIN, 300, 300, 7)));
    step = touch.Follow(Gesture(GID_PAN, GF_INERTIA, 310, 290, 9));
    ASSERT_TRUE(step);
    EXPECT_DOUBLE_EQ(step->factor, 1.0);
    EXPECT_DOUBLE_EQ(step->rightPixels, 10.0);
    EXPECT_DOUBLE_EQ(step->downPixels, -10.0);
    EXPECT_FALSE(touch.Follow(Gesture(GID_ZOOM, 0, 310, 290, 60))) << "its beginning got lost";
    // A finger's width apart or none: nothing to divide by.
    EXPECT_FALSE(touch.Follow(Gesture(GID_ZOOM, GF_BEGIN, 310, 290, 0)));
    EXPECT_DOUBLE_EQ(touch.Follow(Gesture(GID_ZOOM, 0, 310, 290, 40))->factor, 1.0);
}

} // namespace
} // namespace OrrinViewer
