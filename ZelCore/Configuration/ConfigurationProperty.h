#pragma once

#include "ZelCore/Diagnostics/SourceLevels.h"
#include "ZelCore/Export.h"

#include <cstdint>
#include <string>
#include <utility>

struct IXMLDOMElement;
struct IXMLDOMNode;

namespace ZelCore::Configuration {

/// What a configuration element reads from one attribute or child element.
class ZELCORE_API CConfigurationPropertyBase {
public:
    /// \param name     the attribute's or child element's
    /// \param required whether an element without it is an error
    CConfigurationPropertyBase(const wchar_t* name, bool required);
    virtual ~CConfigurationPropertyBase();

    /// Takes the value from an attribute or element. Throws CArgumentNullException for null.
    virtual void Deserialize(IXMLDOMNode* node) = 0;

    bool IsRequired() const noexcept {
        return m_required;
    }
    const std::wstring& GetName() const noexcept {
        return m_name;
    }
    /// "NOT PARSED" until a value was read, then "PARSED".
    const std::wstring& GetStatus() const noexcept {
        return m_status;
    }

protected:
    CConfigurationPropertyBase(const CConfigurationPropertyBase&) = default;
    CConfigurationPropertyBase& operator=(const CConfigurationPropertyBase&) = default;

    void SetParsed();

private:
    bool m_required;
    std::wstring m_name;
    std::wstring m_status;
};

// How the text of a node becomes a value. All throw CArgumentNullException for a null node.

/// The text as it stands.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::wstring& value);
/// True for "true" in any case, false for all other text.
ZELCORE_API void Deserialize(IXMLDOMNode* in, bool& value);
/// Leading decimal digits with a sign; 0 without any; a negative number wraps around.
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::uint32_t& value);
ZELCORE_API void Deserialize(IXMLDOMNode* in, std::int64_t& value);
/// Names of levels and numbers, separated by commas or blanks: "Warning, ActivityTracing". Throws CArgumentException
/// for other words.
ZELCORE_API void Deserialize(IXMLDOMNode* in, Diagnostics::SourceLevels& value);

/// The element that a collection is read from. Throws CArgumentNullException for null, CComException for another node;
/// the caller releases the element.
ZELCORE_API IXMLDOMElement* GetCollectionElement(IXMLDOMNode* node);
ZELCORE_API void ReleaseElement(IXMLDOMElement* element) noexcept;

/// A property of a scalar type (N is 1): text, bool, numbers, levels.
///
///     CConfigurationProperty<std::wstring> m_directory{L"directory", true};
///     CConfigurationProperty<std::int64_t> m_largest{L"largest", false, -1};
template <class T, int N = 1> class CConfigurationProperty final : public CConfigurationPropertyBase {
public:
    CConfigurationProperty(const wchar_t* name, bool required, T value = T())
        : CConfigurationPropertyBase(name, required), m_value(std::move(value)) {}

    void Deserialize(IXMLDOMNode* node) override {
        Configuration::Deserialize(node, m_value);
        SetParsed();
    }
    virtual T& GetValue() {
        return m_value;
    }
    virtual const T& GetValue() const {
        return m_value;
    }

private:
    T m_value;
};

/// A property that is a collection of elements (N is 0), read from a child element.
///
///     CConfigurationProperty<CConfigurationElementCollection<CServerElement>, 0> m_servers{L"servers", false};
template <class T> class CConfigurationProperty<T, 0> final : public CConfigurationPropertyBase {
public:
    CConfigurationProperty(const wchar_t* name, bool required) : CConfigurationPropertyBase(name, required) {}

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
    virtual T& GetValue() {
        return m_value;
    }
    const T& GetConstValue() const {
        return m_value;
    }

private:
    T m_value;
};

} // namespace ZelCore::Configuration
