#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

// The order of the virtual functions is published and contains no destructor: a derived class is destroyed through its
// own type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore::Security::Cryptography {

/// DES (FIPS 46-3), only for compatibility with old data: 8 of the 64 bits of its key are ignored, and the key can be
/// found by exhaustive search. CFB feeds back a whole block if the system supports it; some systems always feed back 8
/// bits.
class ZELCORE_API CDes : public CSymmetricAlgorithm {
public:
    /// Blocks, key and feedback of 64 bits, CBC. Key and IV are generated on first use.
    CDes();

    /// A copy has its own key and IV with the same values, in memory that is wiped as well.
    ///@{
    CDes(const CDes&) = default;
    CDes& operator=(const CDes&) = default;
    ///@}

    /// Wipes key and IV.
    ~CDes();

    /// Always false: there is no table of weak keys.
    ///@{
    static bool IsWeakKey(const SecureBytes& key);
    static bool IsSemiWeakKey(const SecureBytes& key);
    ///@}

    using CSymmetricAlgorithm::CreateDecryptor;
    using CSymmetricAlgorithm::CreateEncryptor;

    /// Generates an IV as long as the key. Throws CArgumentException for "iv" if key size and block size differ.
    void GenerateIV() override;

    /// Generates a key of the current key size, by default 64 bits. Another size is rejected when a transform is
    /// created.
    void GenerateKey() override;

    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key of the current key size, by default 8 bytes, otherwise CArgumentException for "key"
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography

#pragma GCC diagnostic pop
