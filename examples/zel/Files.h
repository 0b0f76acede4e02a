#pragma once

#include "Console.h"

#include "ZelCore/IO/FileStream.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Zel {

/// A file or folder on disk and its name in an archive.
struct Source {
    std::wstring path;
    std::wstring entryName; ///< with "/" between folders, and at the end for a folder
};

/// Returns the files and empty folders below the given paths. Names start with the last component of the given path.
/// Throws if one of the paths does not exist.
std::vector<Source> CollectSources(const std::vector<std::wstring>& paths);

ZelCore::IO::CFileStream OpenForReading(const std::wstring& path);

/// Writes a new file completely or not at all. An existing file is kept unless `overwrite` is set, and then until the
/// new one is complete.
void WriteNewFile(const std::wstring& path, bool overwrite,
                  const std::function<void(ZelCore::IO::CStream& file)>& write);

/// Copies to the end of the source, or until more than `expected` bytes were read; returns the number of bytes.
std::uint64_t CopyStream(ZelCore::IO::CStream& source, ZelCore::IO::CStream& target, Progress& progress,
                         std::uint64_t expected = UINT64_MAX);

} // namespace Zel
