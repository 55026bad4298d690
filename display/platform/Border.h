#pragma once

#include <afx.h>

#include <new>
#include <type_traits>
#include <utility>

namespace KTR {

/// To be called where something was caught, whatever it is: MFC throws pointers, which have to be given back. Tells
/// what it was: E_OUTOFMEMORY or, for anything else, E_UNEXPECTED.
inline long DropCaught() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
#ifdef _MFC_VER
    } catch (CMemoryException* exception) {
        exception->Delete();
        return E_OUTOFMEMORY;
    } catch (CException* exception) {
        exception->Delete();
        return E_UNEXPECTED;
#endif
    } catch (...) {
        return E_UNEXPECTED;
    }
}

/// Runs a part of an exported operation. What is thrown in it (no memory for a string or a list, as a rule) must not
/// reach the host, whose compiler may have another idea of exceptions, or none. The result is the operation's own, or
/// `onFailure`.
template <typename Result, typename Operation> Result AtTheBorder(Result onFailure, Operation&& operation) noexcept {
    try {
        return std::forward<Operation>(operation)();
    } catch (...) {
        DropCaught();
        return onFailure;
    }
}

/// The same for one without a result. False when it did not come to its end.
template <typename Operation> bool AtTheBorder(Operation&& operation) noexcept {
    static_assert(std::is_void_v<std::invoke_result_t<Operation>>);
    try {
        std::forward<Operation>(operation)();
        return true;
    } catch (...) {
        DropCaught();
        return false;
    }
}

} // namespace KTR
