#include "ZelCore/ArgumentException.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"
#include "ZelWin32/Windows.h"

namespace ZelCore {

CArgumentException::CArgumentException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method,
                                       const wchar_t* file, int line)
    : CException(E_INVALIDARG, message, method, file, line), m_paramName(paramName != nullptr ? paramName : L"") {}

CArgumentException::CArgumentException(const CArgumentException&) = default;

CArgumentException::~CArgumentException() = default;

CArgumentException* CArgumentException::Clone() const {
    return new CArgumentException(*this);
}

void CArgumentException::Throw() const {
    throw CArgumentException(*this);
}

const wchar_t* CArgumentException::GetErrorMessage() const {
    if (m_errorMessage.empty()) {
        const wchar_t* message = CException::GetErrorMessage();
        m_errorMessage = m_paramName.empty()
                             ? message
                             : CString::Format(GetMessageText(Message::ParameterName), message, m_paramName.c_str());
    }
    return m_errorMessage.c_str();
}

const wchar_t* CArgumentException::GetParamName() const noexcept {
    return m_paramName.c_str();
}

} // namespace ZelCore
