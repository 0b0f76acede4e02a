#pragma once

// Private to the library: one CryptoAPI provider context.

#include "ZelWin32/Windows.h"

#include <string>

namespace ZelCore::Security::Cryptography {

/// Owns a context of the system's provider for RSA and AES. The first context keeps the provider's module loaded until
/// the process ends, because loading it takes fifty times as long as creating a context.
class CCryptoServiceProvider {
public:
    /// A context without keys of its own, for hashes, random numbers and imported keys. Throws CWin32Exception.
    CCryptoServiceProvider();

    /// A context with the keys of a container.
    /// \param container the container's name; null for the user's default container
    /// \param flags     CRYPT_MACHINE_KEYSET, CRYPT_NEWKEYSET, ...
    CCryptoServiceProvider(const wchar_t* container, unsigned long flags);

    CCryptoServiceProvider(const CCryptoServiceProvider&) = delete;
    CCryptoServiceProvider& operator=(const CCryptoServiceProvider&) = delete;
    ~CCryptoServiceProvider();

    HCRYPTPROV GetHandle() const noexcept {
        return m_handle;
    }

    /// Deletes a container with its keys. Throws CWin32Exception.
    static void DeleteContainer(const wchar_t* container, unsigned long flags);

private:
    HCRYPTPROV m_handle = 0;
    std::wstring m_name;
    unsigned long m_type;
};

} // namespace ZelCore::Security::Cryptography
