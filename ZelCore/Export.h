#pragma once

/// \file
/// The mark of what the library gives away.

/// Marks what the DLL exports; programs that use the library see it as an import.
#ifdef ZELCORE_BUILDING
#define ZELCORE_API __declspec(dllexport)
#else
#define ZELCORE_API __declspec(dllimport)
#endif
