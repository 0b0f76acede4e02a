#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

#include "ZelCore/ArgumentException.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Security::Cryptography {

CSymmetricAlgorithm::CSymmetricAlgorithm(std::uint64_t blockSize, std::uint64_t feedbackSize, std::uint64_t keySize,
                                         CipherMode mode)
    : m_blockSize(blockSize), m_feedbackSize(feedbackSize), m_keySize(keySize), m_mode(mode) {}

CSymmetricAlgorithm::~CSymmetricAlgorithm() = default;

std::unique_ptr<ICryptoTransform> CSymmetricAlgorithm::CreateDecryptor() {
    const SecureBytes& iv = GetIV();
    return CreateDecryptor(GetKey(), iv);
}

std::unique_ptr<ICryptoTransform> CSymmetricAlgorithm::CreateEncryptor() {
    const SecureBytes& iv = GetIV();
    return CreateEncryptor(GetKey(), iv);
}

const SecureBytes& CSymmetricAlgorithm::GetIV() const {
    if (m_iv.empty()) {
        const_cast<CSymmetricAlgorithm*>(this)->GenerateIV();
    }
    return m_iv;
}

void CSymmetricAlgorithm::SetIV(const SecureBytes& iv) {
    if (iv.empty()) {
        throw CArgumentException(L"iv", nullptr,
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CSymmetricAlgorithm::SetIV", 37));
    }
    if (iv.size() != m_blockSize / 8) {
        throw CArgumentException(L"iv", nullptr,
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CSymmetricAlgorithm::SetIV", 41));
    }
    m_iv = iv;
}

const SecureBytes& CSymmetricAlgorithm::GetKey() const {
    if (m_key.empty()) {
        const_cast<CSymmetricAlgorithm*>(this)->GenerateKey();
    }
    return m_key;
}

void CSymmetricAlgorithm::SetKey(const SecureBytes& key) {
    if (key.empty()) {
        throw CArgumentException(L"key", nullptr,
                                 ZEL_SITE(L"ZelCore::Security::Cryptography::CSymmetricAlgorithm::SetKey", 61));
    }
    m_key = key;
    m_keySize = m_key.size() * 8;
}

std::uint64_t CSymmetricAlgorithm::GetKeySize() {
    return m_keySize;
}

void CSymmetricAlgorithm::SetKeySize(std::uint64_t bits) {
    m_keySize = bits;
}

std::uint64_t CSymmetricAlgorithm::GetBlockSize() {
    return m_blockSize;
}

void CSymmetricAlgorithm::SetBlockSize(std::uint64_t bits) {
    m_blockSize = bits;
}

std::uint64_t CSymmetricAlgorithm::GetFeedbackSize() {
    return m_feedbackSize;
}

void CSymmetricAlgorithm::SetFeedbackSize(std::uint64_t bits) {
    m_feedbackSize = bits;
}

CipherMode CSymmetricAlgorithm::GetMode() {
    return m_mode;
}

void CSymmetricAlgorithm::SetMode(CipherMode mode) {
    m_mode = mode;
}

} // namespace ZelCore::Security::Cryptography
