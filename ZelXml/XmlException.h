#pragma once

#include "ZelCore/Exception.h"

/// The exception of XML documents, which ZelCore::Configuration reads.
namespace ZelXml {

/// XML is not well-formed, or reading or writing it failed. The code is that of the system's XML parser.
class ZELCORE_API CXmlException : public ZelCore::CException {
public:
    /// \param error   an HRESULT or the parser's code
    /// \param message the reason; for a file that is not well-formed XML its path, line and column, as far as the
    ///                parser reports them, and the parser's message
    /// \param method,file,line  the throw site, see ZEL_SITE
    CXmlException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CXmlException(const CXmlException&);
    ~CXmlException() override;
    ///@}

    CXmlException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelXml
