#include "GzipCommands.h"

#include "Files.h"
#include "PlainStream.h"

#include "ZelCore/FormatException.h"
#include "ZelCore/IO/Compression/DeflateStream.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

namespace Zel {

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

namespace {

struct Options {
    std::string source;
    std::string target;
    bool overwrite = false;
};

/// A compressed file whose last part is read byte by byte, so that the position at which the reader stops shows whether
/// other data follows.
class CarefulInput final : public PlainStream {
public:
    explicit CarefulInput(CFileStream& file) : m_file(file), m_left(file.GetLength()) {}

    bool IsAtEnd() const {
        return m_left == 0;
    }
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        constexpr std::int64_t carefulPart = 65536;
        const std::int64_t wanted = m_left > carefulPart ? m_left - carefulPart : 1;
        const std::size_t read = m_file.Read(buffer, std::min(count, static_cast<std::size_t>(wanted)));
        m_left -= static_cast<std::int64_t>(read);
        return read;
    }

private:
    CFileStream& m_file;
    std::int64_t m_left;
};

void Compress(const Options& options) {
    const std::wstring source = FromUtf8(options.source);
    const std::wstring target = options.target.empty() ? source + L".gz" : FromUtf8(options.target);
    CFileStream input = OpenForReading(source);
    Progress progress(0);
    WriteNewFile(target, options.overwrite, [&](CStream& output) {
        CDeflateStream gzip(output, CompressionMode::Compress, true);
        CopyStream(input, gzip, progress);
        gzip.Close();
    });
}

void Decompress(const Options& options) {
    const std::wstring source = FromUtf8(options.source);
    std::wstring target = FromUtf8(options.target);
    if (target.empty()) {
        if (!source.ends_with(L".gz") || source.size() == 3) {
            throw ZelCore::CFormatException((source + L" does not end in .gz: specify the target").c_str(),
                                            ZEL_SITE(L"Zel::Decompress"));
        }
        target = source.substr(0, source.size() - 3);
    }
    CFileStream input = OpenForReading(source);
    Progress progress(0);
    WriteNewFile(target, options.overwrite, [&](CStream& output) {
        CarefulInput whole(input);
        CDeflateStream gzip(whole, CompressionMode::Decompress, true);
        CopyStream(gzip, output, progress);
        if (!whole.IsAtEnd()) {
            throw ZelCore::CFormatException((source + L" goes on behind its first member").c_str(),
                                            ZEL_SITE(L"Zel::Decompress"));
        }
    });
}

void AddCommand(CLI::App& app, const char* name, const char* text, const char* targetText,
                void (*run)(const Options&)) {
    CLI::App* const command = app.add_subcommand(name, text);
    const auto options = std::make_shared<Options>();
    command->add_option("source", options->source, "The file to read")->required();
    command->add_option("target", options->target, targetText);
    command->add_flag("--overwrite", options->overwrite, "Replace an existing target");
    command->callback([run, options] { run(*options); });
}

} // namespace

void AddGzipCommands(CLI::App& app) {
    AddCommand(app, "gzip", "Compress a file", "The file to write; by default the source with .gz appended", &Compress);
    AddCommand(app, "gunzip", "Decompress a file of one gzip member",
               "The file to write; by default the source without .gz", &Decompress);
}

} // namespace Zel
