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
///             properties.insert(properties.end(), {&m_name, &m_port});
///         }
///         ...
///     };
///
/// It holds pointers to its own members only while it is being read; it is destroyed through its own class.
class ZELCORE_API CConfigurationElement {
public:
    using PropertyList = std::vector<CConfigurationPropertyBase*>;

    /// \param elementName the tag that the element is expected to have; for information only
    explicit CConfigurationElement(const wchar_t* elementName);

    /// Reads the properties in their order, each from the attribute of its name or else from the child element. What is
    /// absent keeps its value. Throws CConfigurationException for the first required one that is absent,
    /// CArgumentNullException for null, and what reading a value throws; properties read before stay read.
    virtual void Deserialize(IXMLDOMElement* xmlIn);

    /// Appends pointers to the properties, in the order of reading.
    virtual void GetProperties(PropertyList& properties) = 0;

    const std::wstring& GetElementName() const noexcept {
        return m_elementName;
    }
    /// The attribute "name": "none" without it, "NOT PARSED" before it was read.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

protected:
    CConfigurationElement(const CConfigurationElement&) = default;
    CConfigurationElement& operator=(const CConfigurationElement&) = default;
    ~CConfigurationElement() = default;

private:
    std::wstring m_elementName;
    std::wstring m_name;
};

} // namespace ZelCore::Configuration
