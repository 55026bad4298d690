#pragma once

#include <cstddef>

namespace KTR {

/// What its holder alone owns, of a type that the holder's header need not know: std::unique_ptr for the public
/// headers. Its own header would cost each source of a host 20,000 lines, more than all that the library declares.
template <typename Type> class SoleOwner {
public:
    SoleOwner() noexcept = default;
    SoleOwner(std::nullptr_t) noexcept {}
    explicit SoleOwner(Type* object) noexcept : m_object(object) {}
    /// Takes over what another owner has, a std::unique_ptr too.
    template <typename Other>
    requires requires(Other&& other) { static_cast<Type*>(other.release()); }
    SoleOwner(Other&& other) noexcept : m_object(other.release()) {}
    SoleOwner(SoleOwner&& other) noexcept : m_object(other.release()) {}
    SoleOwner& operator=(SoleOwner&& other) noexcept {
        reset(other.release());
        return *this;
    }
    SoleOwner(const SoleOwner&) = delete;
    SoleOwner& operator=(const SoleOwner&) = delete;
    ~SoleOwner() { reset(); }

    Type* get() const noexcept { return m_object; }
    Type* operator->() const noexcept { return m_object; }
    Type& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    Type* release() noexcept {
        Type* const object = m_object;
        m_object = nullptr;
        return object;
    }
    void reset(Type* object = nullptr) noexcept {
        static_assert(sizeof(Type) > 0, "what is deleted has to be known where it is");
        Type* const before = m_object;
        m_object = object;
        delete before;
    }

private:
    Type* m_object = nullptr;
};

} // namespace KTR
