#pragma once

#include "ZelCore/Configuration/ConfigurationElement.h"

namespace ZelCore::Configuration {

/// An element that a configuration file declares as a section. Derive from it as from CConfigurationElement, and read
/// it with CConfiguration::GetSection.
class ZELCORE_API CConfigurationSection : public CConfigurationElement {
public:
    using CConfigurationElement::CConfigurationElement;

    /// The "type" of the section's declaration, character by character.
    virtual std::wstring GetTypeName() = 0;

protected:
    /// For derived classes: as CConfigurationElement is copied.
    ///@{
    CConfigurationSection(const CConfigurationSection&) = default;
    CConfigurationSection& operator=(const CConfigurationSection&) = default;
    ///@}
    ~CConfigurationSection() = default;
};

/// A group of sections. Sections in groups are reached by their names, "group/section": there is nothing to read here.
class ZELCORE_API CConfigurationSectionGroup {};

} // namespace ZelCore::Configuration
