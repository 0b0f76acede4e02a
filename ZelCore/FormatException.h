#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// Text does not have the expected format. Code 0x80131537.
class ZELCORE_API CFormatException : public CException {
public:
    /// \param message what is wrong with the text
    /// \param method,file,line  the throw site, see ZEL_SITE
    CFormatException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CFormatException(const CFormatException&);
    ~CFormatException() override;
    ///@}

    CFormatException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
