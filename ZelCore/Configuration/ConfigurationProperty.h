#pragma once

#include "ZelCore/Export.h"

#include <cstdint>
#include <string>
#include <utility>

struct IXMLDOMElement;
struct IXMLDOMNode;

namespace ZelCore::Configuration {

/// What a configuration element reads from one attribute or child element. Make it a member of the element: the element
/// finds it by the pointer that GetProperties gives.
class ZELCORE_API CConfigurationPropertyBase {
public:
    /// \param name     the attribute's or child element's; null counts as empty
    /// \param required whether an element without it is an error
    CConfigurationPropertyBase(const wchar_t* name, bool required);
    virtual ~CConfigurationPropertyBase();

    /// Takes the value from an attribute or element, which is borrowed. Throws CArgumentNullException for null, and
    /// what the text of the node gives reason for; the status then stays.
    virtual void Deserialize(IXMLDOMNode* node) = 0;

    /// Whether an element without the property is an error.
    bool IsRequired() const noexcept {
        return m_required;
    }
    /// The name of the attribute or child element. Valid while the property lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }
    /// "NOT PARSED" until a value was read, then "PARSED".
    const std::wstring& GetStatus() const noexcept {
        return m_status;
    }

protected:
    /// For derived classes: copies name and status.
    ///@{
    CConfigurationPropertyBase(const CConfigurationPropertyBase&) = default;
    CConfigurationPropertyBase& operator=(const CConfigurationPropertyBase&) = default;
    ///@}

    /// To be called by Deserialize once it has the value: makes the status "PARSED".
    void SetParsed();

private:
    bool m_required;
    std::wstring m_name;
    std::wstring m_status;
};

/// \name How the text of a node becomes a value
/// All throw CArgumentNullException for "in", and leave the value as it was when they throw.
///@{

/// The text as it stands.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::wstring& value);
/// True for "true" in any case, false for all other text.
ZELCORE_API void Deserialize(IXMLDOMNode* in, bool& value);
/// Leading decimal digits with a sign; 0 without any; a negative number wraps around. Numbers above 2147483647 are not
/// read as what they are.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::uint32_t& value);
ZELCORE_API void Deserialize(IXMLDOMNode* in, unsigned long& value);
/// Leading decimal digits with a sign; 0 without any.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::int64_t& value);
///@}

/// Reads a value by one of these functions, or by a function of that name beside the value's own type: so a type of
/// yours becomes a property.
template <class T> void DeserializeValue(IXMLDOMNode* in, T& value) {
    Deserialize(in, value);
}

/// The element that a collection is read from. Throws CArgumentNullException for "node", CComException for another
/// node, an attribute say; the caller releases the element.
ZELCORE_API IXMLDOMElement* GetCollectionElement(IXMLDOMNode* node);

/// Gives back what GetCollectionElement returned; not null.
ZELCORE_API void ReleaseElement(IXMLDOMElement* element) noexcept;

/// A property of a scalar type (N is 1): text, bool, numbers, and what DeserializeValue can read. CConfigurationSection
/// shows some.
template <class T, int N = 1> class CConfigurationProperty : public CConfigurationPropertyBase {
public:
    /// \param name     the attribute's or child element's
    /// \param required whether an element without it is an error
    /// \param value    what the property has where the element lacks it
    CConfigurationProperty(const wchar_t* name, bool required, T value = T())
        : CConfigurationPropertyBase(name, required), m_value(std::move(value)) {}

    void Deserialize(IXMLDOMNode* node) override {
        DeserializeValue(node, m_value);
        SetParsed();
    }
    /// The value that was read, or else the one of the constructor. Valid while the property lives.
    ///@{
    virtual T& GetValue() {
        return m_value;
    }
    virtual const T& GetValue() const {
        return m_value;
    }
    ///@}

private:
    T m_value;
};

/// A property that is a collection of elements (N is 0), read from a child element. T is a
/// CConfigurationElementCollection; CConfigurationSection shows one.
template <class T> class CConfigurationProperty<T, 0> : public CConfigurationPropertyBase {
public:
    /// \param name     the child element's
    /// \param required whether an element without it is an error; an empty one is there
    CConfigurationProperty(const wchar_t* name, bool required) : CConfigurationPropertyBase(name, required) {}

    /// Adds the entries of the element. Throws as GetCollectionElement and as reading an entry does; entries read
    /// before stay.
    void Deserialize(IXMLDOMNode* node) override {
        struct Owner {
            IXMLDOMElement* element;
            ~Owner() {
                ReleaseElement(element);
            }
        } const owner{GetCollectionElement(node)};
        m_value.Deserialize(owner.element);
        SetParsed();
    }
    /// The collection, empty where the element lacks it. Valid while the property lives.
    ///@{
    virtual T& GetValue() {
        return m_value;
    }
    const T& GetConstValue() const {
        return m_value;
    }
    ///@}

private:
    T m_value;
};

} // namespace ZelCore::Configuration
