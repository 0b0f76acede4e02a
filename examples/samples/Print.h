// Prints wide text as UTF-8, because the runtime's wide functions stop at characters that its locale does not contain.
#pragma once

#include <ZelCore/Exception.h>
#include <ZelCore/String.h>

#include <cstdio>
#include <string>

inline void Print(std::FILE* file, const std::wstring& text) {
    constexpr unsigned utf8 = 65001;
    const std::string bytes = ZelCore::CString::ToMultiByte(text.c_str(), static_cast<int>(text.size()), utf8);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fflush(file);
}

/// Reports a failure on one line and returns the exit code of the program.
inline int Report(const ZelCore::CException& e) {
    Print(stderr, std::wstring(e.GetExceptionMessage()) + L"\n");
    return 1;
}
