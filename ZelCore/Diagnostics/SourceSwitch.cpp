#include "ZelCore/Diagnostics/SourceSwitch.h"

namespace ZelCore::Diagnostics {

CSourceSwitch::CSourceSwitch(const wchar_t* name, SourceLevels level)
    : m_name(name != nullptr ? name : L""), m_level(level) {}

CSourceSwitch::~CSourceSwitch() = default;

} // namespace ZelCore::Diagnostics
