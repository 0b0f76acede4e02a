#pragma once

#include "ZelCore/Export.h"

namespace ZelCore::Remoting {

/// Owns a string that the RPC runtime allocated. To be handed to the runtime's functions as &string, once.
class ZELCORE_API CRpcString {
public:
    CRpcString() noexcept = default;
    CRpcString(const CRpcString&) = delete;
    CRpcString& operator=(const CRpcString&) = delete;
    ~CRpcString();

    wchar_t** operator&() noexcept {
        return &m_string;
    }
    /// Null until a function has stored a string.
    const wchar_t* Get() const noexcept {
        return m_string;
    }

private:
    wchar_t* m_string = nullptr;
};

/// Owns a binding handle, in the same way.
class ZELCORE_API CRpcBindingHandle {
public:
    CRpcBindingHandle() noexcept = default;
    CRpcBindingHandle(const CRpcBindingHandle&) = delete;
    CRpcBindingHandle& operator=(const CRpcBindingHandle&) = delete;
    ~CRpcBindingHandle();

    void** operator&() noexcept {
        return &m_binding;
    }
    void* Get() const noexcept {
        return m_binding;
    }

private:
    void* m_binding = nullptr;
};

} // namespace ZelCore::Remoting
