// What the examples of the pages may use without saying so.
#pragma once

#include "Counter.h"
#include "ZelCore/ArgumentNullException.h"
#include "ZelCore/AsyncResult.h"
#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Convert.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Environment.h"
#include "ZelCore/Guid.h"
#include "ZelCore/IO/Compression/DeflateStream.h"
#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/IO/Compression/ZipArchiveEntry.h"
#include "ZelCore/IO/FileStream.h"
#include "ZelCore/IO/ReadOnlyRefMemoryStream.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelCore/Remoting/LrpcClient.h"
#include "ZelCore/Remoting/LrpcServer.h"
#include "ZelCore/Security/Cryptography/Aes.h"
#include "ZelCore/Security/Cryptography/AssymetricCipherSupport.h"
#include "ZelCore/Security/Cryptography/CryptoStream.h"
#include "ZelCore/Security/Cryptography/HashAlgorithm.h"
#include "ZelCore/Security/Cryptography/ProtectedData.h"
#include "ZelCore/Security/Cryptography/ProtectedMemory.h"
#include "ZelCore/String.h"
#include "ZelWin32/ComInitGuard.h"
#include "ZelWin32/SEException.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

using namespace ZelCore;
using namespace ZelCore::Configuration;
using namespace ZelCore::Diagnostics;
using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;
using namespace ZelCore::Remoting;
using namespace ZelCore::Security::Cryptography;
using namespace ZelWin32;
