#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// An argument is empty or malformed. Code 0x80070057 (E_INVALIDARG).
///
/// Null pointers and values out of range have their own classes, which derive from this one.
class ZELCORE_API CArgumentException : public CException {
public:
    /// \param paramName the parameter's name as declared by its method, for example "buffer"; null counts as empty
    /// \param message   what is wrong with it
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                       int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CArgumentException(const CArgumentException&);
    ~CArgumentException() override;
    ///@}

    CArgumentException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the message and, if there is one, the name of the parameter: "'Cannot be empty': parameter name:
    /// 'path'". Valid while the object lives.
    const wchar_t* GetErrorMessage() const override;

    /// Returns the name of the parameter; empty if the exception was constructed without one. Valid while the object
    /// lives.
    const wchar_t* GetParamName() const noexcept;

private:
    std::wstring m_paramName;
    mutable std::wstring m_errorMessage;
};

} // namespace ZelCore
