#pragma once

#include <string>
#include <vector>

namespace Zel {

/// What a configuration file says about trace sources that is read otherwise than it looks, is not read at all, or
/// makes the first event fail. One text for each, with its line: "line 12: ..."; lines of a file that "configSource"
/// names begin with its name.
///
/// \param path of a file that the parser has accepted
std::vector<std::wstring> FindSuspicious(const std::wstring& path);

} // namespace Zel
