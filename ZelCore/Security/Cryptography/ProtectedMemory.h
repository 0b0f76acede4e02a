#pragma once

#include "ZelCore/Export.h"

#include <cstddef>

namespace ZelCore::Security::Cryptography {

/// Who can decrypt the memory; the values are the flags of the system's function.
enum class MemoryProtectionScope : unsigned long {
    SameProcess = 0,  ///< this process
    CrossProcess = 1, ///< every process, until the system restarts
    SameLogon = 2,    ///< processes of the same logon session
};

/// Encrypts secrets in place while they are not in use, so that they are unreadable in a page file or a memory dump.
///
/// The size is in bytes. The system requires a multiple of 16 and otherwise fails with CWin32Exception. Null throws
/// CArgumentNullException for "userData", a size beyond 32 bits CArgumentOutOfRangeException for "size". The functions
/// may be called from any thread.
class ZELCORE_API CProtectedMemory {
public:
    CProtectedMemory() = delete;

    /// Replaces the bytes by their cipher text of the same size.
    static void Protect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope);

    /// Replaces the cipher text by the original bytes. Requires the scope with which the memory was protected, and the
    /// same block; otherwise the call may succeed with wrong bytes.
    static void Unprotect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope);
};

} // namespace ZelCore::Security::Cryptography
