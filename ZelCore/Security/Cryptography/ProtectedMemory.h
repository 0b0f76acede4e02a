#pragma once

#include "ZelCore/Export.h"

#include <cstddef>

namespace ZelCore::Security::Cryptography {

/// Who can decrypt encrypted memory: the flags of the system's function.
enum class MemoryProtectionScope : unsigned long {
    SameProcess = 0,  ///< this process
    CrossProcess = 1, ///< every process, until the system restarts
    SameLogon = 2,    ///< processes of the same logon session
};

/// Encrypts secrets in place while nobody needs them, so that they are unreadable in a page file or a dump.
///
/// The size is in bytes and must be a multiple of 16, which the system checks: CWin32Exception. Null throws
/// CArgumentNullException for "userData", a size beyond 32 bits CArgumentOutOfRangeException for "size".
/// The functions may be called from any thread.
class ZELCORE_API CProtectedMemory {
public:
    CProtectedMemory() = delete;

    /// Replaces the bytes by their cipher text of the same size, which Unprotect turns back.
    static void Protect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope);

    /// Replaces the cipher text by the bytes. Needs the scope that the memory was protected with, and the same block:
    /// anything else may succeed and give other bytes.
    static void Unprotect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope);
};

} // namespace ZelCore::Security::Cryptography
