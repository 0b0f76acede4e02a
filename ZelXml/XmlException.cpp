#include "ZelXml/XmlException.h"

namespace ZelXml {

CXmlException::CXmlException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : CException(error, message, method, file, line) {}

CXmlException::CXmlException(const CXmlException&) = default;

CXmlException::~CXmlException() = default;

CXmlException* CXmlException::Clone() const {
    return new CXmlException(*this);
}

void CXmlException::Throw() const {
    throw CXmlException(*this);
}

} // namespace ZelXml
