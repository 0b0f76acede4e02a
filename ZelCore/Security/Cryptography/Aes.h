#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

namespace ZelCore::Security::Cryptography {

/// AES (FIPS 197) with keys of 128, 192 or 256 bits; a key of 256 bits is generated. CFB feeds back 8 bits.
class ZELCORE_API CAes final : public CSymmetricAlgorithm {
public:
    CAes();
    CAes(const CAes&) = default;
    CAes& operator=(const CAes&) = default;
    ~CAes();

    using CSymmetricAlgorithm::CreateDecryptor;
    using CSymmetricAlgorithm::CreateEncryptor;

    void GenerateIV() override;
    void GenerateKey() override;
    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key 16, 24 or 32 bytes
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography
