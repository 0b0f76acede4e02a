#pragma once

// What nearly every test needs, to be included first.

#include "Support/Balance.h"
#include "Support/Expect.h"
#include "Support/ImportHook.h"
#include "Support/Streams.h"
#include "Support/TestFolder.h"

#include "ZelCore/ArgumentNullException.h"
#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelWin32/Win32Exception.h"

using namespace ZelCore;
using namespace ZelTest;
using ZelWin32::CWin32Exception;
