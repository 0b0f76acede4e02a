#include "ConfigCommands.h"

#include "Console.h"

#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"
#include "ZelCore/Diagnostics/Configuration/ZelDiagnosticsSection.h"
#include "ZelCore/String.h"
#include "ZelWin32/ComInitGuard.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace Zel {

using namespace ZelCore::Configuration;
using namespace ZelCore::Diagnostics::Configuration;
using ZelCore::CString;
using ZelCore::Diagnostics::SourceLevels;

namespace {

std::wstring ShowLevel(SourceLevels level) {
    return CString::Format(L"0x%X", static_cast<unsigned>(level));
}

void Show(const std::wstring& path) {
    const ZelWin32::CComInitGuard com;
    CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(path);
    Print(L"file: " + configuration.GetPath() + L"\n");
    const CZelDiagnosticsSection& own = CZelDiagnosticsSection::GetZelDiagnosticsConfiguration(path);
    Print(L"log directory: " + own.GetLogDirectory() + L" = " + own.GetLogDirectoryExpanded() + L"\n");
    CSystemDiagnosticsSection section;
    if (!configuration.GetSystemDiagnosticsSection(section)) {
        Print(L"no section system.diagnostics: all trace sources are silent\n");
        return;
    }
    for (const auto& [name, source] : section.sources.GetValue()) {
        const std::wstring& switchName = source->switchName.GetValue();
        Print(L"source " + name + L": " +
              (switchName.empty() ? L"level " + ShowLevel(source->switchValue.GetValue()) : L"switch " + switchName));
        for (const auto& listener : source->listeners.GetValue()) {
            Print(L", listener " + listener.first);
        }
        Print(L"\n");
    }
    for (const auto& [name, entry] : section.switches.GetValue()) {
        Print(L"switch " + name + L": level " + ShowLevel(entry->value.GetValue()) + L"\n");
    }
    for (const auto& [name, listener] : section.sharedListeners.GetValue()) {
        Print(CString::Format(L"listener %s: type '%s', '%s', %I64d bytes, %u files\n", name.c_str(),
                              listener->type.GetValue().c_str(), listener->initializeData.GetValue().c_str(),
                              listener->maximumFileSize.GetValue(), listener->maximumNumberOfFiles.GetValue()));
    }
}

} // namespace

void AddConfigCommands(CLI::App& app) {
    CLI::App& config = *app.add_subcommand("config", "Look at the settings of trace sources");
    config.require_subcommand(1);
    CLI::App& show = *config.add_subcommand("show", "Show what a configuration file tells trace sources");
    const auto path = std::make_shared<std::string>();
    show.add_option("file", *path, "The file, zel's own without");
    show.callback([path] { Show(FromUtf8(*path)); });
}

} // namespace Zel
