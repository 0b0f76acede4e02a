#pragma once

#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

// The order of the virtual operations is published and has no destructor: whoever derives destroys his own class.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore::Security::Cryptography {

/// DES (FIPS 46-3), for old data only: its key of 64 bits, 8 of which count for nothing, can be found by trying.
/// CFB feeds back a whole block, or what the system makes of that: some feed back 8 bits whatever they are told.
class ZELCORE_API CDes : public CSymmetricAlgorithm {
public:
    /// Blocks, key and feedback of 64 bits, CBC; key and IV are generated on first use.
    CDes();

    /// A copy has key and IV too, in memory of its own that is wiped as well.
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

    /// As long as the key, so that it throws CArgumentException for "iv" while key and block differ in size.
    void GenerateIV() override;

    /// Of the current key size, 64 bits unless it was changed; another size is refused when a transform is made.
    void GenerateKey() override;

    std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) override;
    std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) override;

    /// \param key of the current key size, which is 8 bytes at first, otherwise CArgumentException for "key"
    void SetKey(const SecureBytes& key) override;
};

} // namespace ZelCore::Security::Cryptography

#pragma GCC diagnostic pop
