#pragma once

#include "../Export.h"
#include "../Framework.h"

#include <tlhelp32.h>

namespace KTR {

/// 1 when the process runs as an interactive executable, 0 when it runs as a service. Failures of the system's calls
/// count as executable.
ORRIN_DISPLAY_API int IsProcessRunningAsAnExecutableAndNotAService();
/// 1 when the process runs on the interactive window station, or its name cannot be read. `visible` receives whether
/// the station can be seen; it stays as it is when that cannot be read.
ORRIN_DISPLAY_API int IsProcessInteractive(int& visible);
/// True when the process was started by the host application.
ORRIN_DISPLAY_API bool ProcessWasLaunchedAsService();
/// Executable name of the parent process; false, and `name` untouched, when it is not to be had.
ORRIN_DISPLAY_API bool GetParentProcessName(CString& name);
/// The process's own entry in the system's list. 1 when found; always 0 in the host application and its test harness,
/// which are never taken for helper processes.
ORRIN_DISPLAY_API int GetSelfProcessEntry(PROCESSENTRY32W& entry);
/// The parent's entry; 0 also in the host application and its test harness.
ORRIN_DISPLAY_API int GetParentProcessEntry(PROCESSENTRY32W& entry);
/// The entry of the process `processId`; 1 when found.
ORRIN_DISPLAY_API int GetProcessEntry(PROCESSENTRY32W& entry, unsigned long processId);

} // namespace KTR
