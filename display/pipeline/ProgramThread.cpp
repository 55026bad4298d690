#include "ProgramThread.h"

#ifdef ORRIN_CHECKED

#include "../platform/Notice.h"

#include <atomic>

namespace KTR {

namespace {

std::atomic<DWORD> s_programThread{0};
std::atomic<bool> s_told{false};

} // namespace

void CheckProgramThread() {
    const DWORD self = GetCurrentThreadId();
    DWORD owner = 0;
    if (!s_programThread.compare_exchange_strong(owner, self) && owner != self && !s_told.exchange(true)) {
        CString message;
        message.Format(
            L"OrrinDisplay: thread %lu draws with programs, but thread %lu did so before. Draw with programs "
            L"on one thread: they are shared, and frames get each other's matrices and colours.\n",
            self, owner);
        SendToDebugger(message.GetString());
    }
}

void ForgetProgramThread() {
    s_programThread = 0;
    s_told = false;
}

} // namespace KTR

#endif
