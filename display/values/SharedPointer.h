#pragma once
// The name std::shared_ptr, for a declaration that only passes one on. Who has one to pass has <memory> included.

#include <cstddef> // which names the library

#ifdef __GLIBCXX__
// HACK: the standard leaves this declaration to <memory>, which costs each source of a host 20,000 lines with this
// library (tools/check-header.sh fails with it); its own declaration is this one.
namespace std {
template <typename Type> class shared_ptr; // NOLINT(cert-dcl58-cpp)
}
#else
#include <memory>
#endif
