#pragma once

#include "ZelCore/ZeroMemoryAllocator.h"

namespace ZelCore::Security::Cryptography {

/// Who can unprotect protected data. Any other value is treated as CurrentUser.
enum class DataProtectionScope : int {
    CurrentUser = 0,  ///< programs of the current user
    LocalMachine = 1, ///< every program on this computer
};

/// Encrypts small data with a secret that the system keeps for the user or the computer (DPAPI). Changes of the result
/// are detected. No user interface is shown. All functions are static and may be called from any thread.
class ZELCORE_API CProtectedData {
public:
    CProtectedData() = delete;

    /// Replaces `output` by the protected data.
    ///
    /// \param data    null only for a size of 0, otherwise CArgumentNullException
    /// \param size    in bytes; more than 32 bits throw CArgumentOutOfRangeException; 0 for empty data
    /// \param entropy an additional secret that Unprotect requires; may be empty
    ///
    /// Throws CWin32Exception if the system call fails; the output is then unchanged.
    static void Protect(const unsigned char* data, std::size_t size, std::vector<unsigned char>& output,
                        const std::vector<unsigned char>& entropy, DataProtectionScope scope);

    /// Replaces `output` by the original data. The scope is stored in the protected data. Throws CWin32Exception for
    /// data of another user or computer, for changed data and for the wrong entropy; the output is then unchanged. The
    /// arguments are those of Protect.
    static void Unprotect(const unsigned char* data, std::size_t size, SecureBytes& output,
                          const std::vector<unsigned char>& entropy);
};

} // namespace ZelCore::Security::Cryptography
