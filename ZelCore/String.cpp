#include "ZelCore/String.h"

#include "ZelCore/Arguments.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

#include <cstdio>
#include <wchar.h>

namespace ZelCore {

using ZelWin32::CheckWin32;

namespace {

[[noreturn]] void ThrowBadFormat() {
    throw CArgumentException(L"format", nullptr, ZEL_SITE(L"`anonymous-namespace'::FormatVInternal"));
}

/// Determines the length, then formats: `count(format, arguments)` excludes the terminating null, `fill(buffer, size,
/// format, arguments)` includes it.
template <class Count, class Fill>
std::wstring FormatVInternal(const wchar_t* format, va_list arguments, Count count, Fill fill) {
    if (*format == L'\0') {
        return {};
    }
    va_list again;
    va_copy(again, arguments);
    const int counted = count(format, again);
    va_end(again);
    if (counted < 0) {
        ThrowBadFormat();
    }
    const auto length = static_cast<std::size_t>(counted);
    std::wstring text;
    bool filled = true;
    // The lambda must not use the size passed to it: GCC 12 passes the capacity.
    text.resize_and_overwrite(length, [&](wchar_t* buffer, std::size_t) {
        filled = fill(buffer, length + 1, format, arguments) >= 0;
        return filled ? length : 0;
    });
    if (!filled) { // the counting function accepts unknown conversions
        ThrowBadFormat();
    }
    return text;
}

using InvalidParameterHandler = void(__cdecl*)(const wchar_t*, const wchar_t*, const wchar_t*, unsigned,
                                               std::uintptr_t);

void __cdecl IgnoreInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {}

constexpr unsigned long long LegacyWideSpecifiers = 4, ThreeDigitExponents = 0x10;

#ifdef _UCRT

/// Without a handler this runtime ends the process for a malformed format.
struct ToleratesInvalidParameters {
    InvalidParameterHandler previous = ::_set_thread_local_invalid_parameter_handler(&IgnoreInvalidParameter);
    ~ToleratesInvalidParameters() {
        ::_set_thread_local_invalid_parameter_handler(previous);
    }
};

/// Yields the same text as the older runtime, which writes exponents of three digits.
int CountText(const wchar_t* format, va_list arguments) {
    const ToleratesInvalidParameters tolerant;
    constexpr unsigned long long countsBeyondTheEnd = 2;
    return ::__stdio_common_vswprintf(LegacyWideSpecifiers | ThreeDigitExponents | countsBeyondTheEnd, nullptr, 0,
                                      format, nullptr, arguments);
}
int FillText(wchar_t* buffer, std::size_t size, const wchar_t* format, va_list arguments) {
    const ToleratesInvalidParameters tolerant;
    return ::__stdio_common_vsnwprintf_s(LegacyWideSpecifiers | ThreeDigitExponents, buffer, size, size - 1, format,
                                         nullptr, arguments);
}

#else

int CountText(const wchar_t* format, va_list arguments) {
    return ::_vscwprintf(format, arguments);
}
int FillText(wchar_t* buffer, std::size_t size, const wchar_t* format, va_list arguments) {
    return ::_vsnwprintf_s(buffer, size, size - 1, format, arguments);
}

#endif

/// Loads the system's copy: a name without a path would also be searched for in the program's folder.
HMODULE LoadSystemLibrary(const wchar_t* name) {
    wchar_t path[MAX_PATH];
    const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return nullptr;
    }
    return ::LoadLibraryExW((path + (L'\\' + std::wstring(name))).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

/// The runtime's printf with numbered arguments, which no import library of this compiler contains.
class PositionalPrintf {
public:
    PositionalPrintf() {
        const HMODULE runtime = LoadSystemLibrary(L"ucrtbase.dll");
        // Unreached: every supported system has this runtime.
        CheckWin32(runtime != nullptr, ZEL_SITE(L"`anonymous-namespace'::PositionalPrintf::PositionalPrintf"));
        m_print =
            reinterpret_cast<Print>(reinterpret_cast<void*>(::GetProcAddress(runtime, "__stdio_common_vswprintf_p")));
        // Unreached: every such runtime has this function.
        CheckWin32(m_print != nullptr, ZEL_SITE(L"`anonymous-namespace'::PositionalPrintf::PositionalPrintf"));
        m_setHandler = reinterpret_cast<SetHandler>(
            reinterpret_cast<void*>(::GetProcAddress(runtime, "_set_thread_local_invalid_parameter_handler")));
    }

    int operator()(wchar_t* buffer, std::size_t size, const wchar_t* format, va_list arguments) const {
        // Without a handler that runtime ends the process for a malformed format.
        const InvalidParameterHandler previous =
            m_setHandler != nullptr ? m_setHandler(&IgnoreInvalidParameter) : nullptr;
        const int result =
            m_print(LegacyWideSpecifiers | ThreeDigitExponents, buffer, size, format, nullptr, arguments);
        if (m_setHandler != nullptr) {
            m_setHandler(previous);
        }
        return result;
    }

private:
    using Print = int(__cdecl*)(unsigned long long, wchar_t*, std::size_t, const wchar_t*, void*, va_list);
    using SetHandler = InvalidParameterHandler(__cdecl*)(InvalidParameterHandler);

    Print m_print = nullptr;
    SetHandler m_setHandler = nullptr;
};

/// Ends an argument list, also if formatting throws.
struct ArgumentListEnd {
    va_list& list;
    ~ArgumentListEnd() {
        va_end(list);
    }
};

wchar_t FoldCase(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

} // namespace

std::wstring CString::Format(const wchar_t* format, ...) {
    CheckNotNull(format, L"format", ZEL_SITE(L"ZelCore::CString::Format"));
    va_list arguments;
    va_start(arguments, format);
    const ArgumentListEnd end{arguments};
    return FormatV(format, arguments);
}

std::wstring CString::FormatV(const wchar_t* format, va_list arguments) {
    CheckNotNull(format, L"format", ZEL_SITE(L"ZelCore::CString::FormatV"));
    return FormatVInternal(format, arguments, &CountText, &FillText);
}

std::wstring CString::FormatPositional(const wchar_t* format, ...) {
    CheckNotNull(format, L"format", ZEL_SITE(L"ZelCore::CString::FormatPositional"));
    va_list arguments;
    va_start(arguments, format);
    const ArgumentListEnd end{arguments};
    return FormatPositionalV(format, arguments);
}

std::wstring CString::FormatPositionalV(const wchar_t* format, va_list arguments) {
    CheckNotNull(format, L"format", ZEL_SITE(L"ZelCore::CString::FormatPositionalV"));
    static const PositionalPrintf print;
    return FormatVInternal(
        format, arguments, [](const wchar_t* f, va_list a) { return print(nullptr, 0, f, a); }, print);
}

int CString::Compare(const wchar_t* a, const wchar_t* b, StringComparison comparison) {
    CheckNotNull(a, L"a", ZEL_SITE(L"ZelCore::CString::Compare"));
    CheckNotNull(b, L"b", ZEL_SITE(L"ZelCore::CString::Compare"));
    const bool ignoreCase = comparison == StringComparison::OrdinalIgnoreCase;
    for (;; ++a, ++b) {
        const wchar_t left = ignoreCase ? FoldCase(*a) : *a;
        const wchar_t right = ignoreCase ? FoldCase(*b) : *b;
        if (left != right) {
            return ignoreCase ? left - right : left < right ? -1 : 1;
        }
        if (left == L'\0') {
            return 0;
        }
    }
}

std::wstring CString::Trim(const std::wstring& s, const std::wstring& chars) {
    const std::size_t first = s.find_first_not_of(chars);
    return first == std::wstring::npos ? std::wstring() : s.substr(first, s.find_last_not_of(chars) - first + 1);
}

std::wstring CString::TrimStart(const std::wstring& s, const std::wstring& chars) {
    const std::size_t first = s.find_first_not_of(chars);
    return first == std::wstring::npos ? std::wstring() : s.substr(first);
}

std::wstring CString::TrimEnd(const std::wstring& s, const std::wstring& chars) {
    return s.substr(0, s.find_last_not_of(chars) + 1);
}

std::vector<std::wstring> CString::Split(const std::wstring& s, const wchar_t* separators) {
    CheckNotNull(separators, L"separator", ZEL_SITE(L"ZelCore::CString::Split"));
    std::vector<std::wstring> pieces;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = s.find_first_of(separators, start);
        pieces.push_back(s.substr(start, end == std::wstring::npos ? end : end - start));
        if (end == std::wstring::npos) {
            return pieces;
        }
        start = end + 1;
    }
}

std::wstring CString::Join(const std::wstring& separator, const std::vector<std::wstring>& parts) {
    std::size_t length = 0;
    for (const std::wstring& part : parts) {
        length += part.size() + separator.size();
    }
    std::wstring joined;
    joined.reserve(length);
    for (const std::wstring& part : parts) {
        if (&part != &parts.front()) {
            joined += separator;
        }
        joined += part;
    }
    return joined;
}

std::string CString::ToMultiByte(const wchar_t* value, int length, unsigned codePage) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CString::ToMultiByte"));
    if (*value == L'\0') {
        return {};
    }
    const int size = ::WideCharToMultiByte(codePage, 0, value, length, nullptr, 0, nullptr, nullptr);
    CheckWin32(size, ZEL_SITE(L"ZelCore::CString::ToMultiByte"));
    std::string text(static_cast<std::size_t>(size), '\0');
    CheckWin32(::WideCharToMultiByte(codePage, 0, value, length, text.data(), size, nullptr, nullptr),
               ZEL_SITE(L"ZelCore::CString::ToMultiByte"));
    return text;
}

std::wstring CString::ToWideChar(const char* value, int length, unsigned codePage) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CString::ToWideChar"));
    if (*value == '\0') {
        return {};
    }
    const int size = ::MultiByteToWideChar(codePage, 0, value, length, nullptr, 0);
    CheckWin32(size, ZEL_SITE(L"ZelCore::CString::ToWideChar"));
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    CheckWin32(::MultiByteToWideChar(codePage, 0, value, length, text.data(), size),
               ZEL_SITE(L"ZelCore::CString::ToWideChar"));
    return text;
}

} // namespace ZelCore
