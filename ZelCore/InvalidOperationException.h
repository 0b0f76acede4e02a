#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The object's state does not allow the call, for example because it is closed or an operation is pending. Code
/// 0x80131509.
class ZELCORE_API CInvalidOperationException : public CException {
public:
    /// \param message the state that forbids the call
    /// \param method,file,line  the throw site, see ZEL_SITE
    CInvalidOperationException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CInvalidOperationException(const CInvalidOperationException&);
    ~CInvalidOperationException() override;
    ///@}

    CInvalidOperationException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
