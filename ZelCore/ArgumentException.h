#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// An argument is empty or malformed. Code 0x80070057 (E_INVALIDARG).
///
/// Null pointers and numbers out of range have classes of their own, which derive from this one.
class ZELCORE_API CArgumentException : public CException {
public:
    /// \param paramName the argument as its method declares it, such as "buffer"; null counts as empty
    /// \param message   what is wrong with it
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                       int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CArgumentException(const CArgumentException&);
    ~CArgumentException() override;
    ///@}

    CArgumentException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The message and, where there is one, the name of the argument: "'Cannot be empty': parameter name: 'path'".
    /// Valid while the object lives.
    const wchar_t* GetErrorMessage() const override;

    /// The name of the argument; empty when the exception was made without one. Valid while the object lives.
    const wchar_t* GetParamName() const noexcept;

private:
    std::wstring m_paramName;
    mutable std::wstring m_errorMessage;
};

} // namespace ZelCore
