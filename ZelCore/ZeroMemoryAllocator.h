#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace ZelCore {

/// Overwrites memory with zeros. The compiler cannot remove the call, even if the memory is not read again.
/// \param memory may be null if the size is 0
/// \param size   in bytes
ZELCORE_API void WipeMemory(void* memory, std::size_t size) noexcept;

/// Allocates `size` bytes of memory for secrets, or throws std::bad_alloc. ReleaseSecret wipes the memory and needs the
/// same size. Null with size 0 may be released too.
///@{
ZELCORE_API void* AllocateSecret(std::size_t size);
ZELCORE_API void ReleaseSecret(void* memory, std::size_t size) noexcept;
///@}

/// An allocator for containers that hold keys, plain text and other secrets. It overwrites every block with zeros
/// before releasing it, also when the container grows, is moved into another one or is destroyed during stack
/// unwinding.
///
/// A wide string of up to seven characters is stored inside the string object and never uses its allocator. Keep short
/// secrets in vectors, or wipe such a string explicitly.
template <class T> class zeromemory_allocator {
public:
    using value_type = T; ///< the element type of the container

    /// Allocators are stateless and always equal, for every type. Each may release memory that another one allocated.
    ///@{
    zeromemory_allocator() noexcept = default;
    template <class U> zeromemory_allocator(const zeromemory_allocator<U>&) noexcept {}
    ///@}

    /// Allocates uninitialized memory for `count` objects. Throws std::bad_alloc.
    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(AllocateSecret(count * sizeof(T)));
    }
    /// Wipes and releases memory that allocate returned for the same count.
    void deallocate(T* memory, std::size_t count) noexcept {
        ReleaseSecret(memory, count * sizeof(T));
    }

    /// Always true.
    template <class U> friend bool operator==(const zeromemory_allocator&, const zeromemory_allocator<U>&) noexcept {
        return true;
    }
};

/// Bytes and text that are wiped before their memory is released. For the exception of short text see the allocator.
///@{
using SecureBytes = std::vector<unsigned char, zeromemory_allocator<unsigned char>>;
using SecureString = std::basic_string<wchar_t, std::char_traits<wchar_t>, zeromemory_allocator<wchar_t>>;
///@}

} // namespace ZelCore
