#include "SystemDatabase.h"

#include <OrrinDisplay.h>

namespace OrrinViewer {

std::filesystem::path FindSystemDatabase() {
    CString program;
    KTR::GetExecutablePath(program);
    return std::filesystem::path(program.GetString()) / L"proj.db";
}

} // namespace OrrinViewer
