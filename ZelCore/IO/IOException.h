#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::IO {

/// Reading or writing data of a particular format failed. The code is that of the library for the format, for example
/// zlib.
class ZELCORE_API CIOException : public CException {
public:
    /// \param error   the library's code, negative in zlib
    /// \param message reported before the code, as in "invalid block type: '-3'"; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CIOException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CIOException(const CIOException&);
    ~CIOException() override;
    ///@}

    CIOException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the format library's code. In zlib, -3 is damaged data and -5 data that ends early.
    int GetError() const noexcept;
};

} // namespace ZelCore::IO
