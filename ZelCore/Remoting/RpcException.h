#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::Remoting {

/// The RPC runtime reported a failure. The code is its status, the message the runtime's text for it.
class ZELCORE_API CRpcException : public CException {
public:
    CRpcException(long status, const wchar_t* method, const wchar_t* file, int line);
    CRpcException(const CRpcException&);
    ~CRpcException() override;

    CRpcException* Clone() const override;
    [[noreturn]] void Throw() const override;

    long GetError() const noexcept;
};

} // namespace ZelCore::Remoting
