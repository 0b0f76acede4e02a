#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The method exists and does nothing yet. Code 0x80004001 (E_NOTIMPL); the message names the method.
class ZELCORE_API CNotImplementedException : public CException {
public:
    CNotImplementedException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CNotImplementedException(const CNotImplementedException&);
    ~CNotImplementedException() override;

    CNotImplementedException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
