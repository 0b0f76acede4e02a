#pragma once

// What more than one test needs, to be included first.

#include "Support/Balance.h"
#include "Support/Child.h"
#include "Support/Expect.h"
#include "Support/ImportHook.h"
#include "Support/Streams.h"
#include "Support/TestFolder.h"

#include "ZelCore/AsyncResult.h"
#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Environment.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/Guid.h"
#include "ZelCore/IO/Compression/DeflateStream.h"
#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/IO/FileStream.h"
#include "ZelCore/IO/IOException.h"
#include "ZelCore/IO/ReadOnlyRefMemoryStream.h"
#include "ZelCore/NotImplementedException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelCore/Remoting/LrpcClient.h"
#include "ZelCore/Remoting/LrpcServer.h"
#include "ZelCore/Remoting/RpcException.h"
#include "ZelWin32/ComException.h"
#include "ZelWin32/ComInitGuard.h"
#include "ZelWin32/SEException.h"
#include "ZelXml/XmlException.h"

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
