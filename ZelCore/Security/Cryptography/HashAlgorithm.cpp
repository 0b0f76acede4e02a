#include "ZelCore/Security/Cryptography/HashAlgorithm.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/IO/Stream.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelCore/ThrowSite.h"
#include "ZelCore/ZeroMemoryAllocator.h"
#include "ZelWin32/LastError.h"

#include <algorithm>

namespace ZelCore::Security::Cryptography {

using Bytes = std::vector<unsigned char>;

class CHashAlgorithm::impl {
public:
    explicit impl(ALG_ID algorithm) : m_algorithm(algorithm) {
        Clear();
    }

    void Clear();
    void HashCore(const unsigned char* data, std::size_t size);
    Bytes HashFinal();
    Bytes GetDigest() const;

private:
    enum class State { Empty, Adding, Final };

    const CCryptoServiceProvider m_provider;
    HashHandle m_hash;
    ALG_ID m_algorithm;
    Bytes m_digest;
    State m_state = State::Empty;
};

void CHashAlgorithm::impl::Clear() {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CHashAlgorithm::impl::Clear";
    m_state = State::Empty;
    m_digest.clear();
    if (m_hash) {
        // Released before the check: a handle whose destruction failed is not destroyed again.
        ZelWin32::CheckWin32(::CryptDestroyHash(m_hash.Release()), ZEL_SITE(method, 50));
    }
    HCRYPTHASH hash = 0;
    ZelWin32::CheckWin32(::CryptCreateHash(m_provider.GetHandle(), m_algorithm, 0, 0, &hash), ZEL_SITE(method, 54));
    m_hash.Reset(hash);
}

void CHashAlgorithm::impl::HashCore(const unsigned char* data, std::size_t size) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CHashAlgorithm::impl::HashCore";
    if (m_state == State::Final) {
        throw CInvalidOperationException(L"The digest is finalized, cannot add more data", ZEL_SITE(method, 71));
    }
    m_state = State::Adding;
    ZelWin32::CheckWin32(ForEachPiece(data, size,
                                      [this](const unsigned char* piece, DWORD length) {
                                          return ::CryptHashData(m_hash.Get(), piece, length, 0) != FALSE;
                                      }),
                         ZEL_SITE(method, 78));
}

Bytes CHashAlgorithm::impl::HashFinal() {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CHashAlgorithm::impl::HashFinal";
    if (m_state == State::Empty) {
        throw CInvalidOperationException(L"No data in the digest.", ZEL_SITE(method, 85));
    }
    if (m_state == State::Final) {
        throw CInvalidOperationException(L"The digest is already finalized.", ZEL_SITE(method, 90));
    }
    m_state = State::Final;
    DWORD length = 0;
    if (::CryptGetHashParam(m_hash.Get(), HP_HASHVAL, nullptr, &length, 0)) {
        Bytes digest(length);
        ZelWin32::CheckWin32(::CryptGetHashParam(m_hash.Get(), HP_HASHVAL, digest.data(), &length, 0),
                             ZEL_SITE(method, 101));
        m_digest.swap(digest);
    }
    return GetDigest();
}

Bytes CHashAlgorithm::impl::GetDigest() const {
    if (m_state != State::Final) {
        throw CInvalidOperationException(
            L"The digest is not finalized",
            ZEL_SITE(L"ZelCore::Security::Cryptography::CHashAlgorithm::impl::GetDigest", 61));
    }
    return m_digest;
}

CHashAlgorithm::CHashAlgorithm(unsigned int algorithmId) : m_impl(std::make_unique<impl>(algorithmId)) {}

CHashAlgorithm::~CHashAlgorithm() = default;

bool CHashAlgorithm::CanReuseTransform() const {
    return true;
}

bool CHashAlgorithm::CanTransformMultipleBlocks() const {
    return true;
}

std::size_t CHashAlgorithm::InputBlockSize() const {
    return 1;
}

std::size_t CHashAlgorithm::OutputBlockSize() const {
    return 1;
}

std::size_t CHashAlgorithm::TransformBlock(const unsigned char* input, std::size_t count, Bytes& output) {
    CheckNotNull(input, L"inputBuffer",
                 ZEL_SITE(L"ZelCore::Security::Cryptography::CHashAlgorithm::TransformBlock", 158));
    struct Wiped {
        Bytes bytes;
        ~Wiped() {
            WipeMemory(bytes.data(), bytes.size());
        }
    } copy{Bytes(input, input + count)}; // the output may hold the input
    m_impl->HashCore(input, count);
    output.swap(copy.bytes);
    return count;
}

Bytes CHashAlgorithm::TransformFinalBlock(const unsigned char* input, std::size_t count) {
    if (count != 0) {
        CheckNotNull(input, L"inputBuffer",
                     ZEL_SITE(L"ZelCore::Security::Cryptography::CHashAlgorithm::TransformFinalBlock"));
    }
    m_impl->HashCore(input, count);
    return m_impl->HashFinal();
}

Bytes CHashAlgorithm::ComputeHash(const unsigned char* data, std::size_t size) {
    if (size != 0) {
        CheckNotNull(data, L"data", ZEL_SITE(L"ZelCore::Security::Cryptography::CHashAlgorithm::ComputeHash"));
    }
    m_impl->HashCore(data, size);
    return m_impl->HashFinal();
}

Bytes CHashAlgorithm::ComputeHash(IO::CStream& stream) {
    SecureBytes buffer(4096);
    while (const std::size_t read = stream.Read(buffer.data(), buffer.size())) {
        m_impl->HashCore(buffer.data(), std::min(read, buffer.size()));
    }
    return m_impl->HashFinal();
}

Bytes CHashAlgorithm::GetDigest() const {
    return m_impl->GetDigest();
}

void CHashAlgorithm::Clear() {
    m_impl->Clear();
}

} // namespace ZelCore::Security::Cryptography
