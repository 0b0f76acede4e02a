#include "ZipCommands.h"

#include "EntryName.h"
#include "Files.h"
#include "PlainStream.h"
#include "Tracing.h"

#include "ZelCore/FormatException.h"
#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace Zel {

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;
using ZelCore::CString;

namespace {

/// The options of the commands.
struct Options {
    std::string archive;
    std::vector<std::string> items;
    std::string target = ".";
    bool store = false;
    bool overwrite = false;

    std::wstring GetArchive() const {
        return FromUtf8(archive);
    }
    std::vector<std::wstring> GetItems() const {
        std::vector<std::wstring> wide;
        for (const std::string& item : items) {
            wide.push_back(FromUtf8(item));
        }
        return wide;
    }
};

/// A window of a file that reports how much of it was read.
class WatchedStream final : public PlainStream {
public:
    WatchedStream(CStream& base, Progress& progress) : m_base(base), m_progress(progress) {}
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        const std::size_t read = m_base.Read(buffer, count);
        m_progress.AddBytes(read);
        return read;
    }

private:
    CStream& m_base;
    Progress& m_progress;
};

/// Adds files to the archive with `put(name, stream)`, and folders with `putFolder(name)`.
template <class Put, class PutFolder>
void PutSources(const std::vector<Source>& sources, Put put, PutFolder putFolder) {
    Progress progress(sources.size());
    for (const Source& source : sources) {
        progress.NextFile(source.entryName);
        ZEL_TRACE(GetArchiveTrace(), L"PutSources", Information, L"%s", source.entryName.c_str());
        if (IsFolderName(source.entryName)) {
            putFolder(source.entryName.c_str());
            continue;
        }
        CFileStream file = OpenForReading(source.path);
        WatchedStream watched(file, progress);
        put(source.entryName.c_str(), watched);
    }
}

void AddSources(CZipArchive& archive, const std::vector<Source>& sources, bool store) {
    PutSources(
        sources, [&](const wchar_t* name, CStream& data) { archive.AddEntry(name, data, !store); },
        [&](const wchar_t* name) { archive.AddEntry(name, nullptr, 0, false); });
}

void Create(const Options& options) {
    const std::vector<Source> sources = CollectSources(options.GetItems());
    const std::wstring path = options.GetArchive();
    ZEL_TRACE(GetArchiveTrace(), L"Create", Start, L"create %s of %I64u entries", path.c_str(),
              static_cast<std::uint64_t>(sources.size()));
    if (!options.overwrite && CFile::Exists(path.c_str())) {
        throw ZelCore::CFormatException((path + L" exists; --overwrite replaces it").c_str(), ZEL_SITE(L"Zel::Create"));
    }
    // Written under another name until it is complete, so that a failure does not affect an existing file.
    const std::wstring target = path + L".zel-new";
    if (CFile::Exists(target.c_str())) {
        throw ZelCore::CFormatException((target + L" is in the way").c_str(), ZEL_SITE(L"Zel::Create"));
    }
    CZipArchive archive(target.c_str(), ZipArchiveMode::Create);
    try {
        AddSources(archive, sources, options.store);
        CZipArchive(std::move(archive)); // closes it, and throws if it cannot be written
        CFile::Move(target.c_str(), path.c_str(), true, false);
    } catch (...) {
        try {
            CZipArchive(std::move(archive));
        } catch (const ZelCore::CException&) { // only the first failure is reported
        }
        CFile::Delete(target.c_str(), false);
        throw;
    }
    ZEL_TRACE(GetArchiveTrace(), L"Create", Stop, L"create %s", path.c_str());
    Print(CString::Format(L"%I64u entries, %I64d bytes\n", static_cast<std::uint64_t>(sources.size()),
                          CFile::GetSize(path.c_str())));
}

/// Opens an archive for changes after all of them were checked, because a partly applied change would be saved.
CZipArchive OpenForUpdate(const Options& options, const std::vector<std::wstring>& names, bool mustExist) {
    {
        const CZipArchive archive(options.GetArchive().c_str(), ZipArchiveMode::Read);
        for (const std::wstring& name : names) {
            if ((archive.GetEntry(name.c_str()) != nullptr) != mustExist) {
                const wchar_t* const format = mustExist ? L"There is no entry '%s'" : L"There is an entry '%s' already";
                throw ZelCore::CFormatException(CString::Format(format, name.c_str()).c_str(),
                                                ZEL_SITE(L"Zel::OpenForUpdate"));
            }
        }
    } // closes it
    return {options.GetArchive().c_str(), ZipArchiveMode::Update};
}

/// The same for files to be added.
CZipArchive OpenForUpdate(const Options& options, const std::vector<Source>& sources, bool mustExist) {
    std::vector<std::wstring> names;
    for (const Source& source : sources) {
        names.push_back(source.entryName);
        if (!IsFolderName(source.entryName)) {
            OpenForReading(source.path);
        }
    }
    return OpenForUpdate(options, names, mustExist);
}

void Add(const Options& options) {
    const std::vector<Source> sources = CollectSources(options.GetItems());
    {
        CZipArchive archive = OpenForUpdate(options, sources, false);
        AddSources(archive, sources, options.store);
    }
    Print(CString::Format(L"%I64u entries added\n", static_cast<std::uint64_t>(sources.size())));
}

void Update(const Options& options) {
    const std::vector<Source> sources = CollectSources(options.GetItems());
    {
        CZipArchive archive = OpenForUpdate(options, sources, true);
        PutSources(
            sources, [&](const wchar_t* name, CStream& data) { archive.UpdateEntry(name, data); },
            [&](const wchar_t* name) { archive.UpdateEntry(name, nullptr, 0); });
    }
    Print(CString::Format(L"%I64u entries updated\n", static_cast<std::uint64_t>(sources.size())));
}

void Delete(const Options& options) {
    const std::vector<std::wstring> names = options.GetItems();
    {
        CZipArchive archive = OpenForUpdate(options, names, true);
        for (const std::wstring& name : names) {
            archive.DeleteEntry(name.c_str());
        }
    }
    Print(CString::Format(L"%I64u entries deleted\n", static_cast<std::uint64_t>(names.size())));
}

void List(const Options& options) {
    const CZipArchive archive(options.GetArchive().c_str(), ZipArchiveMode::Read);
    std::uint64_t count = 0, compressed = 0, uncompressed = 0;
    std::wstring lines = L"      size    packed  name\n";
    for (const std::wstring& name : archive.GetEntryNames()) {
        const std::unique_ptr<CZipArchiveEntry> entry = name.empty() ? nullptr : archive.GetEntry(name.c_str());
        const unsigned long size = entry ? entry->GetUncompressedSize() : 0;
        const unsigned long packed = entry ? entry->GetCompressedSize() : 0;
        lines += CString::Format(L"%10lu %9lu  %s\n", size, packed, name.c_str());
        ++count;
        compressed += packed;
        uncompressed += size;
    }
    Print(lines + CString::Format(L"%10I64u %9I64u  in %I64u entries\n", uncompressed, compressed, count));
}

void CheckSize(const std::wstring& name, std::uint64_t size, const CZipArchiveEntry& entry) {
    if (size != entry.GetUncompressedSize()) {
        throw ZelCore::CFormatException(
            CString::Format(L"Entry '%s' has %I64u bytes or more, but the archive declares %lu", name.c_str(), size,
                            static_cast<unsigned long>(entry.GetUncompressedSize()))
                .c_str(),
            ZEL_SITE(L"Zel::CheckSize"));
    }
}

void Test(const Options& options) {
    const CZipArchive archive(options.GetArchive().c_str(), ZipArchiveMode::Read);
    const std::vector<std::wstring> names = archive.GetEntryNames();
    Progress progress(names.size());
    for (const std::wstring& name : names) {
        progress.NextFile(name);
        if (!name.empty()) {
            PlainStream sink;
            const auto entry = archive.GetEntry(name.c_str());
            CheckSize(name, CopyStream(entry->GetStream(), sink, progress, entry->GetUncompressedSize()), *entry);
        }
    }
    Print(CString::Format(L"%I64u entries are complete\n", static_cast<std::uint64_t>(names.size())));
}

/// Returns the names to extract: all of them, or the requested ones. Throws before anything is written.
std::vector<std::wstring> ChooseNames(const CZipArchive& archive, const std::vector<std::wstring>& wanted) {
    const std::vector<std::wstring> names = wanted.empty() ? archive.GetEntryNames() : wanted;
    for (const std::wstring& name : names) {
        const std::wstring danger = FindDanger(name);
        if (!danger.empty()) {
            throw ZelCore::CFormatException((L"Entry '" + name + L"' is not extracted: " + danger).c_str(),
                                            ZEL_SITE(L"Zel::ChooseNames"));
        }
        if (!archive.GetEntry(name.c_str())) {
            throw ZelCore::CFormatException((L"There is no entry '" + name + L"'").c_str(),
                                            ZEL_SITE(L"Zel::ChooseNames"));
        }
    }
    return names;
}

void ExtractEntry(const CZipArchive& archive, const std::wstring& name, const std::wstring& path, bool overwrite,
                  Progress& progress) {
    const auto entry = archive.GetEntry(name.c_str());
    WriteNewFile(path, overwrite, [&](CStream& file) {
        CheckSize(name, CopyStream(entry->GetStream(), file, progress, entry->GetUncompressedSize()), *entry);
    });
}

void Extract(const Options& options) {
    const CZipArchive archive(options.GetArchive().c_str(), ZipArchiveMode::Read);
    const std::vector<std::wstring> names = ChooseNames(archive, options.GetItems());
    const std::wstring target = CPath::GetFullPath(FromUtf8(options.target).c_str());
    CDirectory::Create(target.c_str(), nullptr);
    Progress progress(names.size());
    std::wstring lastFolder;
    for (const std::wstring& name : names) {
        progress.NextFile(name);
        ZEL_TRACE(GetArchiveTrace(), L"Extract", Information, L"%s", name.c_str());
        std::wstring path = CPath::Combine(target.c_str(), name.c_str());
        std::replace(path.begin(), path.end(), L'/', L'\\');
        const std::wstring folder = CPath::SplitParentChild(path).first;
        if (folder != lastFolder) {
            CDirectory::Create(folder.c_str(), nullptr);
            lastFolder = folder;
        }
        if (!IsFolderName(name)) {
            ExtractEntry(archive, name, path, options.overwrite, progress);
        }
    }
    Print(CString::Format(L"%I64u entries extracted\n", static_cast<std::uint64_t>(names.size())));
}

CLI::App& AddCommand(CLI::App& zip, const char* name, const char* text, void (*run)(const Options&),
                     std::shared_ptr<Options>& options) {
    CLI::App* const command = zip.add_subcommand(name, text);
    options = std::make_shared<Options>();
    command->add_option("archive", options->archive, "The archive's path")->required();
    command->callback([run, options] { run(*options); });
    return *command;
}

} // namespace

void AddZipCommands(CLI::App& app) {
    CLI::App& zip = *app.add_subcommand("zip", "Create, read and change ZIP archives");
    zip.require_subcommand(1);
    std::shared_ptr<Options> options;
    const auto addSources = [&](CLI::App& command) {
        command.add_option("path", options->items, "Files, and folders with their contents")->required();
    };
    const auto addStore = [&](CLI::App& command) {
        command.add_flag("--store", options->store, "Store the data uncompressed");
    };

    CLI::App& create = AddCommand(zip, "create", "Create an archive of files and folders", &Create, options);
    addSources(create);
    addStore(create);
    create.add_flag("--overwrite", options->overwrite, "Replace an existing archive");

    AddCommand(zip, "list", "Show the entries with their sizes in bytes", &List, options);

    CLI::App& extract = AddCommand(zip, "extract", "Write entries to files", &Extract, options);
    extract.add_option("entry", options->items, "The entries to extract; by default all");
    extract.add_option("--to", options->target, "The target folder; by default the current one");
    extract.add_flag("--overwrite", options->overwrite, "Replace existing files");
    extract.footer("Nothing is extracted from an archive with names that lead out of the folder, or that refer to a\n"
                   "drive, a stream or a device.");

    AddCommand(zip, "test", "Read every entry to its end and compare the sizes", &Test, options)
        .footer("Checksums are not verified: `unzip -t` does that.");

    const char* const rewriting = "The archive is rewritten. Data before its entries, such as the program of a\n"
                                  "self-extracting archive, is dropped.";

    CLI::App& add = AddCommand(zip, "add", "Add files and folders to an archive", &Add, options);
    addSources(add);
    addStore(add);
    add.footer(rewriting);

    CLI::App& update = AddCommand(zip, "update", "Replace the data of existing entries", &Update, options);
    addSources(update);
    update.footer(rewriting);

    CLI::App& remove = AddCommand(zip, "delete", "Delete entries from an archive", &Delete, options);
    remove.add_option("entry", options->items, "The names of the entries, as `zel zip list` shows them")->required();
    remove.footer(rewriting);
}

} // namespace Zel
