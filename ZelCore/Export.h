#pragma once

/// \file
/// The export macro of the library.

#ifndef _WIN64
#error "ZelCore is for 64-bit Windows: compile with x86_64-w64-mingw32-g++-posix, or clang for that target"
#endif

/// Marks a declaration as exported from the DLL. Programs that use the library see it as an import.
#ifdef ZELCORE_BUILDING
#define ZELCORE_API __declspec(dllexport)
#else
#define ZELCORE_API __declspec(dllimport)
#endif
