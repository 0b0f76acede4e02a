#include "Support/Child.h"
#include "Support/Crypto.h"

#include "ZelCore/Security/Cryptography/CryptoStream.h"
#include "ZelCore/Security/Cryptography/ProtectedData.h"
#include "ZelCore/Security/Cryptography/ProtectedMemory.h"

#include <malloc.h>

namespace {

using Scope = DataProtectionScope;
const std::wstring Namespace = L"ZelCore::Security::Cryptography::";

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

/// Looks for secrets in every block that the library releases.
class ReleasedSecrets {
public:
    explicit ReleasedSecrets(std::vector<std::string> secrets) {
        s_secrets = std::move(secrets);
        s_found = 0;
        s_released = 0;
    }
    int GetFound() const {
        return s_found;
    }
    int GetReleased() const {
        return s_released;
    }

private:
    static void Look(const void* block, std::size_t size) {
        const std::string_view bytes(static_cast<const char*>(block), block != nullptr ? size : 0);
        ++s_released;
        for (const std::string& secret : s_secrets) {
            s_found += bytes.find(secret) != std::string_view::npos ? 1 : 0;
        }
    }
    inline static std::vector<std::string> s_secrets;
    inline static int s_found = 0, s_released = 0;

#ifdef __cpp_sized_deallocation
    const ImportHook m_delete{"_ZdlPvy", [](void* block, std::size_t size) {
                                  Look(block, size);
                                  ::operator delete(block, size);
                              }};
#else
    const ImportHook m_delete{"_ZdlPv", [](void* block) {
                                  Look(block, block != nullptr ? ::_msize(block) : 0);
                                  ::operator delete(block);
                              }};
#endif
    const ImportHook m_local{"LocalFree", [](HLOCAL block) -> HLOCAL {
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
    for (std::size_t i = 0; i < sealed.size(); ++i) {
        for (const int mask : {0x01, 0xFF}) {
            auto flipped = sealed;
            flipped[i] = static_cast<unsigned char>(flipped[i] ^ mask);
            try { // some bytes describe the data only
                SecureBytes output = kept;
                CProtectedData::Unprotect(flipped.data(), flipped.size(), output, {});
                EXPECT_EQ(Text(output), "secret");
            } catch (const CWin32Exception& e) {
                EXPECT_EQ(e.GetSourceLine(), 134);
            }
        }
        ExpectThrow<CWin32Exception>([&] { CProtectedData::Unprotect(sealed.data(), i, kept, {}); });
        EXPECT_EQ(Text(kept), "k") << "a failure leaves the output";
    }
}

TEST(ProtectedData, ReportsWhatIsRefused) {
    std::vector<unsigned char> output;
    SecureBytes secret;
    unsigned char byte = 0;
    ExpectThrow<CArgumentNullException>([&] { CProtectedData::Protect(nullptr, 1, output, {}, Scope::CurrentUser); },
                                        {.param = L"data"});
    ExpectThrow<CArgumentNullException>([&] { CProtectedData::Unprotect(nullptr, 1, secret, {}); }, {.param = L"data"});
    const std::size_t large = 0x1'0000'0000;
    ExpectThrow<CArgumentOutOfRangeException>(
        [&] { CProtectedData::Protect(&byte, large, output, {}, Scope::CurrentUser); }, {.param = L"size"});
    ExpectThrow<CArgumentOutOfRangeException>([&] { CProtectedData::Unprotect(&byte, large, secret, {}); },
                                              {.param = L"size"});
    FailingCalls calls({{"CryptProtectData"}, {"CryptUnprotectData"}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>(
        [] { Protect("x"); }, {.code = 1450, .method = (Namespace + L"CProtectedData::Protect").c_str(), .line = 114});
    static DWORD s_flags;
    const ImportHook hook("CryptProtectData",
                          [](DATA_BLOB* data, const wchar_t* description, DATA_BLOB* entropy, void*,
                             CRYPTPROTECT_PROMPTSTRUCT*, DWORD flags, DATA_BLOB*) -> BOOL {
                              EXPECT_TRUE(data->pbData != nullptr && *description == L'\0' && entropy == nullptr);
                              s_flags = flags;
                              return FALSE;
                          });
    for (const auto& [number, flags] : {std::pair<int, DWORD>{0, 1}, {1, 5}, {2, 1}}) {
        ExpectThrow<CWin32Exception>([scope = number] { Protect("", "", static_cast<Scope>(scope)); });
        EXPECT_EQ(s_flags, flags);
    }
}

TEST(ProtectedMemory, GoesThereAndBack) {
    using MemoryScope = MemoryProtectionScope;
    for (const MemoryScope scope : {MemoryScope::SameProcess, MemoryScope::CrossProcess, MemoryScope::SameLogon}) {
        std::string secret = MakeText(64);
        auto* bytes = reinterpret_cast<unsigned char*>(secret.data());
        CProtectedMemory::Protect(bytes, 64, scope);
        if (!IsWine()) {
            EXPECT_NE(secret, MakeText(64)); // the emulation leaves it as it is, and takes any size
            ExpectThrow<CWin32Exception>([&] { CProtectedMemory::Protect(bytes, 15, scope); });
        }
        CProtectedMemory::Unprotect(bytes, 64, scope);
        EXPECT_EQ(secret, MakeText(64));
    }
    unsigned char byte = 0;
    const std::wstring name = Namespace + L"CProtectedMemory::";
    ExpectThrow<CArgumentNullException>([] { CProtectedMemory::Protect(nullptr, 16, MemoryScope::SameProcess); },
                                        {.param = L"userData", .method = (name + L"Protect").c_str(), .line = 78});
    ExpectThrow<CArgumentNullException>([] { CProtectedMemory::Unprotect(nullptr, 16, MemoryScope::SameProcess); },
                                        {.param = L"userData", .method = (name + L"Unprotect").c_str(), .line = 100});
    ExpectThrow<CArgumentOutOfRangeException>(
        [&] { CProtectedMemory::Protect(&byte, 0x1'0000'0000, MemoryScope::SameProcess); }, {.param = L"size"});
}

TEST(Wiping, NoReleasedBlockHoldsASecret) {
    const std::string key = MakeText(32, 77), iv = MakeText(16, 88), plain = MakeText(3000, 99);
    const std::vector<std::string> secrets = {key, key.substr(0, 16), iv, plain.substr(0, 40), plain.substr(2900, 40)};
    const SecureBytes secureKey(key.begin(), key.end()), secureIV(iv.begin(), iv.end());
    const auto sealed = Protect(plain);
    const auto use = [&] {
        CAes aes;
        aes.SetKey(secureKey);
        aes.SetIV(secureIV);
        aes.SetKey(secureKey);
        CAes copy = aes;
        const auto encryptor = copy.CreateEncryptor(), decryptor = aes.CreateDecryptor();
        TestStream cipher, decrypted;
        {
            CCryptoStream stream(cipher, *encryptor, CryptoStreamMode::Write);
            for (std::size_t at = 0; at < plain.size(); at += 500) {
                stream.Write(Bytes(plain) + at, 500);
            }
            stream.Close();
        }
        std::string read(plain.size() + 1, '\0');
        CCryptoStream stream(cipher, *decryptor, CryptoStreamMode::Read);
        auto* buffer = reinterpret_cast<unsigned char*>(read.data());
        const std::size_t first = stream.Read(buffer, 70);
        stream.Read(buffer + first, 2000);
        SecureBytes output;
        CProtectedData::Unprotect(sealed.data(), sealed.size(), output, {});
        EXPECT_EQ(Text(output), plain);
    };
    FailingCalls calls({{"CryptAcquireContextW"},
                        {"CryptImportKey"},
                        {"CryptSetKeyParam"},
                        {"CryptUnprotectData"},
                        {"CryptEncrypt"},
                        {"CryptDecrypt"}});
    const ReleasedSecrets released(secrets);
    Sweep([&](int n) {
        calls.FailOn(n);
        try {
            use();
        } catch (const CException&) {
        }
        EXPECT_EQ(released.GetFound(), 0) << calls.GetFailed();
        return calls.GetFailed() != nullptr;
    });
    EXPECT_GT(released.GetReleased(), 50);
    calls.FailOn(0);
    FailingAllocations allocations;
    Sweep([&](int n) {
        allocations.FailOn(n);
        try {
            use();
        } catch (const std::bad_alloc&) {
        }
        const bool failed = allocations.HasFailed();
        allocations.FailOn(0);
        EXPECT_EQ(released.GetFound(), 0);
        return failed;
    });
}
