#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <vector>

struct IXMLDOMElement;

namespace ZelCore::Configuration {

class CConfigurationPropertyBase;

/// An XML element that is read into typed properties. Derive from it, make the properties members and name them:
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
/// It holds pointers to its own members only while it is being read; it is destroyed through its own class.
class ZELCORE_API CConfigurationElement {
public:
    /// Properties in the order in which they are read; pointers to members, which nobody owns.
    using PropertyList = std::vector<CConfigurationPropertyBase*>;

    /// \param elementName the tag that the element is expected to have; for information only, null counts as empty
    explicit CConfigurationElement(const wchar_t* elementName);

    /// Reads the properties in their order, each from the attribute of its name or else from the child element. What is
    /// absent keeps its value. Throws CConfigurationException for the first required one that is absent,
    /// CArgumentNullException for "xmlIn", and what reading a value throws; properties read before stay read.
    ///
    /// \param xmlIn borrowed for the call
    virtual void Deserialize(IXMLDOMElement* xmlIn);

    /// Appends pointers to the properties, in the order of reading.
    virtual void GetProperties(PropertyList& properties) = 0;

    /// The tag of the constructor, which is not compared with the one that is read. Valid while the element lives.
    const std::wstring& GetElementName() const noexcept {
        return m_elementName;
    }
    /// The attribute "name": "none" without it or where it is empty, "NOT PARSED" before it was read. Valid while the
    /// element lives and is not read again.
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
