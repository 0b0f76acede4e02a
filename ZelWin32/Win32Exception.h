#pragma once

#include "ZelCore/Exception.h"

/// System errors, structured exceptions, modules, initialization of COM.
namespace ZelWin32 {

/// A system call failed. The code is the system error code.
///
/// The text of the code is retrieved on first request, on the requesting thread and in its language.
class ZELCORE_API CWin32Exception : public ZelCore::CException {
public:
    /// \param error   the system error code, as GetLastError returns it
    /// \param message what was attempted; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CWin32Exception(unsigned long error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CWin32Exception(const CWin32Exception&);
    ~CWin32Exception() override;
    ///@}

    CWin32Exception* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the message, if there is one, followed by the text of the code. Valid while the object lives.
    const wchar_t* GetErrorMessage() const override;

    /// Returns the text of the code. A derived class may know codes that the system does not.
    virtual std::wstring GetErrorText() const;

    /// Returns the system error code, for example 5 for ERROR_ACCESS_DENIED; for CSEException the structured
    /// exception's code.
    unsigned long GetError() const noexcept;

    /// Returns the system's text for an error code in the language of the user, "Error 5: Access is denied.", or
    /// "Unknown error: 5" for a code without a text.
    static std::wstring FormatMessageW(unsigned long error);

private:
    mutable std::wstring m_errorMessage;
};

} // namespace ZelWin32
