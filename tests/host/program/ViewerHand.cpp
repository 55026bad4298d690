#include "ViewerHand.h"

#include <commctrl.h>
#include <shlobj.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <utility>

namespace OrrinViewer {

namespace {

constexpr auto kPatience = std::chrono::seconds(20);
constexpr int kTableId = 500; ///< of the panel's table among its controls

} // namespace

ViewerHand::ViewerHand(const PROCESS_INFORMATION& process, const fs::path& folder)
    : m_handle(process.hProcess), m_process(process.dwProcessId), m_output(folder / L"hand") {}

bool ViewerHand::WaitUntil(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        Sleep(10);
    }
    return true;
}

std::wstring ViewerHand::TitleOf(HWND window) {
    wchar_t title[512] = {};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, std::size(title), reinterpret_cast<LPARAM>(title), SMTO_NORMAL, 5'000,
                        &length);
    return title;
}

HWND ViewerHand::FindWindow(const std::wstring& title) const {
    struct Search {
        DWORD process;
        const std::wstring* title;
        HWND found;
    } search = {m_process, &title, nullptr};
    WaitUntil([&search] {
        EnumWindows(
            [](HWND window, LPARAM parameter) -> BOOL {
                auto& looked = *reinterpret_cast<Search*>(parameter);
                DWORD owner = 0;
                GetWindowThreadProcessId(window, &owner);
                const bool fits = owner == looked.process && IsWindowVisible(window) &&
                                  TitleOf(window).find(*looked.title) != std::wstring::npos;
                looked.found = fits ? window : looked.found;
                return looked.found == nullptr;
            },
            reinterpret_cast<LPARAM>(&search));
        return search.found != nullptr;
    });
    return search.found;
}

bool ViewerHand::WaitForTitle(HWND window, const std::wstring& part) const {
    return WaitUntil([&] { return TitleOf(window).find(part) != std::wstring::npos; });
}

std::string ViewerHand::At(HWND window, int x, int y) const {
    POINT place{x, y};
    ClientToScreen(window, &place);
    return std::to_string(place.x) + " " + std::to_string(place.y) + " ";
}

void ViewerHand::MoveTo(HWND window, int x, int y) const {
    RunBeneathWine("xdotool mousemove " + At(window, x, y), m_output, 20);
}

void ViewerHand::Click(HWND window, int x, int y) const {
    // Moved there before, as a hand does: the window hears of it.
    RunBeneathWine("xdotool mousemove " + At(window, x, y) + "sleep 0.05 click 1 sleep 0.05", m_output, 20);
}

void ViewerHand::ClickForKeys(HWND window, int x, int y) const {
    Click(window, x, y);
    EXPECT_TRUE(WaitUntil([window] { return GetForegroundWindow() == window; })) << "the click gave it no keys";
}

void ViewerHand::Drag(HWND window, int x, int y, int toX, int toY, const std::string& key) const {
    const std::string middle = At(window, (x + toX) / 2, (y + toY) / 2);
    std::string commands = "xdotool mousemove " + At(window, x, y) + "sleep 0.05 ";
    commands += key.empty() ? "" : "keydown " + key + " ";
    commands += "mousedown 1 sleep 0.05 mousemove " + middle + "sleep 0.05 mousemove " + At(window, toX, toY) +
                "sleep 0.1 mouseup 1 sleep 0.05 ";
    commands += key.empty() ? "" : "keyup " + key;
    RunBeneathWine(commands, m_output, 20);
}

void ViewerHand::Press(const std::string& keys) const {
    RunBeneathWine("xdotool key " + keys + " sleep 0.05", m_output, 20);
}

void ViewerHand::Type(const std::string& text) const {
    RunBeneathWine("xdotool type --delay 2 '" + text + "'", m_output, 20);
}

void ViewerHand::AnswerWithPath(const std::wstring& title, const fs::path& path) const {
    EXPECT_NE(FindWindow(title), nullptr) << testing::PrintToString(title);
    Press("ctrl+a");
    Type(path.string());
    Press("Return");
}

/// NOTE: Neither Wine nor the tools drag files from one program to another. So the list is put where the window's
/// program finds it, as a block of memory that the system takes for one of its own.
void ViewerHand::Drop(HWND window, const std::vector<fs::path>& files) const {
    std::wstring names;
    for (const fs::path& file : files) {
        names += file.wstring();
        names += L'\0';
    }
    names += L'\0';
    DROPFILES head = {};
    head.pFiles = sizeof(head);
    head.fWide = TRUE;
    void* const list = VirtualAllocEx(m_handle, nullptr, sizeof(head) + names.size() * sizeof(wchar_t),
                                      MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    ASSERT_NE(list, nullptr);
    WriteProcessMemory(m_handle, list, &head, sizeof(head), nullptr);
    WriteProcessMemory(m_handle, static_cast<char*>(list) + sizeof(head), names.data(), names.size() * sizeof(wchar_t),
                       nullptr);
    PostMessageW(window, WM_DROPFILES, reinterpret_cast<WPARAM>(list), 0);
}

namespace {

/// The first list in a window of controls that a process has.
HWND FindTable(DWORD process) {
    struct Search {
        DWORD process;
        HWND found;
    } search = {process, nullptr};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& looked = *reinterpret_cast<Search*>(parameter);
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            if (owner == looked.process) {
                EnumChildWindows(
                    window,
                    [](HWND child, LPARAM found) -> BOOL {
                        wchar_t name[64] = {};
                        GetClassNameW(child, name, static_cast<int>(std::size(name)));
                        const bool isTable = std::wstring(name) == WC_LISTVIEWW && GetDlgCtrlID(child) == kTableId;
                        *reinterpret_cast<HWND*>(found) = isTable ? child : *reinterpret_cast<HWND*>(found);
                        return isTable ? FALSE : TRUE;
                    },
                    reinterpret_cast<LPARAM>(&looked.found));
            }
            return looked.found == nullptr;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

/// Memory of another process, for messages that point to something.
class MemoryThere {
public:
    MemoryThere(DWORD process, std::size_t size)
        : m_process(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process)),
          m_memory(VirtualAllocEx(m_process, nullptr, size, MEM_COMMIT, PAGE_READWRITE)) {}
    ~MemoryThere() {
        VirtualFreeEx(m_process, m_memory, 0, MEM_RELEASE);
        CloseHandle(m_process);
    }
    MemoryThere(const MemoryThere&) = delete;
    MemoryThere& operator=(const MemoryThere&) = delete;

    char* At(std::size_t offset) const { return static_cast<char*>(m_memory) + offset; }
    void Write(std::size_t offset, const void* source, std::size_t size) const {
        WriteProcessMemory(m_process, At(offset), source, size, nullptr);
    }
    void Read(std::size_t offset, void* target, std::size_t size) const {
        ReadProcessMemory(m_process, At(offset), target, size, nullptr);
    }

private:
    HANDLE m_process;
    void* m_memory;
};

} // namespace

std::vector<std::pair<std::wstring, std::wstring>> ViewerHand::ReadTable() const {
    std::vector<std::pair<std::wstring, std::wstring>> rows;
    const HWND table = FindTable(m_process);
    if (!table) {
        return rows;
    }
    wchar_t text[256] = {};
    const MemoryThere there(m_process, sizeof(LVITEMW) + sizeof(text));
    const auto count = static_cast<int>(SendMessageW(table, LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < count; ++row) {
        std::wstring columns[2];
        for (int column = 0; column < 2; ++column) {
            LVITEMW item = {};
            item.iSubItem = column;
            item.pszText = reinterpret_cast<wchar_t*>(there.At(sizeof(item)));
            item.cchTextMax = static_cast<int>(std::size(text));
            there.Write(0, &item, sizeof(item));
            SendMessageW(table, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(there.At(0)));
            there.Read(sizeof(item), text, sizeof(text));
            columns[column] = text;
        }
        rows.emplace_back(columns[0], columns[1]);
    }
    return rows;
}

bool ViewerHand::WaitForRow(const std::wstring& name, const std::wstring& value) const {
    return WaitUntil([&] {
        const auto rows = ReadTable();
        return std::find(rows.begin(), rows.end(), std::pair(name, value)) != rows.end();
    });
}

std::wstring ViewerHand::ReadClipboard() {
    std::wstring text;
    WaitUntil([] { return OpenClipboard(nullptr) != FALSE; });
    if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        if (const auto* const letters = static_cast<const wchar_t*>(GlobalLock(data))) {
            text = letters;
            GlobalUnlock(data);
        }
    }
    CloseClipboard();
    return text;
}

/// NOTE: Wine's screen has what the server shows, whichever process has drawn it.
Frame ViewerHand::LookAt(HWND window) const {
    POINT corner{0, 0};
    RECT area = {};
    ClientToScreen(window, &corner);
    GetClientRect(window, &area);
    BITMAPINFO layout = {};
    layout.bmiHeader = {sizeof(BITMAPINFOHEADER), area.right, -area.bottom, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    void* pixels = nullptr;
    const HBITMAP bitmap = CreateDIBSection(memory, &layout, DIB_RGB_COLORS, &pixels, nullptr, 0);
    Frame frame;
    if (bitmap) {
        const HGDIOBJ before = SelectObject(memory, bitmap);
        BitBlt(memory, 0, 0, area.right, area.bottom, screen, corner.x, corner.y, SRCCOPY);
        GdiFlush();
        frame.width = area.right;
        frame.height = area.bottom;
        const auto* bytes = static_cast<const std::uint8_t*>(pixels);
        frame.rgba.assign(bytes,
                          bytes + static_cast<std::size_t>(area.right) * static_cast<std::size_t>(area.bottom) * 4);
        for (std::size_t at = 0; at < frame.rgba.size(); at += 4) {
            std::swap(frame.rgba[at], frame.rgba[at + 2]);
        }
        SelectObject(memory, before);
        DeleteObject(bitmap);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    EXPECT_FALSE(frame.rgba.empty()) << "the window has no area";
    return frame;
}

Frame ViewerHand::LookWhenStill(HWND window) const {
    Sleep(150);
    Frame before = LookAt(window);
    for (int look = 0; look < 20; ++look) {
        Sleep(60);
        Frame now = LookAt(window);
        if (now.rgba == before.rgba) {
            return now;
        }
        before = std::move(now);
    }
    return before;
}

Frame ViewerHand::LookUntil(HWND window, const std::function<bool(const Frame&)>& holds) const {
    Frame frame = LookAt(window);
    WaitUntil([&] {
        const bool held = holds(frame);
        Frame now = LookAt(window);
        const bool isStill = now.rgba == frame.rgba;
        frame = std::move(now);
        return held && isStill;
    });
    return frame;
}

Frame ViewerHand::LookUntilUnlike(HWND window, const Frame& before, double share) const {
    return LookUntil(window, [&](const Frame& now) { return ShareOfDifferingPixels(now, before, 3) > share; });
}

Frame ViewerHand::LookUntilLike(HWND window, const Frame& wanted, double share) const {
    return LookUntil(window, [&](const Frame& now) { return ShareOfDifferingPixels(now, wanted, 3) <= share; });
}

} // namespace OrrinViewer
