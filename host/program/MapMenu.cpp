#include "MapMenu.h"

#include <span>
#include <string>
#include <system_error>

namespace OrrinViewer {

namespace {

/// Without a text it is a line between others.
struct MenuLine {
    UINT command = 0;
    const wchar_t* text = nullptr;
};

constexpr UINT OfKey(int key) {
    return CommandOfKey + static_cast<UINT>(key);
}

constexpr MenuLine kFileLines[] = {
    {CommandAdd, L"&Add files...\tCtrl+O"},
    {CommandOpen, L"&Open instead...\tCtrl+Shift+O"},
    {CommandRecent, L"&Recent files"},
    {CommandNew, L"&New"},
    {},
    {CommandSave, L"&Save project\tCtrl+S"},
    {CommandSaveAs, L"Save &project as..."},
    {CommandSavePicture, L"Save p&icture...\tCtrl+Shift+S"},
    {},
    {CommandClose, L"&Close"},
};

constexpr MenuLine kViewLines[] = {
    {OfKey(VK_HOME), L"Show &everything\tHome"},
    {OfKey(VK_BACK), L"&Previous view\tBackspace"},
    {CommandNextView, L"&Next view\tShift+Backspace"},
    {},
    {OfKey('1'), L"From the &top\t1"},
    {OfKey('2'), L"From the &bottom\t2"},
    {OfKey('3'), L"From the &front\t3"},
    {OfKey('4'), L"From the bac&k\t4"},
    {OfKey('5'), L"From the &left\t5"},
    {OfKey('6'), L"From the &right\t6"},
    {OfKey('V'), L"&3-D view\tV"},
    {},
    {OfKey('C'), L"Other &colours\tC"},
    {OfKey(VK_ADD), L"Larger points\t+"},
    {OfKey(VK_SUBTRACT), L"Smaller points\t-"},
    {OfKey('F'), L"Points as large as their &spacing wants\tF"},
    {OfKey('E'), L"Shade clouds by their &depths\tE"},
    {OfKey('S'), L"Turn the s&un\tS"},
    {OfKey('A'), L"R&aise the sun\tA"},
    {},
    {OfKey('M'), L"&Measure: path, then area\tM"},
    {OfKey('P'), L"Pr&ofile\tP"},
    {},
    {OfKey(VK_F4), L"Side panel\tF4"},
};

constexpr MenuLine kHelpLines[] = {
    {OfKey(VK_F1), L"&Keys\tF1"},
    {CommandAbout, L"&About OrrinViewer"},
};

HMENU MakeMenu(std::span<const MenuLine> lines) {
    const HMENU menu = CreatePopupMenu();
    for (const MenuLine& line : lines) {
        if (!line.text) {
            AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        } else if (line.command == CommandRecent) {
            const HMENU recent = CreatePopupMenu();
            FillRecentMenu(recent, {});
            AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(recent), line.text);
        } else {
            AppendMenuW(menu, MF_STRING, line.command, line.text);
        }
    }
    return menu;
}

} // namespace

HMENU MakeMapMenu() {
    const HMENU bar = CreateMenu();
    const auto add = [bar](std::span<const MenuLine> lines, const wchar_t* name) {
        AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(MakeMenu(lines)), name);
    };
    add(kFileLines, L"&File");
    add(kViewLines, L"&View");
    add(kHelpLines, L"&Help");
    return bar;
}

bool IsRecentMenu(HMENU menu) {
    return GetMenuItemID(menu, 0) == CommandRecent;
}

void FillRecentMenu(HMENU menu, const std::vector<std::filesystem::path>& files) {
    while (DeleteMenu(menu, 0, MF_BYPOSITION)) {
    }
    UINT command = CommandRecent;
    for (const std::filesystem::path& file : files) {
        std::wstring text = L"&" + std::to_wstring((command - CommandRecent + 1) % 10) + L"  ";
        for (const wchar_t character : file.wstring()) {
            text += character == L'&' ? L"&&" : std::wstring(1, character);
        }
        std::error_code error;
        const UINT flags = std::filesystem::exists(file, error) ? MF_STRING : MF_STRING | MF_GRAYED;
        AppendMenuW(menu, flags, command++, text.c_str());
    }
    if (files.empty()) {
        AppendMenuW(menu, MF_STRING | MF_GRAYED, CommandRecent, L"(none)");
    }
}

} // namespace OrrinViewer
