#pragma once

#include "ZelCore/ArgumentException.h"

namespace ZelCore {

/// A pointer argument is null. Without a message of its own it says "Argument cannot be null".
class ZELCORE_API CArgumentNullException : public CArgumentException {
public:
    CArgumentNullException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                           int line);
    CArgumentNullException(const CArgumentNullException&);
    ~CArgumentNullException() override;

    CArgumentNullException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
