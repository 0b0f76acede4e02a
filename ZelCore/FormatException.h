#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// Text does not have the form that its reader expects. Code 0x80131537.
class ZELCORE_API CFormatException : public CException {
public:
    CFormatException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CFormatException(const CFormatException&);
    ~CFormatException() override;

    CFormatException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
