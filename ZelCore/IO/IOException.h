#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::IO {

/// Reading or writing data of some format failed; the code is that of the library for the format (zlib's, say).
class ZELCORE_API CIOException : public CException {
public:
    /// \param error   the library's code, negative in zlib
    /// \param message what is reported in front of the code, as in "invalid block type: '-3'"; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CIOException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CIOException(const CIOException&);
    ~CIOException() override;
    ///@}

    CIOException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The code of the library for the format: of zlib -3 for damaged data, -5 for data that ends early.
    int GetError() const noexcept;
};

} // namespace ZelCore::IO
