#include "ZelCore/Security/Cryptography/Des.h"

#include "ZelCore/ArgumentException.h"
#include "ZelCore/Security/Cryptography/CryptoApiTransform.h"
#include "ZelCore/Security/Cryptography/RandomBytes.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Security::Cryptography {

namespace {

std::unique_ptr<ICryptoTransform> CreateCryptoTransform(CDes& algorithm, const SecureBytes& key, const SecureBytes& iv,
                                                        bool encrypting) {
    const ALG_ID id = CALG_DES;
    return CheckAndCreateTransform(algorithm, id, key, iv, encrypting, algorithm.GetBlockSize(), L"" __FILE__);
}

} // namespace

CDes::CDes() : CSymmetricAlgorithm(64, 64, 64, CipherMode::CBC) {}
CDes::~CDes() = default;

bool CDes::IsWeakKey(const SecureBytes&) {
    return false;
}

bool CDes::IsSemiWeakKey(const SecureBytes&) {
    return false;
}

std::unique_ptr<ICryptoTransform> CDes::CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, false);
}

std::unique_ptr<ICryptoTransform> CDes::CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, true);
}

void CDes::GenerateIV() {
    SetIV(MakeRandomBytes(GetKeySize() / 8));
}

void CDes::GenerateKey() {
    SetKey(MakeRandomBytes(GetKeySize() / 8));
}

void CDes::SetKey(const SecureBytes& key) {
    if (key.empty()) {
        throw CArgumentException(L"key", L"Invalid empty key",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CDes::SetKey", 91));
    }
    if (key.size() * 8 != GetKeySize()) {
        throw CArgumentException(L"key", L"Invalid key size",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CDes::SetKey", 96));
    }
    CSymmetricAlgorithm::SetKey(key);
}

} // namespace ZelCore::Security::Cryptography
