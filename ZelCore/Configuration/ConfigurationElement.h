#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <vector>

struct IXMLDOMElement;

namespace ZelCore::Configuration {

class CConfigurationPropertyBase;

/// An XML element that is read into typed properties. Derive from it, declare the properties as members and list them:
///
///     class CServerElement final : public CConfigurationElement {
///     public:
///         CServerElement() : CConfigurationElement(L"server") {}
///         void GetProperties(PropertyList& properties) override {
///             properties.insert(properties.end(), {&m_host, &m_port});
///         }
///         CConfigurationProperty<std::wstring> m_host{L"host", false, L"localhost"};
///         CConfigurationProperty<std::uint32_t> m_port{L"port", false, 80};
///     };
///
/// The pointers to its own members are used only while it is being read. Destroy an element through its own type.
class ZELCORE_API CConfigurationElement {
public:
    /// Properties in the order in which they are read: non-owning pointers to members.
    using PropertyList = std::vector<CConfigurationPropertyBase*>;

    /// \param elementName the expected tag of the element; informational only, null counts as empty
    explicit CConfigurationElement(const wchar_t* elementName);

    /// Reads the properties in order, each from the attribute of its name or otherwise from the child element. A
    /// property that is absent keeps its value. Throws CConfigurationException for the first required property that is
    /// absent, CArgumentNullException for "xmlIn", and exceptions from reading a value. Properties read before the
    /// failure keep their new values.
    ///
    /// \param xmlIn borrowed for the call
    virtual void Deserialize(IXMLDOMElement* xmlIn);

    /// Appends pointers to the properties, in the order in which they are read.
    virtual void GetProperties(PropertyList& properties) = 0;

    /// Returns the tag given to the constructor, which is not compared with the actual one. Valid while the element
    /// lives.
    const std::wstring& GetElementName() const noexcept {
        return m_elementName;
    }
    /// Returns the attribute "name": "none" if it is absent or empty, "NOT PARSED" before the element was read. Valid
    /// while the element lives and is not read again.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

protected:
    /// For derived classes: copies tag and name.
    ///@{
    CConfigurationElement(const CConfigurationElement&) = default;
    CConfigurationElement& operator=(const CConfigurationElement&) = default;
    ///@}
    ~CConfigurationElement() = default;

private:
    std::wstring m_elementName;
    std::wstring m_name;
};

} // namespace ZelCore::Configuration
