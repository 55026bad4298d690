#pragma once

#include <windows.h>

namespace StandInDriver {

/// Held while the driver's own records are read or changed; the same thread may take it again.
class StateLock {
public:
    StateLock() { EnterCriticalSection(Section()); }
    ~StateLock() { LeaveCriticalSection(Section()); }
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    static CRITICAL_SECTION* Section() {
        static CRITICAL_SECTION* const section = [] {
            auto* made = new CRITICAL_SECTION;
            InitializeCriticalSection(made);
            return made;
        }();
        return section;
    }
};

} // namespace StandInDriver
