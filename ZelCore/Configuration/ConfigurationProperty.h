#pragma once

#include "ZelCore/Export.h"

#include <cstdint>
#include <string>
#include <utility>

struct IXMLDOMElement;
struct IXMLDOMNode;

namespace ZelCore::Configuration {

/// A value that a configuration element reads from one attribute or child element. Declare it as a member of the
/// element, which finds it through GetProperties.
class ZELCORE_API CConfigurationPropertyBase {
public:
    /// \param name     the name of the attribute or child element; null counts as empty
    /// \param required whether an element without it is an error
    CConfigurationPropertyBase(const wchar_t* name, bool required);
    virtual ~CConfigurationPropertyBase();

    /// Reads the value from an attribute or element, which is borrowed. Throws CArgumentNullException for null, and
    /// exceptions caused by the text of the node; the status is then unchanged.
    virtual void Deserialize(IXMLDOMNode* node) = 0;

    /// Whether an element without the property is an error.
    bool IsRequired() const noexcept {
        return m_required;
    }
    /// Returns the name of the attribute or child element. Valid while the property lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }
    /// Returns "NOT PARSED" until a value was read, then "PARSED".
    const std::wstring& GetStatus() const noexcept {
        return m_status;
    }

protected:
    /// For derived classes: copies name and status.
    ///@{
    CConfigurationPropertyBase(const CConfigurationPropertyBase&) = default;
    CConfigurationPropertyBase& operator=(const CConfigurationPropertyBase&) = default;
    ///@}

    /// Sets the status to "PARSED". Deserialize calls it after the value has been read.
    void SetParsed();

private:
    bool m_required;
    std::wstring m_name;
    std::wstring m_status;
};

/// \name Conversion of the text of a node to a value
/// All throw CArgumentNullException for "in". If they throw, the value is unchanged.
///@{

/// The unchanged text.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::wstring& value);
/// True for "true" in any case, false for all other text.
ZELCORE_API void Deserialize(IXMLDOMNode* in, bool& value);
/// Leading decimal digits with an optional sign; 0 if there are none. A negative number wraps around. Numbers above
/// 2147483647 are not read correctly.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::uint32_t& value);
ZELCORE_API void Deserialize(IXMLDOMNode* in, unsigned long& value);
/// Leading decimal digits with an optional sign; 0 if there are none.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::int64_t& value);
///@}

/// Reads a value with one of these functions, or with a function of that name in the namespace of the value's type.
/// This makes a type of your own usable as a property.
template <class T> void DeserializeValue(IXMLDOMNode* in, T& value) {
    Deserialize(in, value);
}

/// Returns the element from which a collection is read; the caller releases it. Throws CArgumentNullException for
/// "node", and CComException for a node that is not an element, for example an attribute.
ZELCORE_API IXMLDOMElement* GetCollectionElement(IXMLDOMNode* node);

/// Releases an element that GetCollectionElement returned; not null.
ZELCORE_API void ReleaseElement(IXMLDOMElement* element) noexcept;

/// A property of a scalar type (N is 1): text, bool, numbers, and types that DeserializeValue can read. See
/// CConfigurationSection for examples.
template <class T, int N = 1> class CConfigurationProperty : public CConfigurationPropertyBase {
public:
    /// \param name     the name of the attribute or child element
    /// \param required whether an element without it is an error
    /// \param value    the value if the element does not have the property
    CConfigurationProperty(const wchar_t* name, bool required, T value = T())
        : CConfigurationPropertyBase(name, required), m_value(std::move(value)) {}

    void Deserialize(IXMLDOMNode* node) override {
        DeserializeValue(node, m_value);
        SetParsed();
    }
    /// Returns the value that was read, or otherwise the one of the constructor. Valid while the property lives.
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
/// CConfigurationElementCollection. See CConfigurationSection for an example.
template <class T> class CConfigurationProperty<T, 0> : public CConfigurationPropertyBase {
public:
    /// \param name     the name of the child element
    /// \param required whether an element without it is an error; an empty one counts as present
    CConfigurationProperty(const wchar_t* name, bool required) : CConfigurationPropertyBase(name, required) {}

    /// Adds the entries of the element. Throws the exceptions of GetCollectionElement and of reading an entry. Entries
    /// read before the failure are kept.
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
    /// Returns the collection, which is empty if the element does not have it. Valid while the property lives.
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
