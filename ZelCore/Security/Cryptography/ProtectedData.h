#pragma once

#include "ZelCore/ZeroMemoryAllocator.h"

namespace ZelCore::Security::Cryptography {

/// Who can unprotect protected data. Any other value acts as CurrentUser.
enum class DataProtectionScope : int {
    CurrentUser = 0,  ///< programs of this user
    LocalMachine = 1, ///< every program on this computer
};

/// Encrypts small data with a secret that the system keeps for the user or the computer (DPAPI). The result also
/// detects changes. It never asks the user anything. All static, callable from any thread.
class ZELCORE_API CProtectedData {
public:
    CProtectedData() = delete;

    /// Replaces `output` by the protected data.
    ///
    /// \param data    null only for a size of 0, otherwise CArgumentNullException
    /// \param size    in bytes, at most 32 bits, otherwise CArgumentOutOfRangeException; 0 for empty data
    /// \param entropy a further secret that Unprotect will ask for; may be empty
    ///
    /// Throws CWin32Exception when the system refuses; the output then stays as it was.
    static void Protect(const unsigned char* data, std::size_t size, std::vector<unsigned char>& output,
                        const std::vector<unsigned char>& entropy, DataProtectionScope scope);

    /// Replaces `output` by the data that was protected; the protected data itself tells its scope.
    /// Throws CWin32Exception for another user's, computer's or changed data and for the wrong entropy; the output
    /// then stays as it was. Arguments as of Protect.
    static void Unprotect(const unsigned char* data, std::size_t size, SecureBytes& output,
                          const std::vector<unsigned char>& entropy);
};

} // namespace ZelCore::Security::Cryptography
