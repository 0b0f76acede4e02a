#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The time that an operation was given is over. Code 0x80131906.
class ZELCORE_API CTimeoutException : public CException {
public:
    CTimeoutException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CTimeoutException(const CTimeoutException&);
    ~CTimeoutException() override;

    CTimeoutException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
