#include "ZelXml/DomDocument.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"
#include "ZelXml/XmlException.h"

#include <cstring>
#include <objbase.h>

namespace ZelXml {

using ZelWin32::CheckCom;
using ZelWin32::ComPointer;
using ZelWin32::ComText;
using ZelWin32::ComVariant;

namespace {

// The compiler's headers do not have them.
constexpr CLSID Document60 = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr CLSID Document30 = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID DocumentId = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID Document2Id = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

// Site: both ways to make a document.
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

} // namespace

DocumentPointer CreateDocument() {
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
    // First of all: the older version searches by another language, and crashes on mistakes in it.
    SetProperty(*extended.Get(), L"SelectionLanguage", L"XPath");
    SetProperty(*extended.Get(), L"ProhibitDTD", nullptr);
    CheckCom(document->put_async(VARIANT_FALSE), ZEL_SITE(Method));
    CheckCom(document->put_resolveExternals(VARIANT_FALSE), ZEL_SITE(Method));
    CheckCom(document->put_validateOnParse(VARIANT_FALSE), ZEL_SITE(Method));
    return document;
}

DocumentPointer CreateDocument(const unsigned char* data, std::size_t size) {
    constexpr std::size_t largest = 0x40000000;
    // Unreached: takes a file of 1 GiB.
    ZelCore::CheckAtMost(size, largest, L"size", ZEL_SITE(Method));
    DocumentPointer document = CreateDocument();
    ComVariant source;
    source.parray = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
    CheckCom(source.parray != nullptr ? S_OK : E_OUTOFMEMORY, ZEL_SITE(Method));
    source.vt = VT_ARRAY | VT_UI1;
    if (size != 0) {
        std::memcpy(source.parray->pvData, data, size); // nobody else has it yet
    }
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT hr = document->load(source, &loaded);
    if (loaded == VARIANT_FALSE) {
        const ParseError error = GetParseError(*document.Get());
        if (error.code == 0) { // refused before it was parsed
            CheckCom(FAILED(hr) ? hr : E_FAIL, ZEL_SITE(Method));
        }
        throw CXmlException(static_cast<int>(error.code), error.reason.c_str(), ZEL_SITE(Method));
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

} // namespace ZelXml
