#pragma once

#include "ZelCore/Export.h"

#include <cstdarg>
#include <string>
#include <vector>

namespace ZelCore {

/// How CString::Compare compares characters. Every value other than OrdinalIgnoreCase compares code units.
enum class StringComparison : int {
    Ordinal = 4,           ///< compares code units
    OrdinalIgnoreCase = 5, ///< the letters A to Z are equal to a to z
};

/// Operations on wide strings. All functions are static and stateless and may be called from any thread. A null pointer
/// argument throws CArgumentNullException.
class ZELCORE_API CString {
public:
    CString() = delete;

    /// Formats like the wide printf of the platform's C runtime: "%s" is a wide string, "%S" a narrow one.
    ///
    /// An empty format yields an empty string. Throws CArgumentException for "format" if the runtime rejects the
    /// format. The format must not come from untrusted input. FormatV consumes the argument list: afterwards only
    /// va_end may be called on it.
    ///@{
    static std::wstring Format(const wchar_t* format, ...);
    static std::wstring FormatV(const wchar_t* format, va_list arguments);
    ///@}

    /// Formats with numbered arguments, for example "%2$s before %1$d", for translated texts that change their order.
    /// Either all arguments of a format are numbered or none. Otherwise the rules are the same as for Format. Throws
    /// CWin32Exception if the system has no Universal C Runtime (ucrtbase.dll).
    ///@{
    static std::wstring FormatPositional(const wchar_t* format, ...);
    static std::wstring FormatPositionalV(const wchar_t* format, va_list arguments);
    ///@}

    /// Returns a negative number, zero or a positive number if `a` sorts before, equal to or after `b`.
    /// OrdinalIgnoreCase converts only the letters A to Z to lower case, independent of the program's locale, and
    /// returns the difference of the first two characters that differ. Any other comparison returns -1, 0 or 1.
    static int Compare(const wchar_t* a, const wchar_t* b, StringComparison comparison);

    /// Returns a copy without the characters of `chars` at both ends, at the start only, or at the end only. If `chars`
    /// is empty, nothing is removed.
    ///@{
    static std::wstring Trim(const std::wstring& s, const std::wstring& chars);
    static std::wstring TrimStart(const std::wstring& s, const std::wstring& chars);
    static std::wstring TrimEnd(const std::wstring& s, const std::wstring& chars);
    ///@}

    /// Splits at every occurrence of any character of `separators`. Empty parts are kept, so there is always one part
    /// more than there are separators in the text. Null throws CArgumentNullException for "separator".
    static std::vector<std::wstring> Split(const std::wstring& s, const wchar_t* separators);

    /// Returns the parts with the separator between them; empty if there are no parts.
    static std::wstring Join(const std::wstring& separator, const std::vector<std::wstring>& parts);

    /// Converts UTF-16 to a code page, for example 65001 for UTF-8.
    ///
    /// \param length in characters; -1 for a null-terminated string, whose terminating null then becomes the last
    ///               character of the result
    ///
    /// A value that starts with a null character yields an empty string. Characters that the code page lacks, and
    /// unpaired surrogates, become its replacement character. Throws CWin32Exception for an unknown code page, and with
    /// error 87 for a length of 0. The first character is read even if the length is 0.
    static std::string ToMultiByte(const wchar_t* value, int length, unsigned codePage);

    /// Converts from a code page to UTF-16. The rules are those of ToMultiByte, with the length in bytes. Bytes that
    /// are invalid in the code page become U+FFFD or its default character.
    static std::wstring ToWideChar(const char* value, int length, unsigned codePage);
};

} // namespace ZelCore
