#pragma once

#include <windows.h>

namespace KTR {

/// Holds a slim lock for as long as it lives.
class LockScope {
public:
    explicit LockScope(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
    ~LockScope() { ReleaseSRWLockExclusive(&m_lock); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    SRWLOCK& m_lock;
};

} // namespace KTR
