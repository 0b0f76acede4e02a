#pragma once

#include "Console.h"

#include "ZelCore/IO/FileStream.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Zel {

/// A file or folder on the disk and the name that it has in an archive.
struct Source {
    std::wstring path;
    std::wstring entryName; ///< with "/" between folders, and at the end for a folder
};

/// The files and empty folders below the given paths. Names start with the last component of the given path.
/// Throws when one of the paths does not exist.
std::vector<Source> CollectSources(const std::vector<std::wstring>& paths);

ZelCore::IO::CFileStream OpenForReading(const std::wstring& path);

/// Writes a new file: all of it or none. An existing file stays as it is unless `overwrite` is given, and then until
/// the new one is complete.
void WriteNewFile(const std::wstring& path, bool overwrite,
                  const std::function<void(ZelCore::IO::CStream& file)>& write);

/// Copies to the end of the source in pieces, or until more than `expected` bytes have come; returns their number.
std::uint64_t CopyStream(ZelCore::IO::CStream& source, ZelCore::IO::CStream& target, Progress& progress,
                         std::uint64_t expected = UINT64_MAX);

} // namespace Zel
