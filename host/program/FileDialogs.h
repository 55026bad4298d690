#pragma once

#include "PictureParts.h"

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// Files to open, of any kind; none where the person thinks better of it.
std::vector<std::filesystem::path> AskForFiles(HWND owner);

/// Where to save something. `filter` is a list as the system has it: names and patterns in turn, each with a 0 behind;
/// `ending` (without its point) is added where the person writes none.
std::optional<std::filesystem::path> AskWhereToSave(HWND owner, const wchar_t* title, const wchar_t* filter,
                                                    const std::wstring& name, const wchar_t* ending);

/// How large a picture of a window shall be: so many times the window, or so many pixels wide.
std::optional<PictureSize> AskForPictureSize(HWND owner, int windowWidth, int windowHeight);

enum class SaveAnswer {
    Save,
    Leave, ///< as it is in its file
    Cancel,
};
/// Whether to save a project before it goes.
SaveAnswer AskWhetherToSave(HWND owner, const std::string& name);

/// One line for a person to read and to close.
void TellProblem(HWND owner, const std::string& problem);

} // namespace OrrinViewer
