// Encrypts a file with a new key, which only this user can unprotect: encrypt-file encrypt|decrypt FROM TO KEYFILE
#include "Print.h"

#include <ZelCore/Exception.h>
#include <ZelCore/IO/File.h>
#include <ZelCore/IO/FileStream.h>
#include <ZelCore/Security/Cryptography/Aes.h>
#include <ZelCore/Security/Cryptography/CryptoStream.h>
#include <ZelCore/Security/Cryptography/ProtectedData.h>

#include <windows.h>

#include <cstdio>
#include <cwchar>

using namespace ZelCore::IO;
using namespace ZelCore::Security::Cryptography;
using ZelCore::SecureBytes;

namespace {

CFileStream OpenToRead(const wchar_t* path) {
    return {path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN};
}
CFileStream OpenToWrite(const wchar_t* path) {
    return {path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL};
}

void Copy(CStream& from, CStream& to) {
    SecureBytes piece(64 * 1024); // wiped before its memory is released
    while (const std::size_t count = from.Read(piece.data(), piece.size())) {
        to.Write(piece.data(), count);
    }
}

// The encrypted file is the IV, which is not secret but must never be used twice, followed by the cipher text. Steps
// that can fail without the new file come before it is created.
void Encrypt(const wchar_t* fromPath, const wchar_t* toPath, const wchar_t* keyPath) {
    CFileStream from = OpenToRead(fromPath);
    CAes aes; // a random key of 256 bits and a random IV
    std::vector<unsigned char> protectedKey;
    CProtectedData::Protect(aes.GetKey().data(), aes.GetKey().size(), protectedKey, {},
                            DataProtectionScope::CurrentUser);
    OpenToWrite(keyPath).Write(protectedKey.data(), protectedKey.size());
    CFileStream to = OpenToWrite(toPath);
    to.Write(aes.GetIV().data(), aes.GetIV().size());
    const auto encryptor = aes.CreateEncryptor();
    CCryptoStream stream(to, *encryptor, CryptoStreamMode::Write);
    Copy(from, stream);
    stream.Close(); // writes the last, padded block
}

// Modified cipher text usually decrypts to something: docs/keys-and-secrets.md explains how to detect it.
void Decrypt(const wchar_t* fromPath, const wchar_t* toPath, const wchar_t* keyPath) {
    CFileStream from = OpenToRead(fromPath);
    std::vector<unsigned char> protectedKey(4096);
    protectedKey.resize(OpenToRead(keyPath).GreedyRead(protectedKey.data(), protectedKey.size()));
    SecureBytes key;
    CProtectedData::Unprotect(protectedKey.data(), protectedKey.size(), key, {});
    SecureBytes iv(16);
    iv.resize(from.GreedyRead(iv.data(), iv.size())); // SetIV rejects a shorter one
    CAes aes;
    aes.SetKey(key);
    aes.SetIV(iv);
    const auto decryptor = aes.CreateDecryptor();
    CCryptoStream stream(from, *decryptor, CryptoStreamMode::Read);
    CFileStream to = OpenToWrite(toPath);
    Copy(stream, to);
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) {
        std::fputs("usage: encrypt-file encrypt|decrypt FROM TO KEYFILE\n", stderr);
        return 2;
    }
    try {
        (std::wcscmp(argv[1], L"encrypt") == 0 ? Encrypt : Decrypt)(argv[2], argv[3], argv[4]);
        std::printf("%lld bytes written\n", static_cast<long long>(CFile::GetSize(argv[3])));
    } catch (const ZelCore::CException& e) {
        return Report(e);
    }
    return 0;
}
