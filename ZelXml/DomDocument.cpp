#include "ZelXml/DomDocument.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"
#include "ZelXml/XmlException.h"

#include <cstring>
#include <objbase.h>

namespace ZelXml {

using ZelCore::CString;
using ZelWin32::CheckCom;
using ZelWin32::CheckComCode;
using ZelWin32::ComPointer;
using ZelWin32::ComText;
using ZelWin32::ComVariant;

namespace {

// Missing in the compiler's headers.
constexpr CLSID Document60 = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr CLSID Document30 = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID DocumentId = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID Document2Id = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

// Site: both overloads of CreateDocument.
const wchar_t* const Method = L"ZelXml::CreateDocument";

void SetProperty(IXMLDOMDocument2& document, const wchar_t* name, const wchar_t* text) {
    ComVariant value;
    if (text != nullptr) {
        ComText copy(text, ZEL_SITE(Method));
        value.vt = VT_BSTR;
        value.bstrVal = copy.Detach();
    } else {
        value.vt = VT_BOOL;
        value.boolVal = VARIANT_TRUE;
    }
    CheckCom(document.setProperty(ComText(name, ZEL_SITE(Method)).Get(), value), ZEL_SITE(Method));
}

/// Skips the XML declaration, comments and processing instructions. `get(i)` returns character i of `length`.
template <class Get> bool DeclaresType(std::size_t length, Get get) {
    std::size_t at = 0;
    const auto starts = [&](std::string_view text) {
        std::size_t i = 0;
        while (i < text.size() && at + i < length && get(at + i) == static_cast<unsigned char>(text[i])) {
            ++i;
        }
        return i == text.size();
    };
    const auto skip = [&](std::string_view begin, std::string_view end) {
        const bool found = starts(begin);
        for (at += found ? begin.size() : 0; found && at < length && !starts(end);) {
            ++at;
        }
        return found;
    };
    constexpr std::string_view ends = ">?- \t\r\n"; // a remaining part of such an end cannot start a declaration
    do {
        while (at < length && (get(at) == 0xFEFF || (get(at) < 0x80 && ends.contains(static_cast<char>(get(at)))))) {
            ++at;
        }
    } while (skip("<?", "?>") || skip("<!--", "-->"));
    return starts("<!DOCTYPE");
}

} // namespace

DocumentPointer CreateDocument() {
    ZelWin32::ForgetComError();
    DocumentPointer document;
    HRESULT hr = E_FAIL;
    for (const CLSID& version : {Document60, Document30}) { // the newest first
        hr = ::CoCreateInstance(version, nullptr, CLSCTX_INPROC_SERVER, DocumentId,
                                reinterpret_cast<void**>(document.Receive()));
        if (SUCCEEDED(hr)) {
            break;
        }
    }
    CheckCom(hr, ZEL_SITE(Method));
    ComPointer<IXMLDOMDocument2> extended;
    CheckCom(document->QueryInterface(Document2Id, reinterpret_cast<void**>(extended.Receive())), ZEL_SITE(Method));
    // Must be first: the older version uses another query language by default, and crashes on errors in it.
    SetProperty(*extended.Get(), L"SelectionLanguage", L"XPath");
    SetProperty(*extended.Get(), L"ProhibitDTD", nullptr);
    CheckCom(document->put_async(VARIANT_FALSE), ZEL_SITE(Method));
    CheckCom(document->put_resolveExternals(VARIANT_FALSE), ZEL_SITE(Method));
    CheckCom(document->put_validateOnParse(VARIANT_FALSE), ZEL_SITE(Method));
    return document;
}

DocumentPointer CreateDocument(const unsigned char* data, std::size_t size, const std::wstring& path) {
    // Unreached: requires a file of 1 GiB.
    ZelCore::CheckAtMost(size, LargestDocument, L"size", ZEL_SITE(Method));
    DocumentPointer document = CreateDocument();
    ComVariant source;
    source.parray = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
    CheckComCode(source.parray != nullptr ? S_OK : E_OUTOFMEMORY, ZEL_SITE(Method));
    source.vt = VT_ARRAY | VT_UI1;
    if (size != 0) {
        std::memcpy(source.parray->pvData, data, size); // the array is not shared yet
    }
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT hr = document->load(source, &loaded);
    if (loaded == VARIANT_FALSE) {
        const ParseError error = GetParseError(*document.Get());
        if (error.code == 0) { // rejected before parsing
            CheckCom(hr, ZEL_SITE(Method));
            CheckComCode(E_FAIL, ZEL_SITE(Method));
        }
        const std::wstring place =
            error.line == 0 ? path : CString::Format(L"%s(%ld,%ld)", path.c_str(), error.line, error.column);
        // Some parsers end the reason with a line break, and in others it is a single word.
        throw CXmlException(static_cast<int>(error.code),
                            (L"Invalid XML in " + place + L": " + CString::TrimEnd(error.reason, L"\r\n")).c_str(),
                            ZEL_SITE(Method));
    }
    return document;
}

ParseError GetParseError(IXMLDOMDocument& document) {
    const wchar_t* const method = L"ZelXml::GetParseError";
    ComPointer<IXMLDOMParseError> error;
    CheckCom(document.get_parseError(error.Receive()), ZEL_SITE(method));
    ParseError result;
    CheckCom(error->get_errorCode(&result.code), ZEL_SITE(method));
    if (result.code != 0) {
        ComText reason;
        CheckCom(error->get_reason(reason.Receive()), ZEL_SITE(method));
        result.reason = reason.ToString();
        CheckCom(error->get_line(&result.line), ZEL_SITE(method));
        CheckCom(error->get_linepos(&result.column), ZEL_SITE(method));
    }
    return result;
}

bool HasDocumentType(IXMLDOMDocument& document) {
    const wchar_t* const method = L"ZelXml::HasDocumentType";
    ComPointer<IXMLDOMNode> node;
    CheckCom(document.get_firstChild(node.Receive()), ZEL_SITE(method));
    while (node) {
        DOMNodeType type = NODE_INVALID;
        CheckCom(node->get_nodeType(&type), ZEL_SITE(method));
        if (type == NODE_DOCUMENT_TYPE) {
            return true;
        }
        ComPointer<IXMLDOMNode> next;
        CheckCom(node->get_nextSibling(next.Receive()), ZEL_SITE(method));
        node = std::move(next);
    }
    return false;
}

bool MayHaveDocumentType(const unsigned char* file, std::size_t size) {
    // The relevant characters are ASCII, in units of one byte, or of two bytes in either byte order.
    const bool isWide = size > 1 && (file[0] == 0 || file[1] == 0 || file[0] >= 0xFE);
    const std::size_t low = isWide && (file[0] == 0 || file[0] == 0xFE) ? 1 : 0;
    if (!isWide) {
        const bool isMarked = size > 2 && file[0] == 0xEF && file[1] == 0xBB && file[2] == 0xBF;
        const std::size_t begin = isMarked ? 3 : 0;
        return DeclaresType(size - begin, [=](std::size_t i) { return unsigned{file[begin + i]}; });
    }
    return DeclaresType(size / 2, [=](std::size_t i) { return file[2 * i + low] | file[2 * i + 1 - low] * 256u; });
}

bool MayHaveDocumentType(std::wstring_view text) {
    return DeclaresType(text.size(), [=](std::size_t i) { return unsigned{text[i]}; });
}

} // namespace ZelXml
