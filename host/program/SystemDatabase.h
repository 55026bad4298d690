#pragma once

#include <filesystem>

namespace OrrinViewer {

/// Where the register of coordinate systems should be: beside the program.
std::filesystem::path FindSystemDatabase();

} // namespace OrrinViewer
