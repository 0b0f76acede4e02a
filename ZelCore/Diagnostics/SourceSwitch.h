#pragma once

#include "ZelCore/Diagnostics/SourceLevels.h"
#include "ZelCore/Export.h"

#include <atomic>
#include <string>

namespace ZelCore::Diagnostics {

/// The level of one or more trace sources. The level may be read and set from any thread.
class ZELCORE_API CSourceSwitch {
public:
    /// \param name  copied; null counts as empty
    /// \param level the initial level
    CSourceSwitch(const wchar_t* name, SourceLevels level);
    CSourceSwitch(const CSourceSwitch&) = delete;
    CSourceSwitch& operator=(const CSourceSwitch&) = delete;
    ~CSourceSwitch();

    /// Returns the name in the configuration; empty for the switch of a single source. Valid while the switch lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

    /// Returns the current level.
    SourceLevels GetLevel() const noexcept {
        return m_level.load(std::memory_order_relaxed);
    }
    /// Changes the level for every source that shares the switch. Threads that are tracing at the same time may still
    /// use the old level.
    void SetLevel(SourceLevels level) noexcept {
        m_level.store(level, std::memory_order_relaxed);
    }
    /// Whether events of this type currently pass. Check it before computing data that only an event needs.
    bool ShouldTrace(TraceEventType type) const noexcept {
        return Includes(GetLevel(), type);
    }

private:
    std::wstring m_name;
    std::atomic<SourceLevels> m_level;
};

} // namespace ZelCore::Diagnostics
