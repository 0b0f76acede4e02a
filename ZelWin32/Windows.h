#pragma once

// Private to the library: the one place that includes the platform's headers, so that their order and
// their macros are the same everywhere. Public headers do without them.

#include <winsock2.h>

#include <windows.h>

#include <shellapi.h>
#include <shlwapi.h>
#include <wincrypt.h>

// The library's own methods of these names must not be renamed in one source file and not in another.
#undef GetObject
#undef GetMessage
#undef Yield
