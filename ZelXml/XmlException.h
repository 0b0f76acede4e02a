#pragma once

#include "ZelCore/Exception.h"

namespace ZelXml {

/// XML is not well-formed, or its reader or writer failed. The code is that of the platform's XML services.
class ZELCORE_API CXmlException : public ZelCore::CException {
public:
    CXmlException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CXmlException(const CXmlException&);
    ~CXmlException() override;

    CXmlException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelXml
