#pragma once

#include "ZelCore/Export.h"

#include <memory>

struct WSAData;

namespace ZelNet {

/// Keeps Winsock initialized while the guard lives. Guards may be nested.
class ZELCORE_API CWsaStartupGuard {
public:
    /// Initializes Winsock, or increments its use count. Throws CSocketException if it is unavailable or too old.
    /// \param first,second the requested minor and major version
    explicit CWsaStartupGuard(int first = 2, int second = 2);
    CWsaStartupGuard(const CWsaStartupGuard&) = delete;
    CWsaStartupGuard& operator=(const CWsaStartupGuard&) = delete;
    /// Decrements the use count. The last guard of the process closes all sockets.
    ~CWsaStartupGuard();

    /// Returns the information that Winsock reported about itself. Valid while the guard lives.
    const WSAData& GetData() const noexcept {
        return *m_data;
    }

private:
    std::unique_ptr<WSAData> m_data;
};

} // namespace ZelNet
