#pragma once

// Helpers shared by the tests; must be included first.

#include "Support/Balance.h"
#include "Support/Child.h"
#include "Support/Expect.h"
#include "Support/Streams.h"
#include "Support/TestFolder.h"

#include <climits>
#include <map>
#include <memory>

using namespace ZelTest;
