#include "ZelCore/IO/File.h"

#include "ZelCore/IO/FileAttributes.h"
#include "ZelWin32/LastError.h"

namespace ZelCore::IO {

using ZelWin32::CheckWin32;

bool CFile::Exists(const wchar_t* filePath) {
    CheckNotNull(filePath, L"filePath", ZEL_SITE(L"ZelCore::IO::CFile::Exists"));
    return ExistsAs(false, filePath, ZEL_SITE(L"ZelCore::IO::CFile::Exists"));
}

std::int64_t CFile::GetSize(const wchar_t* filePath) {
    CheckNotEmpty(filePath, L"filePath", ZEL_SITE(L"ZelCore::IO::CFile::GetSize"));
    WIN32_FILE_ATTRIBUTE_DATA data{};
    CheckWin32(::GetFileAttributesExW(filePath, GetFileExInfoStandard, &data),
               ZEL_SITE(L"ZelCore::IO::CFile::GetSize"));
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow);
}

void CFile::Copy(const wchar_t* source, const wchar_t* destination, bool overwrite) {
    CheckNotEmpty(source, L"source", ZEL_SITE(L"ZelCore::IO::CFile::Copy"));
    CheckNotEmpty(destination, L"destination", ZEL_SITE(L"ZelCore::IO::CFile::Copy"));
    CheckWin32(::CopyFileW(source, destination, overwrite ? FALSE : TRUE), ZEL_SITE(L"ZelCore::IO::CFile::Copy"));
}

void CFile::Move(const wchar_t* source, const wchar_t* destination, bool overwrite, bool allowCopy) {
    CheckNotEmpty(source, L"source", ZEL_SITE(L"ZelCore::IO::CFile::Move"));
    CheckNotEmpty(destination, L"destination", ZEL_SITE(L"ZelCore::IO::CFile::Move"));
    const DWORD flags =
        MOVEFILE_WRITE_THROUGH | (overwrite ? MOVEFILE_REPLACE_EXISTING : 0) | (allowCopy ? MOVEFILE_COPY_ALLOWED : 0);
    CheckWin32(::MoveFileExW(source, destination, flags), ZEL_SITE(L"ZelCore::IO::CFile::Move"));
}

void CFile::Delete(const wchar_t* filePath, bool throwIfMissing) {
    CheckNotEmpty(filePath, L"filePath", ZEL_SITE(L"ZelCore::IO::CFile::Delete"));
    if (!::DeleteFileW(filePath)) {
        ThrowDeleteError(throwIfMissing, ZEL_SITE(L"ZelCore::IO::CFile::Delete"));
    }
}

} // namespace ZelCore::IO
