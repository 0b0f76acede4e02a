#include "ZelCore/Security/Cryptography/CryptoApiTransform.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/NotImplementedException.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <cstring>

namespace ZelCore::Security::Cryptography {

namespace {

constexpr std::size_t SmallestIV = 8;    // bytes, for every algorithm
constexpr std::size_t LargestBlock = 16; // bytes

constexpr std::size_t LargestKept = 2 << 20; // bytes of memory that a transform keeps between calls

constexpr std::size_t BlobHeaderSize = 12;

/// Returns the key in the form of CryptImportKey: a PUBLICKEYSTRUC, the length and the bytes.
SecureBytes MakeKeyBlob(ALG_ID algorithm, const SecureBytes& key) {
    struct Header {
        BLOBHEADER blob;
        DWORD length;
    };
    const Header header{{PLAINTEXTKEYBLOB, CUR_BLOB_VERSION, 0, algorithm}, static_cast<DWORD>(key.size())};
    static_assert(sizeof(header) == BlobHeaderSize);
    SecureBytes bytes(sizeof(header) + key.size());
    std::memcpy(bytes.data(), &header, sizeof(header));
    std::copy(key.begin(), key.end(), bytes.begin() + sizeof(header));
    return bytes;
}

/// Wipes data that a call leaves in the transform's memory: plain text of a failed call, or the previous contents of
/// the output, which its owner can no longer access.
class WipedAfterwards {
public:
    explicit WipedAfterwards(std::vector<unsigned char>& bytes) noexcept : m_bytes(bytes) {}
    WipedAfterwards(const WipedAfterwards&) = delete;
    WipedAfterwards& operator=(const WipedAfterwards&) = delete;
    ~WipedAfterwards() {
        WipeMemory(m_bytes.data(), m_bytes.size());
        if (m_bytes.capacity() > LargestKept) {
            std::vector<unsigned char>().swap(m_bytes);
        }
    }

private:
    std::vector<unsigned char>& m_bytes;
};

} // namespace

std::unique_ptr<ICryptoTransform> CheckAndCreateTransform(CSymmetricAlgorithm& algorithm, ALG_ID id,
                                                          const SecureBytes& key, const SecureBytes& iv,
                                                          bool encrypting, std::uint64_t feedbackSize,
                                                          const wchar_t* file) {
    const CipherParameters parameters{id, algorithm.GetMode(), algorithm.GetBlockSize(), algorithm.GetFeedbackSize(),
                                      encrypting};
    const wchar_t* const method = L"`anonymous-namespace'::CreateCryptoTransform";
    if (parameters.mode == CipherMode::OFB) {
        throw CNotImplementedException(nullptr, method, file, 24);
    }
    if (parameters.mode == CipherMode::CFB && parameters.feedbackSize != feedbackSize) {
        throw CArgumentException(L"feedbackSize", L"Invalid feedback size", method, file, 29);
    }
    if (key.empty()) {
        throw CArgumentException(L"key", L"Cannot use empty key", method, file, 35);
    }
    if (parameters.mode != CipherMode::ECB && !iv.empty() && iv.size() < SmallestIV) {
        throw CArgumentException(L"iv", L"Initialization vector is too small", method, file, 49);
    }
    return std::make_unique<CCryptoApiTransform>(key, iv, parameters);
}

CCryptoApiTransform::CCryptoApiTransform(const SecureBytes& key, const SecureBytes& iv,
                                         const CipherParameters& parameters)
    : m_encrypting(parameters.encrypting), m_blockSize(parameters.blockSize),
      m_systemBlock(parameters.algorithm == CALG_AES_128 || parameters.algorithm == CALG_AES_192 ||
                            parameters.algorithm == CALG_AES_256
                        ? 16
                        : 8) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CCryptoApiTransform::CCryptoApiTransform";
    CheckAtMost(key.size(), Largest32 - BlobHeaderSize, L"key", ZEL_SITE(method)); // CryptoAPI counts in 32 bits
    {
        const SecureBytes blob = MakeKeyBlob(parameters.algorithm, key);
        HCRYPTKEY handle = 0;
        ZelWin32::CheckWin32(
            ::CryptImportKey(m_provider.GetHandle(), blob.data(), static_cast<DWORD>(blob.size()), 0, 0, &handle),
            ZEL_SITE(method, 69));
        m_key.Reset(handle);
    }
    if (parameters.mode == CipherMode::CFB) {
        CheckAtMost(parameters.feedbackSize, Largest32, L"feedbackSize", ZEL_SITE(method));
        const auto bits = static_cast<DWORD>(parameters.feedbackSize);
        SetKeyParameter(KP_MODE_BITS, &bits, 76);
    }
    if (parameters.mode != CipherMode::ECB && !iv.empty()) {
        SecureBytes block(std::max<std::size_t>(iv.size(), LargestBlock)); // the system reads a whole block
        std::copy(iv.begin(), iv.end(), block.begin());
        SetKeyParameter(KP_IV, block.data(), 82);
    }
    if (parameters.mode != CipherMode::CBC) {
        const auto mode = static_cast<DWORD>(parameters.mode);
        SetKeyParameter(KP_MODE, &mode, 89);
    }
}

void CCryptoApiTransform::SetKeyParameter(DWORD parameter, const void* value, int line) {
    // Site: a step of the constructor, with the lines passed by it.
    ZelWin32::CheckWin32(::CryptSetKeyParam(m_key.Get(), parameter, static_cast<const BYTE*>(value), 0),
                         ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::CCryptoApiTransform", line));
}

bool CCryptoApiTransform::IsWholeBlocks(std::size_t count) const noexcept {
    return InputBlockSize() != 0 && count % InputBlockSize() == 0;
}

void CCryptoApiTransform::CheckSize(std::size_t count, const wchar_t* method, const wchar_t* file, int line) const {
    // The system's limit of 32 bits includes the padding.
    const std::uint64_t padding = 2 * std::min<std::uint64_t>(InputBlockSize(), Largest32 / 2);
    CheckAtMost(count, Largest32 - padding, L"inputCount", method, file, line);
}

std::size_t CCryptoApiTransform::TransformBlock(const unsigned char* input, std::size_t count,
                                                std::vector<unsigned char>& output) {
    CheckNotNull(input, L"inputBuffer",
                 ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformBlock", 144));
    if (count == 0 || !IsWholeBlocks(count)) {
        throw CArgumentException(
            L"inputCount", L"Invalid count. Must be a multiple of the block size.",
            ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformBlock", 148));
    }
    CheckSize(count, ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformBlock"));
    const WipedAfterwards work(m_work);
    const std::size_t length = Transform(input, count, false);
    output.swap(m_work);
    return length;
}

std::vector<unsigned char> CCryptoApiTransform::TransformFinalBlock(const unsigned char* input, std::size_t count) {
    CheckNotNull(input, L"inputBuffer",
                 ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformFinalBlock", 165));
    if (m_encrypting ? InputBlockSize() == 0 : !IsWholeBlocks(count)) {
        throw CArgumentException(
            L"inputCount", L"Invalid count. Must be a multiple of the block size.",
            ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformFinalBlock", 178));
    }
    CheckSize(count, ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformFinalBlock"));
    std::vector<unsigned char> output;
    m_work.swap(output); // the output takes over this memory, so that the result is not copied
    output = {};
    const WipedAfterwards work(m_work);
    const std::size_t length = Transform(input, count, true);
    output.swap(m_work);
    output.resize(length);
    return output;
}

std::size_t CCryptoApiTransform::Transform(const unsigned char* input, std::size_t count, bool final) {
    return m_encrypting ? Encrypt(input, count, final) : Decrypt(input, count, final);
}

std::size_t CCryptoApiTransform::Encrypt(const unsigned char* input, std::size_t count, bool final) {
    const std::size_t block = InputBlockSize();
    std::size_t room = (count + block - 1) / block * block;
    if (final && (count == 0 || count == block)) {
        room += block; // no room for the padding of more whole blocks: the system rejects such a message
    }
    m_work.resize(room);
    std::copy_n(input, count, m_work.begin());
    auto length = static_cast<DWORD>(count);
    ZelWin32::CheckWin32(::CryptEncrypt(m_key.Get(), 0, final, 0, m_work.data(), &length, static_cast<DWORD>(room)),
                         ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoApiTransform::Encrypt", 268));
    return length;
}

std::size_t CCryptoApiTransform::Decrypt(const unsigned char* input, std::size_t count, bool final) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CCryptoApiTransform::Decrypt";
    const std::size_t held = m_held.size();
    if (final) {
        m_work.resize(held + count);
        std::copy_n(input, count, std::copy(m_held.begin(), m_held.end(), m_work.begin()));
        if (m_work.empty()) { // the system would crash; a message has at least one block of padding
            throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_DATA), nullptr, ZEL_SITE(method, 244));
        }
        return DecryptInPlace(true, ZEL_SITE(method, 244));
    }
    const std::size_t kept = held != 0 ? held : InputBlockSize();
    m_work.resize(held + count - kept);
    std::copy_n(input, count - kept, std::copy(m_held.begin(), m_held.end(), m_work.begin()));
    m_next.assign(input + count - kept, input + count);
    const std::size_t length = m_work.empty() ? 0 : DecryptInPlace(false, ZEL_SITE(method, held != 0 ? 228 : 208));
    m_held.swap(m_next); // last, so that a failed call can be repeated
    return length;
}

std::size_t CCryptoApiTransform::DecryptInPlace(bool final, const wchar_t* method, const wchar_t* file, int line) {
    if (m_work.size() % m_systemBlock != 0) { // the system would read beyond the end
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_DATA), nullptr, method, file, line);
    }
    auto length = static_cast<DWORD>(m_work.size());
    ZelWin32::CheckWin32(::CryptDecrypt(m_key.Get(), 0, final, 0, m_work.data(), &length), method, file, line);
    return length;
}

} // namespace ZelCore::Security::Cryptography
