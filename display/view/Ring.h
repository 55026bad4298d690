#pragma once

#include "MatrixStack.h"

#include <algorithm>

namespace KTR {

// The one rule of the bounded stacks, for matrices and attributes alike: `entries` is a ring, `top` the newest entry,
// `count` how many of the entries behind it are still there.

template <typename Ring, typename Entry> void PushOnRing(Ring& ring, const Entry& entry) {
    ring.top = ring.top + 1 >= kStackDepth ? 0 : ring.top + 1;
    ring.count = std::min(ring.count + 1, kStackDepth);
    ring.entries[ring.top] = entry;
}

template <typename Ring, typename Entry> bool PopFromRing(Ring& ring, Entry& entry) {
    if (ring.count < 1) {
        return false;
    }
    entry = ring.entries[ring.top];
    --ring.count;
    --ring.top;
    if (ring.top < 0) {
        ring.top = ring.count >= 1 ? kStackDepth - 1 : -1;
    }
    return true;
}

} // namespace KTR
