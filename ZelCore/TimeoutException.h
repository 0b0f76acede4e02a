#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The time that an operation was given is over. Code 0x80131906. The library does not throw it itself: it is there
/// for streams of your own that have timeouts.
class ZELCORE_API CTimeoutException : public CException {
public:
    /// \param message what has not come in time
    /// \param method,file,line  the throw site, see ZEL_SITE
    CTimeoutException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CTimeoutException(const CTimeoutException&);
    ~CTimeoutException() override;
    ///@}

    CTimeoutException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
