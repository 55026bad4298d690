#pragma once

#include "../Framework.h"

namespace KTR {

/// Holds a critical section for as long as it lives.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) : CriticalSectionLock(&section) {}
    /// Null holds nothing.
    explicit CriticalSectionLock(CRITICAL_SECTION* section) : m_section(section) {
        if (m_section) {
            EnterCriticalSection(m_section);
        }
    }
    ~CriticalSectionLock() {
        if (m_section) {
            LeaveCriticalSection(m_section);
        }
    }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

} // namespace KTR
