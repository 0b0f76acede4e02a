#include "ZelCore/Remoting/RpcException.h"

#include "ZelCore/String.h"
#include "ZelWin32/Windows.h"

#include <rpc.h>

namespace ZelCore::Remoting {

namespace {

std::wstring GetStatusText(long status) {
    wchar_t text[DCE_C_ERROR_STRING_LEN] = {};
    if (::DceErrorInqTextW(status, reinterpret_cast<RPC_WSTR>(text)) != RPC_S_OK) {
        return CString::Format(L"Unknown error %ld", status);
    }
    return CString::TrimEnd(text, L"\r\n");
}

} // namespace

CRpcException::CRpcException(long status, const wchar_t* method, const wchar_t* file, int line)
    : CException(status, GetStatusText(status).c_str(), method, file, line) {}

CRpcException::CRpcException(const CRpcException&) = default;

CRpcException::~CRpcException() = default;

CRpcException* CRpcException::Clone() const {
    return new CRpcException(*this);
}

void CRpcException::Throw() const {
    throw CRpcException(*this);
}

long CRpcException::GetError() const noexcept {
    return CException::GetError();
}

} // namespace ZelCore::Remoting
