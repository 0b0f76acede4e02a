#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// A call came in the wrong state: the object is closed, say, or an operation is pending. Code 0x80131509.
class ZELCORE_API CInvalidOperationException : public CException {
public:
    /// \param message which state it is that forbids the call
    /// \param method,file,line  the throw site, see ZEL_SITE
    CInvalidOperationException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CInvalidOperationException(const CInvalidOperationException&);
    ~CInvalidOperationException() override;
    ///@}

    CInvalidOperationException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
