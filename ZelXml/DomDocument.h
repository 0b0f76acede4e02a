#pragma once

// Private to the library: documents of the system's XML parser.

#include "ZelWin32/ComPointer.h"

#include <msxml2.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace ZelXml {

using DocumentPointer = ZelWin32::ComPointer<IXMLDOMDocument>;

constexpr std::size_t LargestDocument = 0x40000000; ///< bytes

/// Creates an empty document that does not load other files and is queried by XPath. Throws CComException.
DocumentPointer CreateDocument();

/// Parses the bytes of an XML file. Throws CXmlException, which names the file and the position, for text that is not
/// well-formed XML; CComException; and CArgumentOutOfRangeException for "size" beyond 1 GiB.
DocumentPointer CreateDocument(const unsigned char* data, std::size_t size, const std::wstring& path);

/// The parser's last error.
struct ParseError {
    long code = 0; ///< 0 if there was no error
    std::wstring reason;
    long line = 0, column = 0; ///< from 1; 0 if unknown
};
ParseError GetParseError(IXMLDOMDocument& document);

/// Whether the document has a document type declaration, which could define entities.
bool HasDocumentType(IXMLDOMDocument& document);

/// The same for a text that has not been parsed yet, as far as this can be determined without parsing. A parser expands
/// parameter entities while it reads, and a few lines of them can keep it busy forever.
///@{
bool MayHaveDocumentType(const unsigned char* file, std::size_t size);
bool MayHaveDocumentType(std::wstring_view text);
///@}

} // namespace ZelXml
