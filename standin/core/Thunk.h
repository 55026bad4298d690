#pragma once

// What stands at each of the driver's addresses: a function of the right signature that packs its arguments, asks the
// driver whether the call may go on, and hands it to the system's own function.

#include "core/Call.h"

#include <bit>
#include <type_traits>

#define ORRIN_GLCALL __stdcall
#ifdef _MSC_VER
#define ORRIN_NOINLINE __declspec(noinline)
#else
#define ORRIN_NOINLINE [[gnu::noinline]]
#endif

namespace StandInDriver {

template <class T> std::uint64_t Pack(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::uintptr_t>(value);
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::bit_cast<std::uint64_t>(static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    } else {
        return value;
    }
}

template <class R> R Unpack(std::uint64_t value) {
    if constexpr (std::is_void_v<R>) {
        return;
    } else if constexpr (std::is_pointer_v<R>) {
        return reinterpret_cast<R>(static_cast<std::uintptr_t>(value));
    } else {
        return static_cast<R>(value);
    }
}

/// One call, from whichever of the function's addresses it came. Kept out of the thunks, of which there are thousands.
template <class R, class... A> ORRIN_NOINLINE R Invoke(unsigned index, unsigned variant, A... arguments) {
    const std::uint64_t packed[sizeof...(A) + 1] = {Pack(arguments)..., 0};
    Call call = {index, variant, packed};
    if (!EnterCall(call)) {
        return Unpack<R>(call.result);
    }
    const auto real = reinterpret_cast<R(ORRIN_GLCALL*)(A...)>(call.real);
    if constexpr (std::is_void_v<R>) {
        real(arguments...);
        if (call.observed) {
            LeaveCall(call);
        }
    } else {
        const R result = real(arguments...);
        if (call.observed) {
            call.result = Pack(result);
            LeaveCall(call);
            return Unpack<R>(call.result);
        }
        return result;
    }
}

template <unsigned Index, unsigned Variant, class R, class... A> R ORRIN_GLCALL Thunk(A... arguments) {
    return Invoke<R, A...>(Index, Variant, arguments...);
}

template <class R, class... A> R ORRIN_GLCALL DoNothing(A...) {
    return R();
}

template <unsigned Index, class R, class... A> FunctionCode CodeOf() {
    return {{reinterpret_cast<void*>(Thunk<Index, 0, R, A...>), reinterpret_cast<void*>(Thunk<Index, 1, R, A...>),
             reinterpret_cast<void*>(Thunk<Index, 2, R, A...>), reinterpret_cast<void*>(Thunk<Index, 3, R, A...>),
             reinterpret_cast<void*>(Thunk<Index, kAnyContext, R, A...>)},
            reinterpret_cast<void*>(DoNothing<R, A...>)};
}

} // namespace StandInDriver
