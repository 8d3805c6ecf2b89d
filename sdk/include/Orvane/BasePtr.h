// Orvane::BasePtr<T>: the shared-ownership smart pointer through which the SDK
// hands out its objects (systems, interfaces, cameras, images).
#ifndef ORVANE_BASE_PTR_H
#define ORVANE_BASE_PTR_H

#include <memory>

#include "Orvane/Exception.h"

namespace Orvane {

namespace detail {
// Raise the SDK's error for a null smart pointer dereferenced. The first
// form reports the dereference at the position given (file, line, function);
// the second, kept for programs built against earlier headers, reports it
// inside the SDK.
[[noreturn]] ORVANE_API void ThrowNullPointer(const char* file, int line, const char* function);
[[noreturn]] ORVANE_API void ThrowNullPointer(const char* function);
} // namespace detail

template <class T>
class BasePtr {
public:
    BasePtr() = default;
    BasePtr(std::nullptr_t) {}
    explicit BasePtr(std::shared_ptr<T> object) : m_object(std::move(object)) {}
    template <class U>
    BasePtr(const BasePtr<U>& other) : m_object(other.shared()) {}
    virtual ~BasePtr() = default;
    BasePtr(const BasePtr&) = default;
    BasePtr& operator=(const BasePtr&) = default;
    BasePtr(BasePtr&&) noexcept = default;
    BasePtr& operator=(BasePtr&&) noexcept = default;

    // The object, or a thrown Orvane::Exception (ORVANE_ERR_NOT_AVAILABLE) when null.
    T* operator->() const {
        if (!m_object) detail::ThrowNullPointer(__FILE__, __LINE__, __func__);
        return m_object.get();
    }
    T& operator*() const {
        if (!m_object) detail::ThrowNullPointer(__FILE__, __LINE__, __func__);
        return *m_object;
    }
    // The raw object pointer, null when empty; never throws.
    T* get() const { return m_object.get(); }
    operator T*() const { return m_object.get(); }

    bool IsValid() const { return static_cast<bool>(m_object); }
    explicit operator bool() const { return IsValid(); }
    void reset() { m_object.reset(); }
    long use_count() const { return m_object.use_count(); }
    const std::shared_ptr<T>& shared() const { return m_object; }

    bool operator==(const BasePtr& other) const { return m_object == other.m_object; }
    bool operator!=(const BasePtr& other) const { return m_object != other.m_object; }
    bool operator==(std::nullptr_t) const { return !m_object; }
    bool operator!=(std::nullptr_t) const { return static_cast<bool>(m_object); }

private:
    std::shared_ptr<T> m_object;
};

} // namespace Orvane

#endif
