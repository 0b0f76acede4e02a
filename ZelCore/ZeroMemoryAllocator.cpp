#include "ZelCore/ZeroMemoryAllocator.h"

#include "ZelWin32/Windows.h"

namespace ZelCore {

void WipeMemory(void* memory, std::size_t size) noexcept {
    ::SecureZeroMemory(memory, size);
}

void* AllocateSecret(std::size_t size) {
    return ::operator new(size);
}

void ReleaseSecret(void* memory, std::size_t size) noexcept {
    WipeMemory(memory, size);
    ::operator delete(memory, size);
}

} // namespace ZelCore
