#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Zel {

/// An element of an XML text with the lines of what it consists of, which the system's parser does not tell.
struct TextElement {
    struct Attribute {
        std::wstring name;
        std::wstring value; ///< with the five entities and character numbers in place
        int line = 0;
    };

    std::wstring name;
    int line = 0; ///< of its start tag, from 1
    std::vector<Attribute> attributes;
    std::vector<std::unique_ptr<TextElement>> children;
    std::wstring text; ///< what is directly in it

    /// Null where there is none.
    ///@{
    const Attribute* FindAttribute(const std::wstring& wanted) const;
    const TextElement* FindChild(const std::wstring& wanted) const; ///< the first one
    ///@}
};

/// The root element of a file that the parser has accepted. The scan knows tags, attributes, comments, CDATA and
/// processing instructions, and the encodings UTF-8 and UTF-16; bytes of another encoding count as Latin letters. Null
/// where it loses the thread: then `stopped` is the line.
std::unique_ptr<TextElement> ScanText(const std::wstring& path, int& stopped);

} // namespace Zel
