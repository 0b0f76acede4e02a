#pragma once

// Private to the library: owners of COM objects and texts, and the translation of COM failures.

#include "ZelWin32/ComException.h"
#include "ZelWin32/Windows.h"

#include <oleauto.h>

#include <string>
#include <utility>

namespace ZelWin32 {

/// Owns one reference to an object.
template <class Interface> class ComPointer {
public:
    ComPointer() noexcept = default;
    ComPointer(const ComPointer& other) noexcept : m_object(other.m_object) {
        if (m_object != nullptr) {
            m_object->AddRef();
        }
    }
    ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComPointer() {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }

    explicit operator bool() const noexcept {
        return m_object != nullptr;
    }
    Interface* Get() const noexcept {
        return m_object;
    }
    Interface* operator->() const noexcept {
        return m_object;
    }
    /// The address for a call that returns a new reference. The old reference is released first.
    Interface** Receive() noexcept {
        *this = ComPointer();
        return &m_object;
    }
    Interface* Detach() noexcept {
        return std::exchange(m_object, nullptr);
    }

private:
    Interface* m_object = nullptr;
};

/// Throws CComException with the description of the thread's error object, which is cleared.
[[noreturn]] void ThrowComError(HRESULT hr, const wchar_t* method, const wchar_t* file, int line);

/// Throws CComException if a method of an object, or a function that creates one, has failed, with the description that
/// the call stored in the thread's error object.
inline void CheckCom(HRESULT hr, const wchar_t* method, const wchar_t* file, int line) {
    if (FAILED(hr)) {
        ThrowComError(hr, method, file, line);
    }
}

/// The same for a call that stores no error object; an existing one belongs to another failure.
inline void CheckComCode(HRESULT hr, const wchar_t* method, const wchar_t* file, int line) {
    if (FAILED(hr)) {
        throw CComException(hr, nullptr, method, file, line);
    }
}

/// Clears the error object that an earlier failure of other code left on the thread. Call it before a series of calls
/// checked by CheckCom; otherwise a call that fails without an error object would get that description.
inline void ForgetComError() noexcept {
    ::SetErrorInfo(0, nullptr);
}

/// An owner of a BSTR.
class ComText {
public:
    ComText() noexcept = default;
    ComText(const wchar_t* text, std::size_t length, const wchar_t* method, const wchar_t* file, int line)
        : m_text(::SysAllocStringLen(text, static_cast<UINT>(length))) {
        CheckComCode(m_text != nullptr ? S_OK : E_OUTOFMEMORY, method, file, line);
    }
    ComText(const std::wstring& text, const wchar_t* method, const wchar_t* file, int line)
        : ComText(text.data(), text.size(), method, file, line) {}
    ComText(const ComText&) = delete;
    ComText& operator=(const ComText&) = delete;
    ~ComText() {
        ::SysFreeString(m_text);
    }

    BSTR Get() const noexcept {
        return m_text;
    }
    /// Releases ownership of the text to the caller.
    BSTR Detach() noexcept {
        return std::exchange(m_text, nullptr);
    }
    BSTR* Receive() noexcept {
        ::SysFreeString(Detach());
        return &m_text;
    }
    std::wstring ToString() const {
        return m_text != nullptr ? std::wstring(m_text, ::SysStringLen(m_text)) : std::wstring();
    }

private:
    BSTR m_text = nullptr;
};

/// A variant that is cleared by the destructor.
struct ComVariant : VARIANT {
    ComVariant() noexcept {
        ::VariantInit(this);
    }
    ComVariant(const ComVariant&) = delete;
    ComVariant& operator=(const ComVariant&) = delete;
    ~ComVariant() {
        ::VariantClear(this);
    }
};

} // namespace ZelWin32
