#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::Configuration {

/// A configuration file is missing, unreadable or does not say what its section expects. Code 0x80131501.
class ZELCORE_API CConfigurationException : public ZelCore::CException {
public:
    CConfigurationException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CConfigurationException(const CConfigurationException&);
    ~CConfigurationException() override;

    CConfigurationException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore::Configuration
