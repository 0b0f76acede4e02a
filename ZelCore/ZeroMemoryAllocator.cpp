#include "ZelCore/ZeroMemoryAllocator.h"

#include "ZelWin32/Windows.h"

#include <memory>

namespace ZelCore {

void WipeMemory(void* memory, std::size_t size) noexcept {
    ::SecureZeroMemory(memory, size);
}

void* AllocateSecret(std::size_t size) {
    return std::allocator<unsigned char>().allocate(size);
}

void ReleaseSecret(void* memory, std::size_t size) noexcept {
    WipeMemory(memory, size);
    std::allocator<unsigned char>().deallocate(static_cast<unsigned char*>(memory), size);
}

} // namespace ZelCore
