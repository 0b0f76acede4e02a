#include "ZelCore/Configuration/Configuration.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/IO/FileStream.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelXml/DomDocument.h"

#include <algorithm>
#include <cwchar>

namespace ZelCore::Configuration {

using ZelWin32::CheckCom;
using ZelWin32::CheckComCode;
using ZelWin32::ComPointer;
using ZelWin32::ComText;
using ZelWin32::ComVariant;
using NodePointer = ComPointer<IXMLDOMNode>;
using ElementPointer = ComPointer<IXMLDOMElement>;

namespace {

constexpr std::size_t LargestText = 0x3FFFFFFF; // characters

// Missing in the compiler's libraries.
constexpr IID ElementId = {0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

[[noreturn]] void ThrowConfiguration(const std::wstring& message, const wchar_t* method, const wchar_t* file,
                                     int line) {
    throw CConfigurationException(message.c_str(), method, file, line);
}

std::vector<std::wstring> SplitName(const std::wstring& name) {
    std::vector<std::wstring> parts;
    std::size_t begin = 0;
    for (std::size_t end; (end = name.find(L'/', begin)) != std::wstring::npos; begin = end + 1) {
        parts.push_back(name.substr(begin, end - begin));
    }
    parts.push_back(name.substr(begin));
    return parts;
}

ElementPointer ToElement(IXMLDOMNode* node) {
    ElementPointer element;
    CheckCom(node->QueryInterface(ElementId, reinterpret_cast<void**>(element.Receive())),
             ZEL_SITE(L"ZelCore::Configuration::ToElement"));
    return element;
}

NodePointer SelectNode(IXMLDOMNode* from, const std::wstring& query) {
    const wchar_t* const method = L"ZelCore::Configuration::SelectNode";
    NodePointer node;
    CheckCom(from->selectSingleNode(ComText(query, ZEL_SITE(method)).Get(), node.Receive()), ZEL_SITE(method));
    return node;
}

/// Reads the value of an attribute; returns false if it is absent.
bool GetAttribute(IXMLDOMElement* element, const wchar_t* name, std::wstring& value) {
    const wchar_t* const method = L"ZelCore::Configuration::GetAttribute";
    ComVariant variant;
    CheckCom(element->getAttribute(ComText(name, ZEL_SITE(method)).Get(), &variant), ZEL_SITE(method));
    if (variant.vt == VT_NULL || variant.vt == VT_EMPTY) {
        return false;
    }
    if (variant.vt != VT_BSTR) {
        // Unreached: in a document without a schema, attributes are text.
        CheckCom(::VariantChangeType(&variant, &variant, 0, VT_BSTR), ZEL_SITE(method));
    }
    value.assign(variant.bstrVal != nullptr ? variant.bstrVal : L"", ::SysStringLen(variant.bstrVal));
    return true;
}

std::wstring GetText(IXMLDOMNode* in) {
    // Site: part of every Deserialize.
    const wchar_t* const method = L"ZelCore::Configuration::Deserialize";
    CheckNotNull(in, L"in", ZEL_SITE(method));
    ComText text;
    CheckCom(in->get_text(text.Receive()), ZEL_SITE(method));
    return text.ToString();
}

/// \param where a colon and the file name, or empty
void RefuseDocumentType(bool hasOne, const std::wstring& where, const wchar_t* method, const wchar_t* file, int line) {
    if (hasOne) {
        ThrowConfiguration(L"A configuration must not have a document type definition" + where, method, file, line);
    }
}

/// Reads a file while it is not locked by a writer.
ZelXml::DocumentPointer ReadDocument(const std::wstring& path) {
    using IO::CFileStream;
    CFileStream file(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL);
    const std::int64_t length = file.GetLength();
    CheckAtMost(static_cast<std::size_t>(length), ZelXml::LargestDocument, L"size",
                ZEL_SITE(L"ZelCore::Configuration::ReadDocument"));
    file.Lock(0, length, CFileStream::LockType::Shared);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length) + 1); // so that the data pointer is never null
    const std::size_t read = file.GreedyRead(bytes.data(), static_cast<std::size_t>(length));
    if (read != static_cast<std::size_t>(length)) { // truncated meanwhile
        throw ZelWin32::CWin32Exception(ERROR_HANDLE_EOF, path.c_str(),
                                        ZEL_SITE(L"ZelCore::Configuration::ReadDocument"));
    }
    bytes.resize(read);
    file.Unlock(0, length);
    file.Close();
    const wchar_t* const method = L"ZelCore::Configuration::ReadDocument";
    RefuseDocumentType(ZelXml::MayHaveDocumentType(bytes.data(), bytes.size()), L": " + path, ZEL_SITE(method));
    ZelXml::DocumentPointer document = ZelXml::CreateDocument(bytes.data(), bytes.size(), path);
    // Unreached: requires an encoding in which a document type looks different; no known parser supports one.
    RefuseDocumentType(ZelXml::HasDocumentType(*document.Get()), L": " + path, ZEL_SITE(method));
    return document;
}

/// Returns the element from which a section is read: the element itself, or the root of the file that it names, which
/// replaces it.
ElementPointer IncludeConfigSource(ElementPointer element, const std::wstring& configurationPath) {
    // Site: its only caller reports both failures of the attribute.
    const wchar_t* const method = L"ZelCore::Configuration::CConfiguration::GetSection";
    std::wstring path;
    if (!GetAttribute(element.Get(), L"configSource", path)) {
        return element;
    }
    VARIANT_BOOL hasChildren = VARIANT_FALSE;
    CheckCom(element->hasChildNodes(&hasChildren), ZEL_SITE(method));
    if (hasChildren != VARIANT_FALSE) {
        ThrowConfiguration(L"Configuration section has \"configSource\" attribute and is not empty", ZEL_SITE(method));
    }
    if (!configurationPath.empty()) {
        path = IO::CPath::Combine(IO::CPath::GetDirectoryName(configurationPath.c_str()).c_str(), path.c_str());
    }
    if (!IO::CFile::Exists(path.c_str())) {
        ThrowConfiguration(CString::Format(L"Configuration file \"%s\" cannot be found", path.c_str()),
                           ZEL_SITE(method));
    }
    const ZelXml::DocumentPointer included = ReadDocument(path);
    ElementPointer root;
    CheckCom(included->get_documentElement(root.Receive()), ZEL_SITE(method));
    NodePointer parent, replaced;
    CheckCom(element->get_parentNode(parent.Receive()), ZEL_SITE(method));
    CheckComCode(root && parent ? S_OK : E_FAIL, ZEL_SITE(method)); // the parser may not report a failure
    CheckCom(parent->replaceChild(root.Get(), element.Get(), replaced.Receive()), ZEL_SITE(method));
    return root;
}

} // namespace

CConfiguration::CConfiguration(IXMLDOMDocument* document, const std::wstring& path)
    : m_path(path), m_document(document) {
    CheckNotNull(document, L"document", ZEL_SITE(L"ZelCore::Configuration::CConfiguration::CConfiguration"));
    m_document->AddRef();
}

CConfiguration::CConfiguration(const CConfiguration& other) : m_path(other.m_path), m_document(other.m_document) {
    if (m_document != nullptr) {
        m_document->AddRef();
    }
}

CConfiguration::CConfiguration(CConfiguration&& other) noexcept
    : m_path(std::move(other.m_path)), m_document(std::exchange(other.m_document, nullptr)) {}

CConfiguration& CConfiguration::operator=(CConfiguration other) noexcept {
    std::swap(m_path, other.m_path);
    std::swap(m_document, other.m_document);
    return *this;
}

CConfiguration::~CConfiguration() {
    if (m_document != nullptr) {
        m_document->Release();
    }
}

bool CConfiguration::GetSection(const std::wstring& name, CConfigurationSection& section) {
    if (name.empty()) {
        throw CArgumentException(L"name", nullptr, ZEL_SITE(L"ZelCore::Configuration::CConfiguration::GetSection"));
    }
    ZelWin32::ForgetComError();
    const std::vector<std::wstring> parts = SplitName(name);
    return IsDeclared(parts, section) && ReadContent(parts, section);
}

bool CConfiguration::GetSystemDiagnosticsSection(CConfigurationSection& section) {
    ZelWin32::ForgetComError();
    return ReadContent({L"system.diagnostics"}, section);
}

bool CConfiguration::GetSectionGroup(const std::wstring&, CConfigurationSectionGroup&) {
    return false;
}

bool CConfiguration::IsDeclared(const std::vector<std::wstring>& parts, CConfigurationSection& section) const {
    std::wstring query = L"/configuration/configSections/";
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        query += L"sectionGroup[@name='" + parts[i] + L"']/";
    }
    query += L"section[@name='" + parts.back() + L"']";
    if (m_document == nullptr) { // moved from
        return false;
    }
    const NodePointer node = SelectNode(m_document, query);
    std::wstring type;
    return node && GetAttribute(ToElement(node.Get()).Get(), L"type", type) && type == section.GetTypeName();
}

bool CConfiguration::ReadContent(const std::vector<std::wstring>& parts, CConfigurationSection& section) {
    std::wstring query = L"/configuration";
    for (const std::wstring& part : parts) {
        query += L"/" + part;
    }
    if (m_document == nullptr) {
        return false;
    }
    const NodePointer node = SelectNode(m_document, query);
    if (!node) {
        return false;
    }
    section.Deserialize(IncludeConfigSource(ToElement(node.Get()), m_path).Get());
    return true;
}

CConfiguration CConfigurationManager::OpenExeConfiguration(const std::wstring& path) {
    const std::wstring full = path.empty() ? ZelWin32::CPEModule::GetModuleFileNameW(nullptr) + L".config"
                                           : IO::CPath::GetFullPath(path.c_str());
    const ZelXml::DocumentPointer document =
        IO::CFile::Exists(full.c_str()) ? ReadDocument(full) : ZelXml::CreateDocument();
    return {document.Get(), full};
}

CConfiguration CConfigurationManager::OpenExeConfigurationBuffer(const wchar_t* text, std::size_t length) {
    const wchar_t* const method = L"ZelCore::Configuration::CConfigurationManager::OpenExeConfigurationBuffer";
    CheckNotNull(text, L"text", ZEL_SITE(method));
    CheckAtMost(length, LargestText, L"length", ZEL_SITE(method));
    while (length != 0 && text[length - 1] == L'\0') { // the length may include terminating nulls
        --length;
    }
    if (std::find(text, text + length, L'\0') != text + length) { // the parser would stop there
        ThrowConfiguration(L"A configuration must not have characters of the value 0", ZEL_SITE(method));
    }
    RefuseDocumentType(ZelXml::MayHaveDocumentType({text, length}), L"", ZEL_SITE(method));
    const ComText copy(text, length, ZEL_SITE(method));
    const ZelXml::DocumentPointer document = ZelXml::CreateDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    CheckCom(document->loadXML(copy.Get(), &loaded), ZEL_SITE(method));
    const ZelXml::ParseError error = ZelXml::GetParseError(*document.Get());
    if (error.code != 0 || loaded == VARIANT_FALSE) {
        ThrowConfiguration(error.reason, ZEL_SITE(method));
    }
    // Unreached: see the overload for files.
    RefuseDocumentType(ZelXml::HasDocumentType(*document.Get()), L"", ZEL_SITE(method));
    return {document.Get(), std::wstring()};
}

CConfigurationElement::CConfigurationElement(const wchar_t* elementName)
    : m_elementName(elementName != nullptr ? elementName : L""), m_name(L"NOT PARSED") {}

void CConfigurationElement::Deserialize(IXMLDOMElement* xmlIn) {
    const wchar_t* const method = L"ZelCore::Configuration::CConfigurationElement::Deserialize";
    if (xmlIn == nullptr) {
        throw CArgumentNullException(L"xmlIn", L"Bad node ptr", ZEL_SITE(method));
    }
    ZelWin32::ForgetComError();
    m_name = L"none";
    if (std::wstring name; GetAttribute(xmlIn, L"name", name) && !name.empty()) {
        m_name = name;
    }
    PropertyList properties;
    GetProperties(properties);
    // On some systems getAttributeNode finds the first attribute of that name in any namespace.
    ComPointer<IXMLDOMNamedNodeMap> attributes;
    CheckCom(xmlIn->get_attributes(attributes.Receive()), ZEL_SITE(method));
    // Unreached: an element always has a list, which may be empty.
    CheckComCode(attributes ? S_OK : E_FAIL, ZEL_SITE(method));
    for (CConfigurationPropertyBase* property : properties) {
        const ComText name(property->GetName(), ZEL_SITE(method));
        NodePointer attribute;
        CheckCom(attributes->getNamedItem(name.Get(), attribute.Receive()), ZEL_SITE(method));
        if (attribute) {
            property->Deserialize(attribute.Get());
            continue;
        }
        NodePointer child;
        CheckCom(xmlIn->selectSingleNode(name.Get(), child.Receive()), ZEL_SITE(method));
        if (child) {
            property->Deserialize(child.Get());
        } else if (property->IsRequired()) {
            ComText tag;
            CheckCom(xmlIn->get_tagName(tag.Receive()), ZEL_SITE(method));
            ThrowConfiguration(CString::Format(L"Element '%s' missing required attribute or child element '%s'.",
                                               tag.ToString().c_str(), property->GetName().c_str()),
                               ZEL_SITE(method));
        }
    }
}

CConfigurationPropertyBase::CConfigurationPropertyBase(const wchar_t* name, bool required)
    : m_required(required), m_name(name != nullptr ? name : L""), m_status(L"NOT PARSED") {}

CConfigurationPropertyBase::~CConfigurationPropertyBase() = default;

void CConfigurationPropertyBase::SetParsed() {
    m_status = L"PARSED";
}

void Deserialize(IXMLDOMNode* in, std::wstring& value) {
    value = GetText(in);
}

void Deserialize(IXMLDOMNode* in, bool& value) {
    value = ::_wcsicmp(GetText(in).c_str(), L"true") == 0;
}

void Deserialize(IXMLDOMNode* in, std::uint32_t& value) {
    value = static_cast<std::uint32_t>(::_wtoi(GetText(in).c_str()));
}

void Deserialize(IXMLDOMNode* in, unsigned long& value) {
    std::uint32_t number = 0;
    Deserialize(in, number);
    value = number;
}

void Deserialize(IXMLDOMNode* in, std::int64_t& value) {
    value = ::_wtoi64(GetText(in).c_str());
}

IXMLDOMElement* GetCollectionElement(IXMLDOMNode* node) {
    // Site: the overload of Deserialize for collections; the rest of it is a template in the header.
    CheckNotNull(node, L"node", ZEL_SITE(L"ZelCore::Configuration::Deserialize"));
    return ToElement(node).Detach();
}

void ReleaseElement(IXMLDOMElement* element) noexcept {
    element->Release();
}

void VisitChildElements(IXMLDOMElement* element, const std::function<void(IXMLDOMElement*)>& visit) {
    const wchar_t* const method = L"ZelCore::Configuration::VisitChildElements";
    NodePointer child;
    CheckCom(element->get_firstChild(child.Receive()), ZEL_SITE(method));
    while (child) {
        DOMNodeType type = NODE_INVALID;
        CheckCom(child->get_nodeType(&type), ZEL_SITE(method));
        if (type == NODE_ELEMENT) {
            visit(ToElement(child.Get()).Get());
        }
        NodePointer next;
        CheckCom(child->get_nextSibling(next.Receive()), ZEL_SITE(method));
        child = std::move(next);
    }
}

} // namespace ZelCore::Configuration
