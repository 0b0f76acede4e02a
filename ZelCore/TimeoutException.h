#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The time limit of an operation has expired. Code 0x80131906. The library itself does not throw it; it is provided
/// for stream classes of your own that have timeouts.
class ZELCORE_API CTimeoutException : public CException {
public:
    /// \param message what did not complete in time
    /// \param method,file,line  the throw site, see ZEL_SITE
    CTimeoutException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CTimeoutException(const CTimeoutException&);
    ~CTimeoutException() override;
    ///@}

    CTimeoutException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
