#include "ConfigCommands.h"
#include "Console.h"
#include "CryptoCommands.h"
#include "GzipCommands.h"
#include "NetCommands.h"
#include "Tracing.h"
#include "ZipCommands.h"

#include "ZelCore/Exception.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace {

enum ExitCode { Done = 0, Failed = 1, WrongUse = 2 };

/// Returns the arguments after the program's name in reverse order, as the parser requires.
std::vector<std::string> ToArguments(int argc, wchar_t** argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {
        const std::string argument = Zel::ToUtf8(argv[i]);
        arguments.push_back((argument.starts_with('[') ? Zel::BracketMark : "") + argument);
    }
    return arguments;
}

int Run(int argc, wchar_t** argv) {
    CLI::App app("zel: archives, compressed, encrypted and signed files with the ZelCore library", "zel");
    app.allow_windows_style_options(false); // "/folder" is a path
    app.require_subcommand(1);
    app.footer("Examples:\n"
               "  zel zip create backup.zip Documents Pictures\n"
               "  zel zip list backup.zip\n"
               "  zel zip extract backup.zip --to restored\n"
               "  zel gzip log.txt\n"
               "  zel keygen my.key\n"
               "  zel encrypt backup.zip --key my.key\n"
               "  zel hash backup.zip backup.zip.enc\n\n"
               "Exit status: 0 success, 1 failure (the reason is on standard error), 2 invalid arguments.\n"
               "See also `zel COMMAND --help`.");
    Zel::AddZipCommands(app);
    Zel::AddGzipCommands(app);
    Zel::AddCryptoCommands(app);
    Zel::AddConfigCommands(app);
    Zel::AddNetCommands(app);
    bool trace = false;
    app.add_flag("--trace", trace, "Trace to standard output; zel.exe.config configures other destinations");
    app.parse_complete_callback([&trace] {
        if (trace) {
            Zel::TraceToConsole();
        }
    });
    try {
        app.parse(ToArguments(argc, argv));
    } catch (const CLI::ParseError& e) {
        std::ostringstream out, error;
        const int status = app.exit(e, out, error);
        Zel::Print(Zel::FromUtf8(out.str()));
        Zel::PrintError(Zel::FromUtf8(error.str()));
        return status == 0 ? Done : WrongUse;
    }
    return Done;
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    try {
        return Run(argc, argv);
    } catch (const ZelCore::CException& e) {
        Zel::PrintError(std::wstring(L"zel: ") + e.GetExceptionMessage() + L"\n");
        Zel::TraceFailure(e.GetExceptionMessage());
    } catch (const std::exception& e) {
        Zel::PrintError(L"zel: " + Zel::FromUtf8(e.what()) + L"\n");
    }
    return Failed;
}
