#pragma once

#include "../Framework.h"

namespace KTR {

/// Whether a frame may be presented while layers of it are still being drawn, and whether one was asked for meanwhile.
/// Every call may come from any thread; presenting is left to the caller.
class DelayedSwap {
public:
    void SetMode(bool on);
    void StartLayer();
    /// One more than was started leaves the count at 0.
    void CompleteLayer();
    int LayerCount() const;

    /// Asks to present: false when that has to wait for layers. The request is remembered then.
    bool MayPresent();
    /// True once for a remembered request that nothing delays any more.
    bool TakeDuePresent();

    /// Mode and count of another one; its request stays there.
    void TakeOver(const DelayedSwap& other);
    void Reset();

private:
    bool Delays() const { return m_on && m_layers > 0; }

    mutable SRWLOCK m_lock = SRWLOCK_INIT;
    bool m_on = false;
    int m_layers = 0;
    bool m_asked = false; ///< while it could not be done; read before each GL call, by atomic operations alone
};

} // namespace KTR
