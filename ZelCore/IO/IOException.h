#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::IO {

/// Reading or writing data of some format failed; the code is that of the library for the format (zlib's, say).
class ZELCORE_API CIOException : public CException {
public:
    /// \param message what is reported in front of the code, as in "invalid block type: '-3'"; may be null
    CIOException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CIOException(const CIOException&);
    ~CIOException() override;

    CIOException* Clone() const override;
    [[noreturn]] void Throw() const override;

    int GetError() const noexcept;
};

} // namespace ZelCore::IO
