#include "ZelCore/Security/Cryptography/ProtectedData.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/UniqueHandle.h"

namespace ZelCore::Security::Cryptography {

namespace {

/// Memory allocated by the system, which is wiped before it is released.
class Result {
public:
    Result() = default;
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    ~Result() {
        if (blob.pbData != nullptr) {
            WipeMemory(blob.pbData, blob.cbData);
            ::LocalFree(blob.pbData);
        }
    }
    template <class Bytes> void MoveTo(Bytes& output) const {
        output.assign(blob.pbData, blob.pbData + blob.cbData);
    }

    DATA_BLOB blob{};
};

/// The system only reads the data, but takes pointers to non-const.
DATA_BLOB MakeBlob(const unsigned char* data, std::size_t size, const wchar_t* param, const wchar_t* method,
                   const wchar_t* file, int line) {
    static unsigned char placeholder; // a non-null pointer for empty data
    CheckAtMost(size, Largest32, param, method, file, line);
    return {static_cast<DWORD>(size), size != 0 ? const_cast<unsigned char*>(data) : &placeholder};
}

} // namespace

void CProtectedData::Protect(const unsigned char* data, std::size_t size, std::vector<unsigned char>& output,
                             const std::vector<unsigned char>& entropy, DataProtectionScope scope) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CProtectedData::Protect";
    if (size != 0) {
        CheckNotNull(data, L"data", ZEL_SITE(method));
    }
    DATA_BLOB input = MakeBlob(data, size, L"size", ZEL_SITE(method));
    // Unreached: requires a vector of 4 GiB.
    DATA_BLOB secret = MakeBlob(entropy.data(), entropy.size(), L"entropy", ZEL_SITE(method));
    const DWORD flags = scope == DataProtectionScope::LocalMachine
                            ? CRYPTPROTECT_UI_FORBIDDEN | CRYPTPROTECT_LOCAL_MACHINE
                            : CRYPTPROTECT_UI_FORBIDDEN;
    Result result;
    ZelWin32::CheckWin32(
        ::CryptProtectData(&input, L"", entropy.empty() ? nullptr : &secret, nullptr, nullptr, flags, &result.blob),
        ZEL_SITE(method, 114));
    result.MoveTo(output);
}

void CProtectedData::Unprotect(const unsigned char* data, std::size_t size, SecureBytes& output,
                               const std::vector<unsigned char>& entropy) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CProtectedData::Unprotect";
    if (size != 0) {
        CheckNotNull(data, L"data", ZEL_SITE(method));
    }
    DATA_BLOB input = MakeBlob(data, size, L"size", ZEL_SITE(method));
    // Unreached: requires a vector of 4 GiB.
    DATA_BLOB secret = MakeBlob(entropy.data(), entropy.size(), L"entropy", ZEL_SITE(method));
    Result result;
    ZelWin32::CheckWin32(::CryptUnprotectData(&input, nullptr, entropy.empty() ? nullptr : &secret, nullptr, nullptr,
                                              CRYPTPROTECT_UI_FORBIDDEN, &result.blob),
                         ZEL_SITE(method, 134));
    result.MoveTo(output);
}

} // namespace ZelCore::Security::Cryptography
