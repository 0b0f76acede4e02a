#pragma once

#include "ZelCore/Configuration/ConfigurationElement.h"

#include <functional>
#include <map>
#include <memory>

namespace ZelCore::Configuration {

/// Calls `visit` with each child that is an element, in order. The element is borrowed for the call. What `visit`
/// throws passes through; CComException when the parser refuses.
/// \param element not null, borrowed
ZELCORE_API void VisitChildElements(IXMLDOMElement* element, const std::function<void(IXMLDOMElement*)>& visit);

// Users may derive from a collection too, and no base destroys it: neither elements nor maps have a virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// Elements by their "name" attribute: every child element is an entry, whatever its tag. Of two entries with one name
/// the later stays; those without a name share the key "none". Reading again adds to what is there.
///
/// \tparam E derives from CConfigurationElement and can be made without arguments
template <class E>
class CConfigurationElementCollection : public CConfigurationElement,
                                        public std::map<std::wstring, std::shared_ptr<E>> {
public:
    /// Empty, with a tag that is for information only: without an argument "collection".
    ///@{
    CConfigurationElementCollection() : CConfigurationElement(L"collection") {}
    explicit CConfigurationElementCollection(const wchar_t* elementName) : CConfigurationElement(elementName) {}
    ///@}

    /// Makes an entry of each child element and has it read itself. What it throws passes through; entries read before
    /// stay. Null throws CArgumentNullException for "xmlIn".
    void Deserialize(IXMLDOMElement* xmlIn) override {
        CConfigurationElement::Deserialize(xmlIn);
        VisitChildElements(xmlIn, [this](IXMLDOMElement* child) {
            auto entry = std::make_shared<E>();
            entry->Deserialize(child);
            (*this)[entry->CConfigurationElement::GetName()] = std::move(entry);
        });
    }
    /// None: everything is an entry.
    void GetProperties(PropertyList&) override {}
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Configuration
