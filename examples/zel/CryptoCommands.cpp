#include "CryptoCommands.h"

#include "Files.h"
#include "MappedFile.h"
#include "PlainStream.h"
#include "Tracing.h"

#include "ZelCore/Convert.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/Security/Cryptography/Aes.h"
#include "ZelCore/Security/Cryptography/AssymetricCipherSupport.h"
#include "ZelCore/Security/Cryptography/CryptoStream.h"
#include "ZelCore/Security/Cryptography/HashAlgorithm.h"
#include "ZelCore/Security/Cryptography/ProtectedData.h"
#include "ZelCore/Security/Cryptography/RandomNumberGenerator.h"

#include <CLI/CLI.hpp>

#include <cwctype>
#include <map>
#include <memory>

namespace Zel {

using namespace ZelCore::IO;
using namespace ZelCore::Security::Cryptography;
using ZelCore::CFormatException;
using ZelCore::SecureBytes;

namespace {

constexpr std::size_t KeySize = 32; // AES-256
constexpr std::size_t IVSize = 16;
constexpr std::size_t LargestSecret = 64 << 20; // data protection works in memory
constexpr unsigned long MachineKeySet = 0x20;   // CRYPT_MACHINE_KEYSET

/// CryptoAPI's ALG_ID of each digest.
const std::map<std::string, unsigned> Algorithms = {{"md4", 0x8002},    {"md5", 0x8003},    {"sha1", 0x8004},
                                                    {"sha256", 0x800C}, {"sha384", 0x800D}, {"sha512", 0x800E}};

/// The options of the commands.
struct Options {
    std::string source, target, key, entropy, container, publicKey;
    std::string algorithm = "sha256";
    std::vector<std::string> items;
    unsigned bits = 2048;
    bool overwrite = false;
    bool sealed = false;
    bool machine = false;

    std::wstring GetSource() const {
        return FromUtf8(source);
    }
    std::wstring GetTarget() const {
        return FromUtf8(target);
    }
    CPrivateKeyInfo GetContainer() const {
        return CPrivateKeyInfo(FromUtf8(container).c_str(), machine ? MachineKeySet : 0);
    }
    SignatureHashAlgorithm GetSignatureHash() const {
        return algorithm == "sha1" ? SignatureHashAlgorithm::Sha1 : SignatureHashAlgorithm::Sha256;
    }
};

[[noreturn]] void Fail(const std::wstring& message, const wchar_t* method, const wchar_t* file, int line) {
    throw CFormatException(message.c_str(), method, file, line);
}

SecureBytes ReadSmallFile(const std::wstring& path) {
    CFileStream file = OpenForReading(path);
    const auto size = static_cast<std::size_t>(file.GetLength());
    if (size > LargestSecret) {
        Fail(path + L" is too large for data protection: encrypt it with a key and protect the key",
             ZEL_SITE(L"Zel::ReadSmallFile"));
    }
    SecureBytes bytes(size + 1); // so that the data pointer is never null
    bytes.resize(file.GreedyRead(bytes.data(), size));
    return bytes;
}

std::vector<unsigned char> GetEntropy(const Options& options) {
    if (options.entropy.empty()) {
        return {};
    }
    const SecureBytes bytes = ReadSmallFile(FromUtf8(options.entropy));
    return {bytes.begin(), bytes.end()};
}

template <class Bytes> void WriteBytes(const std::wstring& path, bool overwrite, const Bytes& bytes) {
    WriteNewFile(path, overwrite, [&](CStream& file) {
        if (!bytes.empty()) {
            file.Write(bytes.data(), bytes.size());
        }
    });
}

SecureBytes ReadKey(const Options& options) {
    const std::wstring path = FromUtf8(options.key);
    SecureBytes key = ReadSmallFile(path);
    if (options.sealed) {
        const SecureBytes sealed = std::exchange(key, {});
        CProtectedData::Unprotect(sealed.data(), sealed.size(), key, GetEntropy(options));
    }
    if (key.size() != KeySize) {
        Fail(path + L" is not a key of 32 bytes: create one with `zel keygen`, or use --sealed for a protected key",
             ZEL_SITE(L"Zel::ReadKey"));
    }
    return key;
}

void MakeKey(const Options& options) {
    CAes aes;
    WriteBytes(options.GetTarget(), false, aes.GetKey());
}

void Encrypt(const Options& options) {
    const std::wstring source = options.GetSource();
    CAes aes; // with a random IV for each file
    aes.SetKey(ReadKey(options));
    CFileStream input = OpenForReading(source);
    ZEL_TRACE(GetCryptoTrace(), L"Encrypt", Information, L"encrypting %s", source.c_str());
    Progress progress(0);
    WriteNewFile(options.target.empty() ? source + L".enc" : options.GetTarget(), options.overwrite,
                 [&](CStream& output) {
                     output.Write(aes.GetIV().data(), IVSize);
                     const auto encryptor = aes.CreateEncryptor();
                     CCryptoStream stream(output, *encryptor, CryptoStreamMode::Write);
                     CopyStream(input, stream, progress);
                     stream.Close();
                 });
}

void Decrypt(const Options& options) {
    const std::wstring source = options.GetSource();
    std::wstring target = options.GetTarget();
    if (target.empty()) {
        if (!source.ends_with(L".enc") || source.size() == 4) {
            Fail(source + L" does not end in .enc: name the target", ZEL_SITE(L"Zel::Decrypt"));
        }
        target = source.substr(0, source.size() - 4);
    }
    CAes aes;
    aes.SetKey(ReadKey(options));
    CFileStream input = OpenForReading(source);
    SecureBytes iv(IVSize);
    if (input.GreedyRead(iv.data(), IVSize) != IVSize) {
        Fail(source + L" is too short to be encrypted data", ZEL_SITE(L"Zel::Decrypt"));
    }
    aes.SetIV(iv);
    const auto decryptor = aes.CreateDecryptor();
    CCryptoStream stream(input, *decryptor, CryptoStreamMode::Read);
    Progress progress(0);
    WriteNewFile(target, options.overwrite, [&](CStream& output) { CopyStream(stream, output, progress); });
}

void Hash(const Options& options) {
    Progress progress(options.items.size());
    for (const std::string& item : options.items) {
        const std::wstring path = FromUtf8(item);
        progress.NextFile(path);
        CFileStream file = OpenForReading(path);
        CHashAlgorithm hash(Algorithms.at(options.algorithm));
        PlainStream sink;
        CCryptoStream stream(sink, hash, CryptoStreamMode::Write);
        CopyStream(file, stream, progress);
        stream.Close();
        const std::vector<unsigned char> digest = hash.GetDigest();
        std::wstring line = ZelCore::CConvert::ToHexString(digest.data(), digest.size());
        std::transform(line.begin(), line.end(), line.begin(),
                       [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
        Print(line + L"  " + path + L"\n");
    }
}

void Protect(const Options& options) {
    const SecureBytes data = ReadSmallFile(options.GetSource());
    std::vector<unsigned char> sealed;
    CProtectedData::Protect(data.data(), data.size(), sealed, GetEntropy(options),
                            options.machine ? DataProtectionScope::LocalMachine : DataProtectionScope::CurrentUser);
    WriteBytes(options.GetTarget(), options.overwrite, sealed);
}

void Unprotect(const Options& options) {
    const SecureBytes sealed = ReadSmallFile(options.GetSource());
    SecureBytes data;
    CProtectedData::Unprotect(sealed.data(), sealed.size(), data, GetEntropy(options));
    WriteBytes(options.GetTarget(), options.overwrite, data);
}

void CreateContainer(const Options& options) {
    options.GetContainer().Create(options.bits);
}

void ExportContainer(const Options& options) {
    WriteBytes(options.GetTarget(), options.overwrite, options.GetContainer().GetPublicKey().GetEncoded());
}

void DeleteContainer(const Options& options) {
    options.GetContainer().Delete();
}

void Sign(const Options& options) {
    const MappedFile data(options.GetSource());
    WriteBytes(options.GetTarget(), options.overwrite,
               SignData(options.GetContainer(), options.GetSignatureHash(), data.GetData(), data.GetSize(), true));
}

void Verify(const Options& options) {
    if (options.publicKey.empty() && options.container.empty()) {
        Fail(L"The signer's key is missing: name it by --public-key or --container", ZEL_SITE(L"Zel::Verify"));
    }
    const MappedFile data(options.GetSource());
    const SecureBytes signature = ReadSmallFile(options.GetTarget());
    const auto readKey = [&] {
        const SecureBytes encoded = ReadSmallFile(FromUtf8(options.publicKey));
        return CPublicKeyInfo(encoded.data(), encoded.size());
    };
    const CPublicKeyInfo key = options.publicKey.empty() ? options.GetContainer().GetPublicKey() : readKey();
    if (!VerifyData(key, options.GetSignatureHash(), data.GetData(), data.GetSize(), signature.data(), signature.size(),
                    true)) {
        Fail(L"The signature is not that of " + options.GetSource() + L" by this key", ZEL_SITE(L"Zel::Verify"));
    }
    Print(L"The signature is valid\n");
}

/// Defines a command; each command adds its options.
class Command {
public:
    Command(CLI::App& app, const char* name, const char* text, void (*run)(const Options&))
        : m_command(*app.add_subcommand(name, text)) {
        m_command.callback([run, options = m_options] { run(*options); });
    }
    Command& Source(const char* text) {
        m_command.add_option("source", m_options->source, text)->required();
        return *this;
    }
    Command& Target(const char* name, const char* text, bool required) {
        m_command.add_option(name, m_options->target, text)->required(required);
        return *this;
    }
    Command& Overwrite() {
        m_command.add_flag("--overwrite", m_options->overwrite, "Replace an existing target");
        return *this;
    }
    Command& Key() {
        m_command.add_option("--key", m_options->key, "The key file, created by `zel keygen`")->required();
        m_command.add_flag("--sealed", m_options->sealed, "The key file was protected by `zel protect`");
        return Entropy();
    }
    Command& Entropy() {
        m_command.add_option("--entropy", m_options->entropy,
                             "A file that contains an additional secret for the protection");
        return *this;
    }
    Command& Machine(const char* text) {
        m_command.add_flag("--machine", m_options->machine, text);
        return *this;
    }
    Command& Container(const char* name, bool required) {
        m_command.add_option(name, m_options->container, "The name of the key container")->required(required);
        return Machine("Use a container of the computer instead of the user");
    }
    Command& SignatureHash() {
        m_command.add_option("--algorithm", m_options->algorithm, "The digest: sha256 (default) or sha1")
            ->check(CLI::IsMember({"sha1", "sha256"}));
        return *this;
    }
    Command& Footer(const char* text) {
        m_command.footer(text);
        return *this;
    }
    CLI::App& GetApp() {
        return m_command;
    }
    Options& GetOptions() {
        return *m_options;
    }

private:
    std::shared_ptr<Options> m_options = std::make_shared<Options>();
    CLI::App& m_command;
};

void AddKeyCommands(CLI::App& app) {
    Command(app, "keygen", "Create a random key for `zel encrypt`", &MakeKey)
        .Target("target", "The key file to write", true)
        .Footer("Everyone who can read the key file can decrypt the data. `zel protect` encrypts the key file for\n"
                "the user or the computer.");
    Command(app, "protect", "Encrypt a small file for the user or the computer", &Protect)
        .Source("The file to protect, at most 64 MiB")
        .Target("target", "The protected file to write", true)
        .Machine("Protect for the computer: all its users can decrypt it")
        .Entropy()
        .Overwrite();
    Command(app, "unprotect", "Decrypt a protected file", &Unprotect)
        .Source("The protected file")
        .Target("target", "The file to write", true)
        .Entropy()
        .Overwrite();
    CLI::App& container = *app.add_subcommand("container", "Manage key containers for signatures");
    container.require_subcommand(1);
    Command create(container, "create", "Create a container with a new RSA key pair", &CreateContainer);
    create.Container("name", true);
    create.GetApp().add_option("--bits", create.GetOptions().bits, "The length of the key, at least 2048 (default)");
    Command(container, "export", "Write the public key (DER, SubjectPublicKeyInfo)", &ExportContainer)
        .Container("name", true)
        .Target("target", "The file to write", true)
        .Overwrite();
    Command(container, "delete", "Delete a container and its keys permanently", &DeleteContainer)
        .Container("name", true);
}

} // namespace

void AddCryptoCommands(CLI::App& app) {
    Command(app, "encrypt", "Encrypt a file with AES-256", &Encrypt)
        .Source("The file to encrypt")
        .Target("target", "The file to write; by default the source with .enc appended", false)
        .Key()
        .Overwrite()
        .Footer("Writes 16 random bytes (the initialization vector) and the data in CBC mode with PKCS #5 padding.\n"
                "Changes of an encrypted file are not always detected: sign it with `zel sign` if necessary, and\n"
                "verify the signature before decrypting. The source file is not changed.");
    Command(app, "decrypt", "Decrypt a file created by `zel encrypt`", &Decrypt)
        .Source("The file to decrypt")
        .Target("target", "The file to write; by default the source without .enc", false)
        .Key()
        .Overwrite();
    Command hash(app, "hash", "Show the digests of files, as sha256sum does", &Hash);
    hash.GetApp().add_option("file", hash.GetOptions().items, "The files to read")->required();
    hash.GetApp()
        .add_option("--algorithm", hash.GetOptions().algorithm, "md4, md5, sha1, sha256 (default), sha384 or sha512")
        ->check(CLI::IsMember(Algorithms));
    AddKeyCommands(app);
    Command(app, "sign", "Sign a file with the key of a container (RSA, PKCS #1 v1.5)", &Sign)
        .Source("The file to sign")
        .Target("signature", "The signature to write", true)
        .Container("--container", true)
        .SignatureHash()
        .Overwrite();
    Command verify(app, "verify", "Verify the signature of a file", &Verify);
    verify.Source("The signed file")
        .Target("signature", "The signature to read", true)
        .Container("--container", false)
        .SignatureHash();
    verify.GetApp().add_option("--public-key", verify.GetOptions().publicKey,
                               "The signer's public key (DER), instead of the container's");
}

} // namespace Zel
