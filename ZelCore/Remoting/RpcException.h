#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore::Remoting {

/// The RPC runtime reported a failure. The code is its status, and the message is the runtime's text for it.
class ZELCORE_API CRpcException : public CException {
public:
    /// \param status an RPC_STATUS, for example 1722; if the runtime has no text, the message is "Unknown error 1722"
    /// \param method,file,line  the throw site, see ZEL_SITE
    CRpcException(long status, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CRpcException(const CRpcException&);
    ~CRpcException() override;
    ///@}

    CRpcException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the RPC_STATUS, for example 1722 (RPC_S_SERVER_UNAVAILABLE).
    long GetError() const noexcept;
};

} // namespace ZelCore::Remoting
