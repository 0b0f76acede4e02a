#pragma once

#include "ZelCore/Export.h"

#include <cstdarg>
#include <string>
#include <vector>

namespace ZelCore {

/// How CString::Compare weighs characters. Every value but OrdinalIgnoreCase compares by code unit.
enum class StringComparison : int {
    Ordinal = 4,           ///< by code unit
    OrdinalIgnoreCase = 5, ///< the letters A to Z count as a to z
};

/// Operations on wide strings. All of them are static, keep no state and may be called from any thread.
/// A null pointer argument throws CArgumentNullException.
class ZELCORE_API CString {
public:
    CString() = delete;

    /// Formats like the wide printf of the platform's C runtime: "%s" is a wide string, "%S" a narrow one.
    ///
    /// An empty format gives the empty string. Throws CArgumentException for "format" when the runtime
    /// rejects the format. The format must not come from untrusted input. FormatV uses the list up: what is left of it
    /// can only be ended.
    ///@{
    static std::wstring Format(const wchar_t* format, ...);
    static std::wstring FormatV(const wchar_t* format, va_list arguments);
    ///@}

    /// Formats with numbered arguments, "%2$s before %1$d", for translated texts that change their order.
    /// Either all arguments of a format are numbered or none. The same rules otherwise; throws CWin32Exception where
    /// the system has no universal C runtime (ucrtbase.dll).
    ///@{
    static std::wstring FormatPositional(const wchar_t* format, ...);
    static std::wstring FormatPositionalV(const wchar_t* format, va_list arguments);
    ///@}

    /// Negative, zero or positive as `a` sorts before, with or after `b`. OrdinalIgnoreCase folds the letters
    /// A to Z to lower case and no others, whatever the locale of the program, and returns the difference of the first
    /// two characters that differ; any other comparison returns -1 or 1.
    static int Compare(const wchar_t* a, const wchar_t* b, StringComparison comparison);

    /// A copy without the characters of `chars` at both ends, or at the start or the end alone. Empty `chars` remove
    /// nothing.
    ///@{
    static std::wstring Trim(const std::wstring& s, const std::wstring& chars);
    static std::wstring TrimStart(const std::wstring& s, const std::wstring& chars);
    static std::wstring TrimEnd(const std::wstring& s, const std::wstring& chars);
    ///@}

    /// Cuts at every occurrence of any one character of `separators`. Empty pieces are kept, so there is
    /// always one piece more than there are separators in the text; null throws for "separator".
    static std::vector<std::wstring> Split(const std::wstring& s, const wchar_t* separators);

    /// The parts with the separator between each two; empty for no parts.
    static std::wstring Join(const std::wstring& separator, const std::vector<std::wstring>& parts);

    /// Converts UTF-16 to a code page, 65001 for UTF-8.
    ///
    /// \param length in characters; -1 for a terminated string, whose terminating zero then becomes the last
    ///               character of the result
    ///
    /// A value that starts with a zero gives the empty string. Characters that the code page lacks, and
    /// surrogates without their partner, become its replacement character. Throws CWin32Exception for an
    /// unknown code page, and error 87 for a length of 0. The first character is read also when the length is 0.
    static std::string ToMultiByte(const wchar_t* value, int length, unsigned codePage);

    /// Converts from a code page to UTF-16; the same rules as ToMultiByte, with the length in bytes. Bytes that mean
    /// nothing in the code page become U+FFFD or its default character.
    static std::wstring ToWideChar(const char* value, int length, unsigned codePage);
};

} // namespace ZelCore
