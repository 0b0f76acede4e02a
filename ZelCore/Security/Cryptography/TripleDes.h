#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

// The order of the virtual functions is published and contains no destructor: a derived class is destroyed through its
// own type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore::Security::Cryptography {

/// Triple DES (NIST SP 800-67) with two or three keys of 64 bits each; three are generated. CFB feeds back 8 bits,
/// which has to be set explicitly: SetFeedbackSize(8).
class ZELCORE_API CTripleDes : public CSymmetricAlgorithm {
public:
    /// Blocks and feedback of 64 bits, a key of 192 bits, CBC. Key and IV are generated on first use.
    CTripleDes();

    /// A copy has its own key and IV with the same values, in memory that is wiped as well.
    ///@{
    CTripleDes(const CTripleDes&) = default;
    CTripleDes& operator=(const CTripleDes&) = default;
    ///@}

    /// Wipes key and IV.
    ~CTripleDes();

    /// Always false: there is no table of weak keys.
    static bool IsWeakKey(const SecureBytes& key);

    using CSymmetricAlgorithm::CreateDecryptor;
    using CSymmetricAlgorithm::CreateEncryptor;

    /// Generates an IV of 8 bytes. Throws CArgumentException for "iv" if the block size was changed.
    void GenerateIV() override;

    /// Generates a key of the current key size. Throws CArgumentException for "key" if that is not 128 or 192 bits.
    void GenerateKey() override;

    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key 16 or 24 bytes, otherwise CArgumentException for "key"
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography

#pragma GCC diagnostic pop
