#pragma once

#include "ZelCore/Export.h"

namespace ZelCore::Remoting {

/// Owns a string that the RPC runtime allocated. To be handed to the runtime's functions as &string, once:
///
///     UUID id;
///     ::UuidCreate(&id);
///     CRpcString text;
///     if (::UuidToStringW(&id, &text) == RPC_S_OK) {
///         std::printf("%ls\n", text.Get());
///     }
class ZELCORE_API CRpcString {
public:
    /// Without a string.
    CRpcString() noexcept = default;
    CRpcString(const CRpcString&) = delete;
    CRpcString& operator=(const CRpcString&) = delete;
    /// Gives the string back to the runtime.
    ~CRpcString();

    /// Where a function stores its string, as the runtime's functions take it (RPC_WSTR*). What is there already would
    /// be lost.
    unsigned short** operator&() noexcept {
        return &m_string;
    }
    /// Null until a function has stored a string. Valid while the object lives.
    const wchar_t* Get() const noexcept {
        return reinterpret_cast<const wchar_t*>(m_string);
    }

private:
    unsigned short* m_string = nullptr;
};

/// Owns a binding handle, in the same way.
class ZELCORE_API CRpcBindingHandle {
public:
    /// Without a handle.
    CRpcBindingHandle() noexcept = default;
    CRpcBindingHandle(const CRpcBindingHandle&) = delete;
    CRpcBindingHandle& operator=(const CRpcBindingHandle&) = delete;
    /// Frees the binding.
    ~CRpcBindingHandle();

    /// Where a function stores its handle. What is there already would be lost.
    void** operator&() noexcept {
        return &m_binding;
    }
    /// The handle, borrowed; null until a function has stored one.
    void* Get() const noexcept {
        return m_binding;
    }

private:
    void* m_binding = nullptr;
};

} // namespace ZelCore::Remoting
