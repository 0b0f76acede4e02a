#pragma once

#include "ZelCore/Exception.h"

namespace ZelCore {

/// The method exists but is not implemented yet. Code 0x80004001 (E_NOTIMPL). The message names the method.
class ZELCORE_API CNotImplementedException : public CException {
public:
    /// \param message the text before "the method '...' is not implemented"; null counts as empty
    /// \param method  the method of the throw site, see ZEL_SITE; the message names it
    /// \param file,line  the rest of the throw site
    CNotImplementedException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CNotImplementedException(const CNotImplementedException&);
    ~CNotImplementedException() override;
    ///@}

    CNotImplementedException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelCore
