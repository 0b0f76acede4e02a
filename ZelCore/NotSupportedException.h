#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The class does not offer this operation. Code 0xF3351BB6, which is part of the contract.
class ZELCORE_API CNotSupportedException : public CException {
public:
    CNotSupportedException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CNotSupportedException(const CNotSupportedException&);
    ~CNotSupportedException() override;

    CNotSupportedException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
