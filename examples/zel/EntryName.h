#pragma once

#include <string>

namespace Zel {

/// Why an entry's name must not become a path below the target folder; empty when it may.
///
/// Names come from whoever made the archive. Refused are names that lead out of the folder, and names that mean
/// something else than a plain file to Windows: drives, streams, devices, trimmed and forbidden characters.
std::wstring FindDanger(const std::wstring& entryName);

/// A folder entry's name ends in a separator; it has no data.
bool IsFolderName(const std::wstring& entryName);

} // namespace Zel
