#pragma once

// Private to the library: the owner of one platform handle.

#include "ZelWin32/Windows.h"

#include <utility>

namespace ZelWin32 {

/// Closes its handle when it goes out of scope. The thread's last error is preserved, so that unwinding does not hide
/// the cause of a failure.
///
/// Traits provide `Type`, `Invalid()` and `Close(Type)`.
template <class Traits> class UniqueHandle {
public:
    using Type = typename Traits::Type;

    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Type value) noexcept : m_value(value) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_value(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) {
            Reset(other.Release());
        }
        return *this;
    }
    ~UniqueHandle() {
        Reset();
    }

    explicit operator bool() const noexcept {
        return m_value != Traits::Invalid();
    }
    Type Get() const noexcept {
        return m_value;
    }
    Type Release() noexcept {
        return std::exchange(m_value, Traits::Invalid());
    }
    void Reset(Type value = Traits::Invalid()) noexcept {
        const Type old = std::exchange(m_value, value);
        if (old != Traits::Invalid()) {
            const DWORD lastError = ::GetLastError();
            Traits::Close(old);
            ::SetLastError(lastError);
        }
    }

private:
    Type m_value = Traits::Invalid();
};

struct EventTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept {
        return nullptr;
    }
    static void Close(Type handle) noexcept {
        ::CloseHandle(handle);
    }
};

struct FileTraits : EventTraits {
    static Type Invalid() noexcept {
        return INVALID_HANDLE_VALUE;
    }
};

struct LocalMemoryTraits {
    using Type = void*;
    static Type Invalid() noexcept {
        return nullptr;
    }
    static void Close(Type memory) noexcept {
        ::LocalFree(memory);
    }
};

using EventHandle = UniqueHandle<EventTraits>;
using FileHandle = UniqueHandle<FileTraits>;
using LocalMemory = UniqueHandle<LocalMemoryTraits>;

} // namespace ZelWin32
