#pragma once

#include "ZelCore/Diagnostics/SourceLevels.h"
#include "ZelCore/Export.h"

#include <atomic>
#include <string>

namespace ZelCore::Diagnostics {

/// The level of one or several trace sources. The level may be read and set from any thread.
class ZELCORE_API CSourceSwitch {
public:
    CSourceSwitch(const wchar_t* name, SourceLevels level);
    CSourceSwitch(const CSourceSwitch&) = delete;
    CSourceSwitch& operator=(const CSourceSwitch&) = delete;
    ~CSourceSwitch();

    const std::wstring& GetName() const noexcept {
        return m_name;
    }
    SourceLevels GetLevel() const noexcept {
        return m_level.load(std::memory_order_relaxed);
    }
    void SetLevel(SourceLevels level) noexcept {
        m_level.store(level, std::memory_order_relaxed);
    }
    bool ShouldTrace(TraceEventType type) const noexcept {
        return Includes(GetLevel(), type);
    }

private:
    std::wstring m_name;
    std::atomic<SourceLevels> m_level;
};

} // namespace ZelCore::Diagnostics
