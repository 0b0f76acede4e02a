#pragma once

// Private to the library: conversion of text to floating-point numbers.

namespace ZelCore {

/// Returns the value of wcstod in the "C" locale, independent of the program's locale. The time is linear in the length
/// of the text; the runtime's function needs minutes for a long fraction.
///
/// \param end set to the end of the number, or to `text` if there is none
double ReadDouble(const wchar_t* text, wchar_t** end);

} // namespace ZelCore
