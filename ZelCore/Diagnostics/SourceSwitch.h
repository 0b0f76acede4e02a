#pragma once

#include "ZelCore/Diagnostics/SourceLevels.h"
#include "ZelCore/Export.h"

#include <atomic>
#include <string>

namespace ZelCore::Diagnostics {

/// The level of one or several trace sources. The level may be read and set from any thread.
class ZELCORE_API CSourceSwitch {
public:
    /// \param name  copied; null counts as empty
    /// \param level which events pass at first
    CSourceSwitch(const wchar_t* name, SourceLevels level);
    CSourceSwitch(const CSourceSwitch&) = delete;
    CSourceSwitch& operator=(const CSourceSwitch&) = delete;
    ~CSourceSwitch();

    /// The name in the configuration; empty for the switch of a single source. Valid while the switch lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

    /// Which events pass now.
    SourceLevels GetLevel() const noexcept {
        return m_level.load(std::memory_order_relaxed);
    }
    /// Changes the level for every source that shares the switch. Threads that trace meanwhile may still go by the old
    /// one.
    void SetLevel(SourceLevels level) noexcept {
        m_level.store(level, std::memory_order_relaxed);
    }
    /// Whether events of this type pass now. Ask before you compute something that only an event needs.
    bool ShouldTrace(TraceEventType type) const noexcept {
        return Includes(GetLevel(), type);
    }

private:
    std::wstring m_name;
    std::atomic<SourceLevels> m_level;
};

} // namespace ZelCore::Diagnostics
