#include "Measure.h"
#include "zel/PlainStream.h"

#include "ZelCore/Security/Cryptography/Aes.h"
#include "ZelCore/Security/Cryptography/CryptoStream.h"
#include "ZelCore/Security/Cryptography/HashAlgorithm.h"
#include "ZelCore/Security/Cryptography/RandomNumberGenerator.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <wincrypt.h>

namespace ZelBench {

namespace {

using namespace ZelCore::IO;
using namespace ZelCore::Security::Cryptography;

constexpr std::size_t DataSize = 64u << 20;
constexpr std::size_t LargePiece = 65536;
constexpr std::size_t SmallPiece = 16;
constexpr std::size_t SmallSize = 4u << 20;
constexpr int Records = 1000;
constexpr int ColdRecords = 50;

/// Reads endless data and discards written data, at the cost of a copy.
class MemoryEnds final : public Zel::PlainStream {
public:
    explicit MemoryEnds(std::size_t left = 0) : m_left(left) {}
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        const std::size_t read = std::min({count, m_left, LargePiece});
        std::memcpy(buffer, s_piece, read);
        m_left -= read;
        return read;
    }
    static inline unsigned char s_piece[LargePiece];

private:
    std::size_t m_left;
};

CAes& GetAes() {
    static CAes aes = [] {
        CAes made; // the key is set, because generating one would load the provider
        made.SetKey(ZelCore::SecureBytes(32, 1));
        made.SetIV(ZelCore::SecureBytes(16, 2));
        return made;
    }();
    return aes;
}

/// The same work with direct calls that create and use a key.
class RawCipher {
public:
    RawCipher() {
        const auto& key = GetAes().GetKey();
        struct {
            BLOBHEADER header{PLAINTEXTKEYBLOB, CUR_BLOB_VERSION, 0, CALG_AES_256};
            DWORD length = 32;
            unsigned char bytes[32];
        } blob;
        std::memcpy(blob.bytes, key.data(), sizeof(blob.bytes));
        ::CryptAcquireContextW(&m_provider, nullptr, L"Microsoft Enhanced RSA and AES Cryptographic Provider",
                               PROV_RSA_AES, CRYPT_VERIFYCONTEXT);
        ::CryptImportKey(m_provider, reinterpret_cast<const BYTE*>(&blob), sizeof(blob), 0, 0, &m_key);
        ::CryptSetKeyParam(m_key, KP_IV, GetAes().GetIV().data(), 0);
    }
    RawCipher(const RawCipher&) = delete;
    RawCipher& operator=(const RawCipher&) = delete;
    ~RawCipher() {
        ::CryptDestroyKey(m_key);
        ::CryptReleaseContext(m_provider, 0);
    }
    void Encrypt(std::size_t total, std::size_t piece) {
        for (std::size_t at = 0; at < total; at += piece) {
            std::memcpy(m_buffer, MemoryEnds::s_piece, piece);
            auto length = static_cast<DWORD>(piece);
            ::CryptEncrypt(m_key, 0, FALSE, 0, m_buffer, &length, sizeof(m_buffer));
        }
    }
    void EncryptRecord() {
        DWORD length = 100;
        std::memcpy(m_buffer, MemoryEnds::s_piece, length);
        ::CryptEncrypt(m_key, 0, TRUE, 0, m_buffer, &length, sizeof(m_buffer));
    }
    void Decrypt(std::size_t total, std::size_t piece) {
        for (std::size_t at = 0; at < total; at += piece) {
            std::memcpy(m_buffer, MemoryEnds::s_piece, piece);
            auto length = static_cast<DWORD>(piece);
            ::CryptDecrypt(m_key, 0, FALSE, 0, m_buffer, &length);
        }
    }

private:
    HCRYPTPROV m_provider = 0;
    HCRYPTKEY m_key = 0;
    inline static unsigned char m_buffer[LargePiece + 16];
};

/// The end of the stream is not processed: it is not closed, and when reading it is never reached.
void WriteOurs(std::size_t total, std::size_t piece) {
    MemoryEnds target;
    const auto encryptor = GetAes().CreateEncryptor();
    CCryptoStream stream(target, *encryptor, CryptoStreamMode::Write);
    for (std::size_t at = 0; at < total; at += piece) {
        stream.Write(MemoryEnds::s_piece, piece);
    }
    stream.Close();
}

void ReadOurs() {
    static unsigned char buffer[LargePiece];
    MemoryEnds source(2 * DataSize);
    const auto decryptor = GetAes().CreateDecryptor();
    CCryptoStream stream(source, *decryptor, CryptoStreamMode::Read);
    for (std::size_t at = 0; at < DataSize; at += LargePiece) {
        stream.Read(buffer, LargePiece);
    }
}

void HashRaw() {
    HCRYPTPROV provider = 0;
    HCRYPTHASH hash = 0;
    ::CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT);
    ::CryptCreateHash(provider, CALG_SHA_256, 0, 0, &hash);
    for (std::size_t at = 0; at < DataSize; at += LargePiece) {
        ::CryptHashData(hash, MemoryEnds::s_piece, LargePiece, 0);
    }
    ::CryptDestroyHash(hash);
    ::CryptReleaseContext(provider, 0);
}

void RandomOurs() {
    static const CRandomNumberGenerator random;
    unsigned char bytes[SmallPiece];
    for (int i = 0; i < 100 * Records; ++i) {
        random.GetBytes(bytes, sizeof(bytes));
    }
}

void RandomRaw() {
    static const HCRYPTPROV provider = [] {
        HCRYPTPROV handle = 0;
        ::CryptAcquireContextW(&handle, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT);
        return handle;
    }();
    unsigned char bytes[SmallPiece];
    for (int i = 0; i < 100 * Records; ++i) {
        ::CryptGenRandom(provider, sizeof(bytes), bytes);
    }
}

void RecordsOurs(int count) {
    for (int i = 0; i < count; ++i) {
        GetAes().CreateEncryptor()->TransformFinalBlock(MemoryEnds::s_piece, 100);
    }
}

} // namespace

std::vector<Benchmark> MakeCryptoBenchmarks() {
    return {
        {"AES-256-CBC, write by 64 KiB", "CryptEncrypt", 1.05, 7, [] { WriteOurs(DataSize, LargePiece); },
         [] { RawCipher().Encrypt(DataSize, LargePiece); }},
        {"AES-256-CBC, read by 64 KiB", "CryptDecrypt", 1.05, 7, &ReadOurs,
         [] { RawCipher().Decrypt(DataSize, LargePiece); }},
        {"AES-256-CBC, write by 16 bytes", "CryptEncrypt", 1.5, 9, [] { WriteOurs(SmallSize, SmallPiece); },
         [] { RawCipher().Encrypt(SmallSize, SmallPiece); }},
        {"SHA-256 of a stream", "CryptHashData by 64 KiB", 1.03, 7,
         [] {
             MemoryEnds source(DataSize);
             CHashAlgorithm(CALG_SHA_256).ComputeHash(source);
         },
         &HashRaw},
        {"encryptor, made and destroyed", "the calls by hand", 1.15, 9,
         [] {
             for (int i = 0; i < Records; ++i) {
                 GetAes().CreateEncryptor();
             }
         },
         [] {
             for (int i = 0; i < Records; ++i) {
                 RawCipher();
             }
         }},
        {"16 random bytes", "CryptGenRandom", 1.2, 9, &RandomOurs, &RandomRaw},
    };
}

void RunRecordsBenchmark() {
    const double raw = Time([] {
        for (int i = 0; i < ColdRecords; ++i) {
            RawCipher().EncryptRecord();
        }
    });
    RecordsOurs(1);
    const double ours = Time([] { RecordsOurs(ColdRecords); });
    PrintRow("50 records, an encryptor each", "by hand, provider not kept", ours, raw, 0.25);
}

} // namespace ZelBench
