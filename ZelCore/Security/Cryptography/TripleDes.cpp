#include "ZelCore/Security/Cryptography/TripleDes.h"

#include "ZelCore/ArgumentException.h"
#include "ZelCore/Security/Cryptography/CryptoApiTransform.h"
#include "ZelCore/Security/Cryptography/RandomBytes.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Security::Cryptography {

namespace {

std::unique_ptr<ICryptoTransform> CreateCryptoTransform(CTripleDes& algorithm, const SecureBytes& key,
                                                        const SecureBytes& iv, bool encrypting) {
    const ALG_ID id = key.size() == 16 ? CALG_3DES_112 : CALG_3DES;
    return CheckAndCreateTransform(algorithm, id, key, iv, encrypting, 8, L"" __FILE__);
}

} // namespace

CTripleDes::CTripleDes() : CSymmetricAlgorithm(64, 64, 192, CipherMode::CBC) {}
CTripleDes::~CTripleDes() = default;

bool CTripleDes::IsWeakKey(const SecureBytes&) {
    return false;
}

std::unique_ptr<ICryptoTransform> CTripleDes::CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, false);
}

std::unique_ptr<ICryptoTransform> CTripleDes::CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) {
    return CreateCryptoTransform(*this, key, iv, true);
}

void CTripleDes::GenerateIV() {
    SetIV(MakeRandomBytes(8));
}

void CTripleDes::GenerateKey() {
    SetKey(MakeRandomBytes(GetKeySize() / 8));
}

void CTripleDes::SetKey(const SecureBytes& key) {
    if (key.empty()) {
        throw CArgumentException(L"key", L"Invalid empty key",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CTripleDes::SetKey", 132));
    }
    if (key.size() != 16 && key.size() != 24) {
        throw CArgumentException(L"key", L"Invalid key size",
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CTripleDes::SetKey", 136));
    }
    CSymmetricAlgorithm::SetKey(key);
}

} // namespace ZelCore::Security::Cryptography
