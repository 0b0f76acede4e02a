#pragma once

#include "ZelCore/Exception.h"

namespace ZelWin32 {

/// A system call failed. The code is the system's own.
class ZELCORE_API CWin32Exception : public ZelCore::CException {
public:
    /// \param error   the system error code, as GetLastError returns it
    /// \param message what was attempted; may be null
    CWin32Exception(unsigned long error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CWin32Exception(const CWin32Exception&);
    ~CWin32Exception() override;

    CWin32Exception* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The message, if there is one, followed by the text of the code.
    const wchar_t* GetErrorMessage() const override;

    /// The text of the code; a derived class may know codes that the system does not.
    virtual std::wstring GetErrorText() const;

    unsigned long GetError() const noexcept;

    /// The system's text for an error code in the language of the user, "Error 5: Access is denied.",
    /// or "Unknown error: 5" for a code without a text.
    static std::wstring FormatMessageW(unsigned long error);

private:
    mutable std::wstring m_errorMessage;
};

} // namespace ZelWin32
