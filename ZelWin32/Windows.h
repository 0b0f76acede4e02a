#pragma once

// Private to the library: includes the platform's headers, so that their order and macros are the same everywhere.
// Public headers do not include them.

#include <winsock2.h>

#include <windows.h>

#include <shellapi.h>
#include <shlwapi.h>
#include <wincrypt.h>

// Some methods of the library have these names, which must not be replaced by macros in some source files only.
#undef GetObject
#undef GetMessage
#undef Yield
