#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The method exists and does nothing yet. Code 0x80004001 (E_NOTIMPL); the message names the method.
class ZELCORE_API CNotImplementedException : public CException {
public:
    /// \param message what goes in front of the text "the method '...' is not implemented"; null counts as empty
    /// \param method  the throw site's, see ZEL_SITE; it is what the text names
    /// \param file,line  the throw site's too
    CNotImplementedException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CNotImplementedException(const CNotImplementedException&);
    ~CNotImplementedException() override;
    ///@}

    CNotImplementedException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
