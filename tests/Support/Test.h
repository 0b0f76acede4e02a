#pragma once

// What more than one test needs, to be included first.

#include "Support/Balance.h"
#include "Support/Child.h"
#include "Support/Expect.h"
#include "Support/Streams.h"
#include "Support/TestFolder.h"

#include <climits>
#include <map>
#include <memory>

using namespace ZelCore;
using namespace ZelCore::Configuration;
using namespace ZelCore::Diagnostics;
using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;
using namespace ZelCore::Remoting;
using namespace ZelTest;
using namespace ZelWin32;
