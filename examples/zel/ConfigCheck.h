#pragma once

#include <string>
#include <vector>

namespace Zel {

/// Finds settings for trace sources in a configuration file that are read differently from what they suggest, that are
/// not read at all, or that make the first event fail. Returns one text for each, with its line: "line 12: ..."; lines
/// of a file named by "configSource" begin with the file name.
///
/// \param path of a file that the parser has accepted
std::vector<std::wstring> FindSuspicious(const std::wstring& path);

} // namespace Zel
