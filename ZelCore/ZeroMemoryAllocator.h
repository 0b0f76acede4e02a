#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace ZelCore {

/// Overwrites memory with zeros, also where the compiler knows that nobody reads it again.
/// \param memory may be null for a size of 0
/// \param size   in bytes
ZELCORE_API void WipeMemory(void* memory, std::size_t size) noexcept;

/// Memory for secrets, `size` bytes of it; throws std::bad_alloc. It is wiped when it is released, for which the same
/// size is needed again; null with size 0 may be released too.
///@{
ZELCORE_API void* AllocateSecret(std::size_t size);
ZELCORE_API void ReleaseSecret(void* memory, std::size_t size) noexcept;
///@}

/// The allocator of containers that hold keys, plain text and other secrets: it overwrites every block with zeros
/// before releasing it, also when the container grows, is moved into another one or unwinds.
///
/// A wide string of up to seven characters lies within the string object and never reaches its allocator: keep short
/// secrets in vectors, or wipe such a string yourself.
template <class T> class zeromemory_allocator {
public:
    using value_type = T; ///< what the container holds

    /// Allocators have no state: all are equal, for every type, and each releases what another one allocated.
    ///@{
    zeromemory_allocator() noexcept = default;
    template <class U> zeromemory_allocator(const zeromemory_allocator<U>&) noexcept {}
    ///@}

    /// Room for `count` objects, which are not made. Throws std::bad_alloc.
    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(AllocateSecret(count * sizeof(T)));
    }
    /// Wipes and releases what allocate gave for the same count.
    void deallocate(T* memory, std::size_t count) noexcept {
        ReleaseSecret(memory, count * sizeof(T));
    }

    /// Always true.
    template <class U> friend bool operator==(const zeromemory_allocator&, const zeromemory_allocator<U>&) noexcept {
        return true;
    }
};

/// Bytes and text that are wiped before their memory is released. Short text is an exception: see the allocator.
///@{
using SecureBytes = std::vector<unsigned char, zeromemory_allocator<unsigned char>>;
using SecureString = std::basic_string<wchar_t, std::char_traits<wchar_t>, zeromemory_allocator<wchar_t>>;
///@}

} // namespace ZelCore
