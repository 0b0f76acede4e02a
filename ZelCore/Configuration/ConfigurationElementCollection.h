#pragma once

#include "ZelCore/Configuration/ConfigurationElement.h"

#include <functional>
#include <map>
#include <memory>

namespace ZelCore::Configuration {

/// Calls `visit` with each child element, in order. The element is borrowed for the call. Exceptions of `visit` pass
/// through; a failure of the parser throws CComException.
/// \param element not null, borrowed
ZELCORE_API void VisitChildElements(IXMLDOMElement* element, const std::function<void(IXMLDOMElement*)>& visit);

// Collections may be derived from and are never destroyed through a base: neither elements nor maps have a virtual
// destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// Elements by their "name" attribute: every child element is an entry, whatever its tag. Of two entries with the same
/// name the later one is kept; entries without a name share the key "none". Reading again adds to the existing entries.
///
/// \tparam E derives from CConfigurationElement and is default-constructible
template <class E>
class CConfigurationElementCollection : public CConfigurationElement,
                                        public std::map<std::wstring, std::shared_ptr<E>> {
public:
    /// An empty collection. The tag is informational only; the default is "collection".
    ///@{
    CConfigurationElementCollection() : CConfigurationElement(L"collection") {}
    explicit CConfigurationElementCollection(const wchar_t* elementName) : CConfigurationElement(elementName) {}
    ///@}

    /// Creates an entry for each child element and reads it. Exceptions pass through, and entries read before are kept.
    /// Null throws CArgumentNullException for "xmlIn".
    void Deserialize(IXMLDOMElement* xmlIn) override {
        CConfigurationElement::Deserialize(xmlIn);
        VisitChildElements(xmlIn, [this](IXMLDOMElement* child) {
            auto entry = std::make_shared<E>();
            entry->Deserialize(child);
            (*this)[entry->CConfigurationElement::GetName()] = std::move(entry);
        });
    }
    /// Appends nothing: all child elements are entries.
    void GetProperties(PropertyList&) override {}
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Configuration
