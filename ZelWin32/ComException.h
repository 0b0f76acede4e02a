#pragma once

#include "ZelCore/Exception.h"

class _com_error;

namespace ZelWin32 {

/// A COM call failed. The code is its HRESULT.
class ZELCORE_API CComException : public ZelCore::CException {
public:
    /// \param hr      the HRESULT; the message is followed by its standard text
    /// \param message what was attempted; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CComException(long hr, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);

    /// \param error   its rich error description is used if there is one; the object is not stored
    /// \param message what was attempted; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CComException(const _com_error& error, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                  int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CComException(const CComException&);
    ~CComException() override;
    ///@}

    CComException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the HRESULT, which is negative for a failure.
    long GetError() const noexcept;

    /// Returns the name of the component that reported the error; empty if it did not provide one.
    static std::wstring GetComErrorSource(const _com_error& error);

    /// Returns the description provided by the component, or else the standard text of the HRESULT.
    static std::wstring GetComErrorDescription(const _com_error& error);
};

} // namespace ZelWin32
