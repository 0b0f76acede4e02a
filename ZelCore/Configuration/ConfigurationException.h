#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::Configuration {

/// A configuration file is missing, unreadable or has content that its section does not expect. Code 0x80131501.
class ZELCORE_API CConfigurationException : public ZelCore::CException {
public:
    /// \param message what is missing or wrong
    /// \param method,file,line  the throw site, see ZEL_SITE
    CConfigurationException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CConfigurationException(const CConfigurationException&);
    ~CConfigurationException() override;
    ///@}

    CConfigurationException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore::Configuration
