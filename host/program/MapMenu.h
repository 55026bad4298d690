#pragma once

#include <windows.h>

#include <filesystem>
#include <vector>

namespace OrrinViewer {

/// What a menu's lines stand for. Those that a key does too are the key's number behind `CommandOfKey`.
enum MenuCommand : UINT {
    CommandAdd = 1,
    CommandOpen, ///< in place of what there is
    CommandNew,
    CommandSave,
    CommandSaveAs,
    CommandSavePicture,
    CommandClose,
    CommandNextView,
    CommandAbout,
    CommandRecent = 100, ///< and the file's place in the list
    CommandOfKey = 1000,
};

/// The menu bar of a map. It is a window's, which destroys it, once it is set.
HMENU MakeMapMenu();

/// Whether it is the submenu for recent files, which FillRecentMenu fills before it is shown.
bool IsRecentMenu(HMENU menu);
/// Files that are gone are greyed.
void FillRecentMenu(HMENU menu, const std::vector<std::filesystem::path>& files);

} // namespace OrrinViewer
