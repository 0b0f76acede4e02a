#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Zel {

/// An element of an XML text with the lines of its parts, which the system's parser does not report.
struct TextElement {
    struct Attribute {
        std::wstring name;
        std::wstring value; ///< with the five predefined entities and character references replaced
        int line = 0;
    };

    std::wstring name;
    int line = 0; ///< line of its start tag, from 1
    std::vector<Attribute> attributes;
    std::vector<std::unique_ptr<TextElement>> children;
    std::wstring text; ///< its direct text content

    /// Return null if there is none.
    ///@{
    const Attribute* FindAttribute(const std::wstring& wanted) const;
    const TextElement* FindChild(const std::wstring& wanted) const; ///< the first one
    ///@}
};

/// Returns the root element of a file that the parser has accepted. The scan supports tags, attributes, comments, CDATA
/// and processing instructions, and the encodings UTF-8 and UTF-16; bytes of another encoding are read as Latin-1.
/// Returns null if the text cannot be scanned: `stopped` is then the line.
std::unique_ptr<TextElement> ScanText(const std::wstring& path, int& stopped);

} // namespace Zel
