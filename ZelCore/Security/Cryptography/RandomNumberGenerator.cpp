#include "ZelCore/Security/Cryptography/RandomNumberGenerator.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelWin32/LastError.h"

namespace ZelCore::Security::Cryptography {

CRandomNumberGenerator::CRandomNumberGenerator() : m_provider(std::make_unique<CCryptoServiceProvider>()) {}

CRandomNumberGenerator::~CRandomNumberGenerator() = default;

void CRandomNumberGenerator::GetBytes(unsigned char* data, std::size_t size) const {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CRandomNumberGenerator::GetBytes";
    CheckNotNull(data, L"data", ZEL_SITE(method, 29));
    if (size == 0) {
        throw CArgumentException(L"dataSize", GetMessageText(Message::CannotBeEmpty), ZEL_SITE(method, 33));
    }
    const auto fill = [provider = m_provider->GetHandle()](unsigned char* piece, DWORD length) {
        return ::CryptGenRandom(provider, length, piece) != FALSE;
    };
    ZelWin32::CheckWin32(ForEachPiece(data, size, fill), ZEL_SITE(method, 37));
}

} // namespace ZelCore::Security::Cryptography
