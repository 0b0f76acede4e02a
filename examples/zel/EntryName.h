#pragma once

#include <string>

namespace Zel {

/// Returns why an entry's name must not become a path below the target folder; empty if it may.
///
/// The names are chosen by the author of the archive. Rejected are names that lead out of the folder, and names that
/// are not plain files to Windows: drives, streams, devices, trailing dots and spaces, and forbidden characters.
std::wstring FindDanger(const std::wstring& entryName);

/// Whether the entry is a folder: its name ends with a separator, and it has no data.
bool IsFolderName(const std::wstring& entryName);

} // namespace Zel
