#pragma once

#include "../Framework.h"

namespace KTR {

/// Holds a critical section for as long as it lives.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) : m_section(section) { EnterCriticalSection(&m_section); }
    ~CriticalSectionLock() { LeaveCriticalSection(&m_section); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

} // namespace KTR
