#include "ZelCore/ZeroMemoryAllocator.h"

#include "ZelWin32/Windows.h"

namespace ZelCore {

void WipeMemory(void* memory, std::size_t size) noexcept {
    ::SecureZeroMemory(memory, size);
}

} // namespace ZelCore
