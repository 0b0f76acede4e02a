#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

// The order of the virtual functions is published and contains no destructor: a derived class is destroyed through its
// own type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore::Security::Cryptography {

/// AES (FIPS 197) with keys of 128, 192 or 256 bits; generated keys have 256 bits. CFB feeds back 8 bits.
class ZELCORE_API CAes : public CSymmetricAlgorithm {
public:
    /// Blocks of 128 bits, a key of 256 bits, CBC, 8 bits of feedback. Key and IV are generated on first use.
    CAes();

    /// A copy has its own key and IV with the same values, in memory that is wiped as well.
    ///@{
    CAes(const CAes&) = default;
    CAes& operator=(const CAes&) = default;
    ///@}

    /// Wipes key and IV.
    ~CAes();

    using CSymmetricAlgorithm::CreateDecryptor;
    using CSymmetricAlgorithm::CreateEncryptor;

    void GenerateIV() override;

    /// Generates a key of the current key size. Throws CArgumentException for "key" if that is not 128, 192 or 256
    /// bits.
    void GenerateKey() override;

    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key 16, 24 or 32 bytes, otherwise CArgumentException for "key"
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography

#pragma GCC diagnostic pop
