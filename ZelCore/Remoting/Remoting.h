#pragma once

#include "ZelCore/Export.h"

namespace ZelCore::Remoting {

/// Owns a string that the RPC runtime allocated. Pass it to a function of the runtime as &string, once:
///
///     UUID id;
///     ::UuidCreate(&id);
///     CRpcString text;
///     if (::UuidToStringW(&id, &text) == RPC_S_OK) {
///         std::printf("%ls\n", text.Get());
///     }
class ZELCORE_API CRpcString {
public:
    /// An empty object.
    CRpcString() noexcept = default;
    CRpcString(const CRpcString&) = delete;
    CRpcString& operator=(const CRpcString&) = delete;
    /// Returns the string to the runtime.
    ~CRpcString();

    /// The address for a function that stores its string, as the runtime's functions take it (RPC_WSTR*). A previous
    /// string would leak.
    unsigned short** operator&() noexcept {
        return &m_string;
    }
    /// Returns the string, or null until a function has stored one. Valid while the object lives.
    const wchar_t* Get() const noexcept {
        return reinterpret_cast<const wchar_t*>(m_string);
    }

private:
    unsigned short* m_string = nullptr;
};

/// Owns a binding handle in the same way.
class ZELCORE_API CRpcBindingHandle {
public:
    /// An empty object.
    CRpcBindingHandle() noexcept = default;
    CRpcBindingHandle(const CRpcBindingHandle&) = delete;
    CRpcBindingHandle& operator=(const CRpcBindingHandle&) = delete;
    /// Frees the binding.
    ~CRpcBindingHandle();

    /// The address for a function that stores its handle. A previous handle would leak.
    void** operator&() noexcept {
        return &m_binding;
    }
    /// Returns the handle, borrowed; null until a function has stored one.
    void* Get() const noexcept {
        return m_binding;
    }

private:
    void* m_binding = nullptr;
};

} // namespace ZelCore::Remoting
