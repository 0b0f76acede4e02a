#pragma once

#include "ZelCore/Export.h"

#include <memory>

struct WSAData;

namespace ZelNet {

/// Keeps Winsock initialised as long as it lives. Guards may be nested.
class ZELCORE_API CWsaStartupGuard {
public:
    /// \param first, second the minor and the major version that is asked for. Throws CSocketException.
    explicit CWsaStartupGuard(int first = 2, int second = 2);
    CWsaStartupGuard(const CWsaStartupGuard&) = delete;
    CWsaStartupGuard& operator=(const CWsaStartupGuard&) = delete;
    ~CWsaStartupGuard();

    /// What Winsock said of itself.
    const WSAData& GetData() const noexcept {
        return *m_data;
    }

private:
    std::unique_ptr<WSAData> m_data;
};

} // namespace ZelNet
