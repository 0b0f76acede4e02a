#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <memory>
#include <vector>

struct _CERT_PUBLIC_KEY_INFO;

namespace ZelCore::Security::Cryptography {

/// A public key as certificates carry it: SubjectPublicKeyInfo in DER (RFC 5280), what other tools write with
/// `-pubout -outform DER`. A copyable value.
class ZELCORE_API CPublicKeyInfo {
public:
    /// Copies the data and decodes it. Throws CArgumentNullException or CArgumentException for "encoded" when there is
    /// no data, CArgumentOutOfRangeException for a "size" beyond 32 bits, CWin32Exception when it is no public key.
    CPublicKeyInfo(const unsigned char* encoded, std::size_t size);

    /// Copies have the data and share what was decoded of it, which nobody changes. Moving copies too, so that no
    /// object is without a key.
    ///@{
    CPublicKeyInfo(const CPublicKeyInfo&) = default; // a moved-from key would be none: moving copies
    CPublicKeyInfo& operator=(const CPublicKeyInfo&) = default;
    ///@}

    /// The bytes that the object was made of. Valid while it lives and is not assigned to.
    const std::vector<unsigned char>& GetEncoded() const noexcept {
        return m_encoded;
    }

    /// What CryptImportPublicKeyInfo takes; valid while this object or a copy lives.
    const _CERT_PUBLIC_KEY_INFO* GetInfo() const noexcept {
        return m_info.get();
    }

private:
    std::vector<unsigned char> m_encoded;
    std::shared_ptr<const _CERT_PUBLIC_KEY_INFO> m_info;
};

} // namespace ZelCore::Security::Cryptography
