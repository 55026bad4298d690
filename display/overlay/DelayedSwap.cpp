#include "DelayedSwap.h"

#include "../platform/LockScope.h"

#include <atomic>

namespace KTR {

void DelayedSwap::SetMode(bool on) {
    const LockScope locked(m_lock);
    m_on = on;
}

void DelayedSwap::StartLayer() {
    const LockScope locked(m_lock);
    ++m_layers;
}

void DelayedSwap::CompleteLayer() {
    const LockScope locked(m_lock);
    if (m_layers > 0) {
        --m_layers;
    }
}

int DelayedSwap::LayerCount() const {
    const LockScope locked(m_lock);
    return m_layers;
}

bool DelayedSwap::MayPresent() {
    const LockScope locked(m_lock);
    const bool delayed = Delays();
    std::atomic_ref(m_asked).store(delayed);
    return !delayed;
}

bool DelayedSwap::TakeDuePresent() {
    if (!std::atomic_ref(m_asked).load()) {
        return false;
    }
    const LockScope locked(m_lock);
    return !Delays() && std::atomic_ref(m_asked).exchange(false);
}

void DelayedSwap::TakeOver(const DelayedSwap& other) {
    if (this == &other) {
        return;
    }
    bool on = false;
    int layers = 0;
    {
        const LockScope locked(other.m_lock);
        on = other.m_on;
        layers = other.m_layers;
    }
    const LockScope locked(m_lock);
    m_on = on;
    m_layers = layers;
    std::atomic_ref(m_asked).store(false);
}

void DelayedSwap::Reset() {
    const LockScope locked(m_lock);
    m_on = false;
    m_layers = 0;
    std::atomic_ref(m_asked).store(false);
}

} // namespace KTR
