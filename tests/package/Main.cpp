// Uses a piece of every corner of the package; says "fine" when all of them agree.
#include <ZelCore/Convert.h>
#include <ZelCore/DateTime.h>
#include <ZelCore/Exception.h>
#include <ZelCore/IO/Compression/ZipArchive.h>
#include <ZelCore/IO/MemoryStream.h>
#include <ZelCore/Security/Cryptography/Aes.h>
#include <ZelCore/Security/Cryptography/HashAlgorithm.h>
#include <ZelNet/IPAddress.h>

#include <cstdio>
#include <exception>

int main() {
    try {
        const unsigned char data[] = {'a', 'b', 'c'};
        ZelCore::Security::Cryptography::CHashAlgorithm sha(0x8004);
        const auto hash = sha.ComputeHash(data, sizeof data);
        const bool hashed =
            ZelCore::CConvert::ToHexString(hash.data(), hash.size()) == L"A9993E364706816ABA3E25717850C26C9CD0D89D";
        ZelNet::CIPAddress address;
        const bool parsed =
            ZelNet::CIPAddress::TryParse(L"192.168.0.1", address) && address.ToString() == L"192.168.0.1";
        bool caught = false;
        try { // the exception crosses from the DLL, is kept, and is thrown again
            ZelCore::IO::Compression::CZipArchive missing(L"missing.zip",
                                                          ZelCore::IO::Compression::ZipArchiveMode::Read);
        } catch (const ZelCore::CException&) {
            try {
                std::rethrow_exception(std::current_exception());
            } catch (const ZelCore::CException& e) {
                caught = e.GetExceptionMessage() != nullptr;
            }
        }
        std::puts(hashed && parsed && caught ? "fine" : "wrong");
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    return 0;
}
