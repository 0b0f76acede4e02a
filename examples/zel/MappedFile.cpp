#include "MappedFile.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/Win32Exception.h"

#include <windows.h>

namespace Zel {

namespace {

using Handle = std::unique_ptr<void, decltype(&::CloseHandle)>;

[[noreturn]] void ThrowLastError(const std::wstring& path) {
    throw ZelWin32::CWin32Exception(::GetLastError(), path.c_str(), ZEL_SITE(L"Zel::MappedFile::MappedFile"));
}

} // namespace

MappedFile::MappedFile(const std::wstring& path) {
    const HANDLE opened = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        ThrowLastError(path);
    }
    const Handle file(opened, &::CloseHandle);
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file.get(), &size)) {
        ThrowLastError(path);
    }
    m_size = static_cast<std::size_t>(size.QuadPart);
    if (m_size == 0) {
        return; // an empty file cannot be mapped
    }
    const Handle mapping(::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr), &::CloseHandle);
    if (!mapping) {
        ThrowLastError(path);
    }
    m_view.reset(static_cast<const unsigned char*>(::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0)),
                 [](const unsigned char* view) { ::UnmapViewOfFile(view); });
    if (!m_view) {
        ThrowLastError(path);
    }
}

} // namespace Zel
