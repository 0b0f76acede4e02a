#include "ZelCore/ResourceManager.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/IO/ReadOnlyRefMemoryStream.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

namespace ZelCore {

using ZelWin32::CheckWin32;
using ZelWin32::ThrowLastError;

CResourceManager::CResourceManager(void* module) noexcept : m_module(module) {}

std::wstring CResourceManager::GetString(unsigned id) const {
    const wchar_t* text = nullptr;
    ::SetLastError(ERROR_SUCCESS);
    const int length = ::LoadStringW(static_cast<HINSTANCE>(m_module), id, reinterpret_cast<wchar_t*>(&text), 0);
    if (length <= 0) {
        ThrowLastError(ZEL_SITE(L"ZelCore::CResourceManager::GetString"), ERROR_RESOURCE_NAME_NOT_FOUND);
    }
    return {text, static_cast<std::size_t>(length)};
}

std::unique_ptr<IO::CStream> CResourceManager::GetStream(const wchar_t* name, const wchar_t* type) const {
    CheckNotEmpty(name, L"name", ZEL_SITE(L"ZelCore::CResourceManager::GetStream"));
    CheckNotEmpty(type, L"type", ZEL_SITE(L"ZelCore::CResourceManager::GetStream"));
    const auto module = static_cast<HMODULE>(m_module);
    const HRSRC resource = ::FindResourceW(module, name, type);
    CheckWin32(resource != nullptr, ZEL_SITE(L"ZelCore::CResourceManager::GetStream"));
    const HGLOBAL loaded = ::LoadResource(module, resource);
    CheckWin32(loaded != nullptr, ZEL_SITE(L"ZelCore::CResourceManager::GetStream"));
    return std::make_unique<IO::CReadOnlyRefMemoryStream>(static_cast<const unsigned char*>(::LockResource(loaded)),
                                                          ::SizeofResource(module, resource));
}

} // namespace ZelCore
