#include "ShaderFolder.h"

#include <OrrinDisplay.h>

#include <filesystem>

namespace OrrinViewer {

void FindShaderFolder() {
    std::error_code error;
    CString installed;
    KTR::GetCommonFolder(installed);
    if (std::filesystem::is_directory(installed.GetString(), error)) {
        return;
    }
    CString program;
    KTR::GetExecutablePath(program);
    const std::filesystem::path folder(program.GetString());
    for (const std::filesystem::path& common : {folder / L"common", folder.parent_path().parent_path() / L"common"}) {
        if (std::filesystem::is_directory(common / L"Orrin", error)) {
            SetEnvironmentVariableW(L"CommonProgramFiles", common.c_str());
            return;
        }
    }
}

std::filesystem::path FindSystemDatabase() {
    CString program;
    KTR::GetExecutablePath(program);
    return std::filesystem::path(program.GetString()) / L"proj.db";
}

} // namespace OrrinViewer
