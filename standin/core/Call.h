#pragma once

#include <cstddef>
#include <cstdint>

namespace StandInDriver {

struct Context;

/// Thunks of a function: one for each of this many contexts, and one that any context may call.
constexpr unsigned kContextVariants = 4;
constexpr unsigned kAnyContext = kContextVariants;

/// The addresses at which the driver offers one function.
struct FunctionCode {
    void* variants[kContextVariants + 1];
    /// Does nothing and returns zero.
    void* nothing;
};

/// One call on its way through the driver.
struct Call {
    unsigned index;
    unsigned variant;
    const std::uint64_t* arguments;
    std::uint64_t result = 0;
    /// The system's function, once the call may go on.
    void* real = nullptr;
    /// Current on the calling thread; null without one.
    Context* context = nullptr;
    /// Number of the journal's entry, negative when it is not recorded.
    std::int64_t entry = -1;
    /// Whether LeaveCall has something to do.
    bool observed = false;
};

/// True when the caller is to hand the call on to `real`; otherwise it has been dealt with and `result` is its result.
bool EnterCall(Call& call);

/// After the system's function has returned; may change `result`.
void LeaveCall(Call& call);

/// A raw argument as what the caller passed.
template <class T> T PointerArgument(const Call& call, unsigned position) {
    return reinterpret_cast<T>(static_cast<std::uintptr_t>(call.arguments[position]));
}

} // namespace StandInDriver
