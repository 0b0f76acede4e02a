#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

namespace ZelCore::Security::Cryptography {

/// Triple DES (NIST SP 800-67) with two or three keys of 64 bits each; three are generated. CFB feeds back 8 bits,
/// which has to be set: SetFeedbackSize(8).
class ZELCORE_API CTripleDes final : public CSymmetricAlgorithm {
public:
    CTripleDes();
    CTripleDes(const CTripleDes&) = default;
    CTripleDes& operator=(const CTripleDes&) = default;
    ~CTripleDes();

    /// Always false: there is no table of weak keys.
    static bool IsWeakKey(const SecureBytes& key);

    using CSymmetricAlgorithm::CreateDecryptor;
    using CSymmetricAlgorithm::CreateEncryptor;

    void GenerateIV() override;
    void GenerateKey() override;
    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key 16 or 24 bytes
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography
