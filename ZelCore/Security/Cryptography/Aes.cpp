#include "ZelCore/Security/Cryptography/Aes.h"

#include "ZelCore/ArgumentException.h"
#include "ZelCore/Security/Cryptography/CryptoApiTransform.h"
#include "ZelCore/Security/Cryptography/RandomBytes.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Security::Cryptography {

namespace {

std::unique_ptr<ICryptoTransform> CreateCryptoTransform(CAes& algorithm, const SecureBytes& key, const SecureBytes& iv,
                                                        bool encrypting) {
    const ALG_ID id = key.size() == 16 ? CALG_AES_128 : key.size() == 24 ? CALG_AES_192 : CALG_AES_256;
    return CheckAndCreateTransform(algorithm, id, key, iv, encrypting, 8, L"" __FILE__);
}

} // namespace

CAes::CAes() : CSymmetricAlgorithm(128, 8, 256, CipherMode::CBC) {}
CAes::~CAes() = default;

std::unique_ptr<ICryptoTransform> CAes::CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, false);
}

std::unique_ptr<ICryptoTransform> CAes::CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, true);
}

void CAes::GenerateIV() {
    SetIV(MakeRandomBytes(GetBlockSize() / 8));
}

void CAes::GenerateKey() {
    SetKey(MakeRandomBytes(GetKeySize() / 8));
}

void CAes::SetKey(const SecureBytes& key) {
    if (key.empty()) {
        throw CArgumentException(L"key", L"Invalid empty key",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CAes::SetKey", 115));
    }
    if (key.size() != 16 && key.size() != 24 && key.size() != 32) {
        throw CArgumentException(L"key", L"Invalid key size",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CAes::SetKey", 120));
    }
    CSymmetricAlgorithm::SetKey(key);
}

} // namespace ZelCore::Security::Cryptography
