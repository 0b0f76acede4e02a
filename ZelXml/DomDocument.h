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

/// An empty document that asks no other file for anything and is searched by XPath. Throws CComException.
DocumentPointer CreateDocument();

/// The document of an XML file's bytes. Throws CXmlException, which names the file and the place, for text that is no
/// XML, CComException, and CArgumentOutOfRangeException for "size" beyond 1 GiB.
DocumentPointer CreateDocument(const unsigned char* data, std::size_t size, const std::wstring& path);

/// What the parser had to say about its last text.
struct ParseError {
    long code = 0; ///< 0 when there is none
    std::wstring reason;
    long line = 0, column = 0; ///< from 1, 0 where the parser does not tell
};
ParseError GetParseError(IXMLDOMDocument& document);

/// Whether the document has a document type definition, through which it could define entities.
bool HasDocumentType(IXMLDOMDocument& document);

/// The same for a text that has not been parsed, as far as one can tell without: a parser expands parameter entities
/// while it reads, and a few lines of them keep it busy for ever.
///@{
bool MayHaveDocumentType(const unsigned char* file, std::size_t size);
bool MayHaveDocumentType(std::wstring_view text);
///@}

} // namespace ZelXml
