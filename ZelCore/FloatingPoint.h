#pragma once

// Private to the library: text to floating-point number.

namespace ZelCore {

/// What wcstod reads in the "C" locale, whatever the program's locale is, and in a time that grows with the text only:
/// the runtime's own needs minutes for a long fraction.
///
/// \param end where the number ends; `text` when there is none
double ReadDouble(const wchar_t* text, wchar_t** end);

} // namespace ZelCore
