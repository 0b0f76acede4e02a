#pragma once

#include "ZelCore/ArgumentException.h"
#include "ZelCore/Export.h"
#include "ZelCore/ThrowSite.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace ZelCore::Security::Cryptography {

class CCryptoServiceProvider;

/// Cryptographically secure random bytes from the system's generator. Each object acquires a provider context: reuse
/// the object if many random numbers are needed. Not thread-safe: one thread at a time.
class ZELCORE_API CRandomNumberGenerator {
public:
    /// Throws CWin32Exception if the system has no provider.
    CRandomNumberGenerator();
    CRandomNumberGenerator(const CRandomNumberGenerator&) = delete;
    CRandomNumberGenerator& operator=(const CRandomNumberGenerator&) = delete;
    /// Releases the provider context.
    ~CRandomNumberGenerator();

    /// Fills `size` bytes. Null throws CArgumentNullException for "data", a size of 0 CArgumentException for
    /// "dataSize". A failing system call throws CWin32Exception; some bytes may then have been written.
    void GetBytes(unsigned char* data, std::size_t size) const;

    /// Fills the whole vector. An empty vector throws CArgumentException for "data".
    template <class Allocator> void GetBytes(std::vector<unsigned char, Allocator>& data) const {
        if (data.empty()) {
            throw CArgumentException(
                L"data", nullptr, ZEL_SITE(L"ZelCore::Security::Cryptography::CRandomNumberGenerator::GetBytes", 55));
        }
        GetBytes(data.data(), data.size());
    }

private:
    std::unique_ptr<CCryptoServiceProvider> m_provider;
};

} // namespace ZelCore::Security::Cryptography
