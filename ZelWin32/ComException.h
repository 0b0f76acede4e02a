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

    /// \param error   its rich description is used where it carries one; nothing of it is kept
    /// \param message what was attempted; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CComException(const _com_error& error, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                  int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CComException(const CComException&);
    ~CComException() override;
    ///@}

    CComException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The HRESULT, negative for a failure.
    long GetError() const noexcept;

    /// The name of the component that reported the error; empty when it left none.
    static std::wstring GetComErrorSource(const _com_error& error);

    /// The description that the component left, or else the standard text of the HRESULT.
    static std::wstring GetComErrorDescription(const _com_error& error);
};

} // namespace ZelWin32
