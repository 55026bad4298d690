#pragma once

#include <filesystem>

namespace OrrinViewer {

/// Where the library's shader files are not installed, looks for them in common\Orrin beside the program or one folder
/// above, and tells the library by changing this process's %CommonProgramFiles%. Call it before the first view is made.
void FindShaderFolder();

/// Where the register of coordinate systems should be: beside the program.
std::filesystem::path FindSystemDatabase();

} // namespace OrrinViewer
