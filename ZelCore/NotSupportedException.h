#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The class does not support this operation. Code 0xF3351BB6, which is part of the contract.
class ZELCORE_API CNotSupportedException : public CException {
public:
    /// \param message the reason; null if the type is sufficient
    /// \param method,file,line  the throw site, see ZEL_SITE
    CNotSupportedException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CNotSupportedException(const CNotSupportedException&);
    ~CNotSupportedException() override;
    ///@}

    CNotSupportedException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
