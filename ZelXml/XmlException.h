#pragma once

#include "ZelCore/Exception.h"

/// The exception of XML documents, which ZelCore::Configuration reads.
namespace ZelXml {

/// XML is not well-formed, or its reader or writer failed. The code is that of the platform's XML services.
class ZELCORE_API CXmlException : public ZelCore::CException {
public:
    /// \param error   an HRESULT or the parser's code
    /// \param message why; of a file that is no XML its path, line and column, as far as the parser tells them,
    ///                and the parser's words
    /// \param method,file,line  the throw site, see ZEL_SITE
    CXmlException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CXmlException(const CXmlException&);
    ~CXmlException() override;
    ///@}

    CXmlException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelXml
