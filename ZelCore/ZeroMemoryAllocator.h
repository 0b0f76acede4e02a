#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace ZelCore {

/// Overwrites memory with zeros, also where the compiler knows that nobody reads it again.
ZELCORE_API void WipeMemory(void* memory, std::size_t size) noexcept;

/// Memory for secrets; throws std::bad_alloc. It is wiped when it is released, with its size in bytes.
ZELCORE_API void* AllocateSecret(std::size_t size);
ZELCORE_API void ReleaseSecret(void* memory, std::size_t size) noexcept;

/// The allocator of containers that hold keys, plain text and other secrets: it overwrites every block with zeros
/// before releasing it, also when the container grows, is moved into another one or unwinds.
///
/// A wide string of up to seven characters lies within the string object and never reaches its allocator: keep short
/// secrets in vectors, or wipe such a string yourself.
template <class T> class zeromemory_allocator {
public:
    using value_type = T;

    zeromemory_allocator() noexcept = default;
    template <class U> zeromemory_allocator(const zeromemory_allocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(AllocateSecret(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        ReleaseSecret(memory, count * sizeof(T));
    }

    template <class U> friend bool operator==(const zeromemory_allocator&, const zeromemory_allocator<U>&) noexcept {
        return true;
    }
};

/// Bytes and text that are wiped before their memory is released.
using SecureBytes = std::vector<unsigned char, zeromemory_allocator<unsigned char>>;
using SecureString = std::basic_string<wchar_t, std::char_traits<wchar_t>, zeromemory_allocator<wchar_t>>;

} // namespace ZelCore
