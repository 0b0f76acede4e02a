#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// An argument is empty or malformed. Code 0x80070057 (E_INVALIDARG).
class ZELCORE_API CArgumentException : public CException {
public:
    /// \param paramName the argument as its method declares it, such as "buffer"
    CArgumentException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                       int line);
    CArgumentException(const CArgumentException&);
    ~CArgumentException() override;

    CArgumentException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The message and, where there is one, the name of the argument.
    const wchar_t* GetErrorMessage() const override;

    const wchar_t* GetParamName() const noexcept;

private:
    std::wstring m_paramName;
    mutable std::wstring m_errorMessage;
};

} // namespace ZelCore
