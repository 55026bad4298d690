#pragma once

#include "MatrixStack.h"

#include <algorithm>

namespace KTR {

// The one rule of the bounded stacks, for matrices and attributes alike: `entries` is used round and round, `top` is
// the newest entry, `count` how many of the entries behind it are still there.

template <typename Stack, typename Entry> void PushOnBoundedStack(Stack& stack, const Entry& entry) {
    stack.top = stack.top + 1 >= kStackDepth ? 0 : stack.top + 1;
    stack.count = std::min(stack.count + 1, kStackDepth);
    stack.entries[stack.top] = entry;
}

/// False, and `entry` untouched, when the stack is empty.
template <typename Stack, typename Entry> bool PopFromBoundedStack(Stack& stack, Entry& entry) {
    if (stack.count < 1) {
        return false;
    }
    entry = stack.entries[stack.top];
    --stack.count;
    --stack.top;
    if (stack.top < 0) {
        stack.top = stack.count >= 1 ? kStackDepth - 1 : -1;
    }
    return true;
}

} // namespace KTR
