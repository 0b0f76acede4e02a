#pragma once

#include "ZelCore/Configuration/ConfigurationElement.h"

namespace ZelCore::Configuration {

/// An element that a configuration file declares as a section. Derive from it as from CConfigurationElement, and read
/// it with CConfiguration::GetSection:
///
///     class CMySection final : public CConfigurationSection {
///     public:
///         CMySection() : CConfigurationSection(L"my.section") {}
///         std::wstring GetTypeName() override {
///             return L"My.Section";
///         }
///         void GetProperties(PropertyList& properties) override {
///             properties.insert(properties.end(), {&m_directory, &m_largest, &m_servers});
///         }
///         CConfigurationProperty<std::wstring> m_directory{L"directory", true};
///         CConfigurationProperty<std::int64_t> m_largest{L"largest", false, -1};
///         CConfigurationProperty<CConfigurationElementCollection<CServerElement>, 0> m_servers{L"servers", false};
///     };
class ZELCORE_API CConfigurationSection : public CConfigurationElement {
public:
    using CConfigurationElement::CConfigurationElement;

    /// Returns the "type" of the section's declaration; it must match exactly.
    virtual std::wstring GetTypeName() = 0;

protected:
    /// For derived classes: copies as CConfigurationElement does.
    ///@{
    CConfigurationSection(const CConfigurationSection&) = default;
    CConfigurationSection& operator=(const CConfigurationSection&) = default;
    ///@}
    ~CConfigurationSection() = default;
};

/// A group of sections. Sections in groups are read by their names, "group/section"; a group itself has no content.
class ZELCORE_API CConfigurationSectionGroup {};

} // namespace ZelCore::Configuration
