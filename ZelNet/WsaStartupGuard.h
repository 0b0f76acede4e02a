#pragma once

#include "ZelCore/Export.h"

#include <memory>

struct WSAData;

namespace ZelNet {

/// Keeps Winsock initialised as long as it lives. Guards may be nested.
class ZELCORE_API CWsaStartupGuard {
public:
    /// Starts Winsock, or counts one more user of it. Throws CSocketException when it is not there or too old.
    /// \param first,second the minor and the major version that is asked for
    explicit CWsaStartupGuard(int first = 2, int second = 2);
    CWsaStartupGuard(const CWsaStartupGuard&) = delete;
    CWsaStartupGuard& operator=(const CWsaStartupGuard&) = delete;
    /// Counts one user less; with the last one in the process all sockets are closed.
    ~CWsaStartupGuard();

    /// What Winsock said of itself. Valid while the guard lives.
    const WSAData& GetData() const noexcept {
        return *m_data;
    }

private:
    std::unique_ptr<WSAData> m_data;
};

} // namespace ZelNet
