#pragma once

#include "ZelCore/ArgumentException.h"

namespace ZelCore {

/// A pointer argument is null. The default message is "Argument cannot be null".
class ZELCORE_API CArgumentNullException : public CArgumentException {
public:
    /// \param paramName the parameter's name as declared by its method
    /// \param message   null or empty for "Argument cannot be null"
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentNullException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                           int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CArgumentNullException(const CArgumentNullException&);
    ~CArgumentNullException() override;
    ///@}

    CArgumentNullException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
