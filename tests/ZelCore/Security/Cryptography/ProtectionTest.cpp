#include "Support/Crypto.h"

#include <malloc.h>

namespace {

using Scope = DataProtectionScope;

std::vector<unsigned char> Protect(const std::string& data, const std::string& entropy = "",
                                   Scope scope = Scope::CurrentUser) {
    std::vector<unsigned char> output;
    CProtectedData::Protect(Bytes(data), data.size(), output, {entropy.begin(), entropy.end()}, scope);
    return output;
}

std::string Unprotect(const std::vector<unsigned char>& data, const std::string& entropy = "") {
    SecureBytes output;
    CProtectedData::Unprotect(data.data(), data.size(), output, {entropy.begin(), entropy.end()});
    return Text(output);
}

std::string MakeSecret(std::size_t size) {
    std::string text(size, '\0');
    CRandomNumberGenerator().GetBytes(reinterpret_cast<unsigned char*>(text.data()), size);
    return text;
}

bool IsSameByte(unsigned char a, char b) {
    return a == static_cast<unsigned char>(b);
}

/// An output of the test, which wipes itself.
struct Owned {
    std::vector<unsigned char> bytes;
    ~Owned() {
        WipeMemory(bytes.data(), bytes.size());
    }
};

/// Searches for secrets in every block that the library releases.
struct ReleasedSecrets {
    std::vector<std::string> secrets;
    int found = 0, released = 0;

    void Look(const void* block, std::size_t size) {
        const std::string_view bytes(static_cast<const char*>(block), block != nullptr ? size : 0);
        ++released;
        for (const std::string& secret : secrets) {
            found += bytes.find(secret) != std::string_view::npos ? 1 : 0;
        }
    }
#ifdef __cpp_sized_deallocation
    const ImportHook unneeded{"_ZdlPvy", [this](void* block, std::size_t size) {
                                  Look(block, size);
                                  ::operator delete(block, size);
                              }};
#else
    const ImportHook unneeded{"_ZdlPv", [this](void* block) {
                                  Look(block, block != nullptr ? ::_msize(block) : 0);
                                  ::operator delete(block);
                              }};
#endif
    const ImportHook local{"LocalFree", [this](HLOCAL block) -> HLOCAL {
                               Look(block, ::LocalSize(block));
                               return ::LocalFree(block);
                           }};
};

} // namespace

TEST(ProtectedData, ComesBackToWhomItIsMeant) {
    for (const std::string& data : {std::string(), std::string("x"), MakeText(100'000)}) {
        for (const std::string& entropy : {std::string(), std::string("more")}) {
            for (const Scope scope : {Scope::CurrentUser, Scope::LocalMachine}) {
                const auto sealed = Protect(data, entropy, scope);
                EXPECT_EQ(Unprotect(sealed, entropy), data);
                ExpectThrow<CWin32Exception>([&] { Unprotect(sealed, entropy + "!"); }, {.line = 134});
            }
        }
    }
    const auto sealed = Protect("secret");
    SecureBytes kept(1, 'k');
    ForEachFlip(sealed, {0x01, 0xFF}, [&](const std::vector<unsigned char>& flipped) {
        try { // some bytes only describe the data
            SecureBytes output = kept;
            CProtectedData::Unprotect(flipped.data(), flipped.size(), output, {});
            EXPECT_EQ(Text(output), "secret");
        } catch (const CWin32Exception& e) {
            EXPECT_EQ(e.GetSourceLine(), 134);
        }
    });
    for (std::size_t length = 0; length < sealed.size(); ++length) {
        ExpectThrow<CWin32Exception>([&] { CProtectedData::Unprotect(sealed.data(), length, kept, {}); });
        EXPECT_EQ(Text(kept), "k") << "a failure leaves the output";
    }
}

TEST(ProtectedData, ReportsWhatIsRefused) {
    std::vector<unsigned char> output;
    SecureBytes secret;
    unsigned char byte = 0;
    ExpectNull(L"data", [&] { CProtectedData::Protect(nullptr, 1, output, {}, Scope::CurrentUser); });
    ExpectNull(L"data", [&] { CProtectedData::Unprotect(nullptr, 1, secret, {}); });
    const std::size_t large = 0x1'0000'0000;
    ExpectRange(L"size", [&] { CProtectedData::Protect(&byte, large, output, {}, Scope::CurrentUser); });
    ExpectRange(L"size", [&] { CProtectedData::Unprotect(&byte, large, secret, {}); });
    ExpectFailing("CryptProtectData", [] { Protect("x"); }, {.method = L"CProtectedData::Protect", .line = 114});
    DWORD passed = 0;
    const ImportHook hook("CryptProtectData",
                          [&](DATA_BLOB* data, const wchar_t* description, DATA_BLOB* entropy, void*,
                              CRYPTPROTECT_PROMPTSTRUCT*, DWORD flags, DATA_BLOB*) -> BOOL {
                              EXPECT_TRUE(data->pbData != nullptr && *description == L'\0' && entropy == nullptr);
                              passed = flags;
                              return FALSE;
                          });
    for (const auto& [number, flags] : {std::pair<int, DWORD>{0, 1}, {1, 5}, {2, 1}}) {
        ExpectThrow<CWin32Exception>([scope = number] { Protect("", "", static_cast<Scope>(scope)); });
        EXPECT_EQ(passed, flags);
    }
}

TEST(ProtectedMemory, GoesThereAndBack) {
    using MemoryScope = MemoryProtectionScope;
    for (const MemoryScope scope : {MemoryScope::SameProcess, MemoryScope::CrossProcess, MemoryScope::SameLogon}) {
        std::string secret = MakeText(64);
        auto* bytes = reinterpret_cast<unsigned char*>(secret.data());
        CProtectedMemory::Protect(bytes, 64, scope);
        if (!IsWine()) {
            EXPECT_NE(secret, MakeText(64)); // the emulation does not encrypt, and accepts any size
            ExpectThrow<CWin32Exception>([&] { CProtectedMemory::Protect(bytes, 15, scope); });
        }
        CProtectedMemory::Unprotect(bytes, 64, scope);
        EXPECT_EQ(secret, MakeText(64));
    }
    unsigned char byte = 0;
    ExpectNull(L"userData", [] { CProtectedMemory::Protect(nullptr, 16, MemoryScope::SameProcess); },
               {.method = L"CProtectedMemory::Protect", .line = 78});
    ExpectNull(L"userData", [] { CProtectedMemory::Unprotect(nullptr, 16, MemoryScope::SameProcess); },
               {.method = L"CProtectedMemory::Unprotect", .line = 100});
    ExpectRange(L"size", [&] { CProtectedMemory::Protect(&byte, 0x1'0000'0000, MemoryScope::SameProcess); });
}

TEST(Wiping, NoReleasedBlockHoldsASecret) {
    // Random data, which cannot occur in memory reused from other tests.
    const std::string key = MakeSecret(32), iv = MakeSecret(16), plain = MakeSecret(3000);
    const SecureBytes secureKey(key.begin(), key.end()), secureIV(iv.begin(), iv.end());
    const auto sealed = Protect(plain);
    const auto use = [&] {
        CAes aes;
        aes.SetKey(secureKey);
        aes.SetIV(secureIV);
        aes.SetKey(secureKey);
        CAes copy = aes;
        const auto encryptor = copy.CreateEncryptor(), decryptor = aes.CreateDecryptor();
        TestStream cipher, refusing("", SIZE_MAX, 1);
        {
            CCryptoStream stream(cipher, *encryptor, CryptoStreamMode::Write);
            WriteAll(stream, plain, 500);
            stream.Close();
        }
        SecureBytes read(plain.size() + 1); // the library reuses the test's own memory
        CCryptoStream stream(cipher, *decryptor, CryptoStreamMode::Read);
        const std::size_t first = stream.Read(read.data(), 70);
        stream.Read(read.data() + first, 2000);
        {
            // Data that the other stream does not take is kept, together with the following data.
            const auto another = aes.CreateDecryptor();
            CCryptoStream waiting(refusing, *another, CryptoStreamMode::Write);
            for (std::size_t at = 0; at < 2000; at += 400) {
                try {
                    waiting.Write(Bytes(cipher.data) + at, 400);
                } catch (const CFormatException&) {
                    ++refusing.failOn;
                }
            }
            EXPECT_EQ(refusing.data, "");
        }
        SecureBytes output;
        CProtectedData::Unprotect(sealed.data(), sealed.size(), output, {});
        EXPECT_TRUE(std::equal(output.begin(), output.end(), plain.begin(), plain.end(), IsSameByte));
        CHashAlgorithm hash(CALG_SHA_256);
        Owned copied;
        for (const std::size_t size : {1000u, 2000u}) {
            hash.TransformBlock(Bytes(plain), size, copied.bytes);
        }
    };
    FailingCalls calls({"CryptAcquireContextW", "CryptImportKey", "CryptSetKeyParam", "CryptUnprotectData",
                        "CryptEncrypt", "CryptDecrypt", "CryptHashData"});
    FailingAllocations allocations;
    ReleasedSecrets look{
        {key, key.substr(0, 16), iv, plain.substr(0, 40), plain.substr(1000, 40), plain.substr(2900, 40)}};
    const auto check = [&](int, const CException* e) {
        EXPECT_EQ(look.found, 0) << calls.GetFailed();
        EXPECT_TRUE(e == nullptr || calls.HasFailed());
    };
    Sweep<CException>(calls, use, check);
    EXPECT_GT(look.released, 50);
    Sweep<CException>(allocations, use, check);
}

TEST(Wiping, NoStackHoldsWhatWasHashed) {
    const std::string secret = MakeSecret(4096);
    CHashAlgorithm hash(CALG_SHA_256);
    TestStream stream(secret);
    hash.ComputeHash(stream);
    // The whole stack used by the calls is below this address.
    const auto* const low = static_cast<const char*>(reinterpret_cast<const NT_TIB*>(::NtCurrentTeb())->StackLimit);
    const std::string_view stack(low, static_cast<std::size_t>(reinterpret_cast<const char*>(&low) - low));
    for (std::size_t at = 0; at < secret.size(); at += 512) {
        EXPECT_EQ(stack.find(std::string_view(secret).substr(at, 24)), std::string_view::npos) << at;
    }
}
