#pragma once

#include "ZelCore/ArgumentException.h"

namespace ZelCore {

/// A pointer argument is null. Without a message of its own it says "Argument cannot be null".
class ZELCORE_API CArgumentNullException : public CArgumentException {
public:
    /// \param paramName the argument as its method declares it
    /// \param message   null or empty for "Argument cannot be null"
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentNullException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                           int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CArgumentNullException(const CArgumentNullException&);
    ~CArgumentNullException() override;
    ///@}

    CArgumentNullException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
