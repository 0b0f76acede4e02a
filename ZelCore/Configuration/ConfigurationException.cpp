#include "ZelCore/Configuration/ConfigurationException.h"

namespace ZelCore::Configuration {

CConfigurationException::CConfigurationException(const wchar_t* message, const wchar_t* method, const wchar_t* file,
                                                 int line)
    : CException(static_cast<int>(0x80131501u), message, method, file, line) {}

CConfigurationException::CConfigurationException(const CConfigurationException&) = default;

CConfigurationException::~CConfigurationException() = default;

CConfigurationException* CConfigurationException::Clone() const {
    return new CConfigurationException(*this);
}

void CConfigurationException::Throw() const {
    throw CConfigurationException(*this);
}

} // namespace ZelCore::Configuration
