#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <memory>
#include <vector>

struct _CERT_PUBLIC_KEY_INFO;

namespace ZelCore::Security::Cryptography {

/// A public key in the form used by certificates: SubjectPublicKeyInfo in DER (RFC 5280), which other tools write with
/// `-pubout -outform DER`. A copyable value.
class ZELCORE_API CPublicKeyInfo {
public:
    /// Copies the data and decodes it. Throws CArgumentNullException or CArgumentException for "encoded" if there is no
    /// data, CArgumentOutOfRangeException for a "size" beyond 32 bits, and CWin32Exception if the data is not a public
    /// key.
    CPublicKeyInfo(const unsigned char* encoded, std::size_t size);

    /// Copies have their own data and share the decoded form, which is immutable. Moving copies, so that no object is
    /// left without a key.
    ///@{
    CPublicKeyInfo(const CPublicKeyInfo&) = default; // moving copies: a moved-from key would be empty
    CPublicKeyInfo& operator=(const CPublicKeyInfo&) = default;
    ///@}

    /// Returns the bytes given to the constructor. Valid while the object lives and is not assigned to.
    const std::vector<unsigned char>& GetEncoded() const noexcept {
        return m_encoded;
    }

    /// Returns the structure for CryptImportPublicKeyInfo. Valid while this object or a copy lives.
    const _CERT_PUBLIC_KEY_INFO* GetInfo() const noexcept {
        return m_info.get();
    }

private:
    std::vector<unsigned char> m_encoded;
    std::shared_ptr<const _CERT_PUBLIC_KEY_INFO> m_info;
};

} // namespace ZelCore::Security::Cryptography
