#include "ConfigCommands.h"

#include "ConfigCheck.h"
#include "Console.h"

#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"
#include "ZelCore/Diagnostics/Configuration/ZelDiagnosticsSection.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/ComInitGuard.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zel {

using namespace ZelCore::Configuration;
using namespace ZelCore::Diagnostics::Configuration;
using ZelCore::CString;
using ZelCore::Diagnostics::SourceLevels;

namespace {

/// Returns a level as it is written in the file: by name, or as a number if it has none.
std::wstring ShowLevel(SourceLevels level) {
    static const std::pair<const wchar_t*, SourceLevels> names[] = {
        {L"All", SourceLevels::All},
        {L"Verbose", SourceLevels::Verbose},
        {L"Information", SourceLevels::Information},
        {L"Warning", SourceLevels::Warning},
        {L"Error", SourceLevels::Error},
        {L"Critical", SourceLevels::Critical},
        {L"ActivityTracing", SourceLevels::ActivityTracing}};
    auto left = static_cast<unsigned>(level);
    std::vector<std::wstring> words;
    for (const auto& [name, value] : names) {
        if (const auto bits = static_cast<unsigned>(value); (left & bits) == bits) {
            words.emplace_back(name);
            left &= ~bits;
        }
    }
    if (left != 0) {
        words.push_back(std::to_wstring(static_cast<int>(left)));
    }
    return words.empty() ? L"Off" : CString::Join(L", ", words);
}

/// Prints the findings of FindSuspicious for the file and returns their number.
std::size_t ShowFindings(const CConfiguration& configuration) {
    if (!ZelCore::IO::CFile::Exists(configuration.GetPath().c_str())) {
        return 0;
    }
    const std::vector<std::wstring> findings = FindSuspicious(configuration.GetPath());
    for (const std::wstring& finding : findings) {
        Print(finding + L"\n");
    }
    return findings.size();
}

void Show(const std::wstring& path) {
    const ZelWin32::CComInitGuard com;
    CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(path);
    Print(L"file: " + configuration.GetPath() + L"\n");
    ShowFindings(configuration);
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

void Check(const std::wstring& path) {
    const ZelWin32::CComInitGuard com;
    CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(path);
    const std::wstring& full = configuration.GetPath();
    if (!ZelCore::IO::CFile::Exists(full.c_str())) {
        throw CConfigurationException((L"There is no file " + full).c_str(), ZEL_SITE(L"Zel::Check"));
    }
    if (const std::size_t count = ShowFindings(configuration); count != 0) {
        throw CConfigurationException((full + L": suspicious places: " + std::to_wstring(count)).c_str(),
                                      ZEL_SITE(L"Zel::Check"));
    }
    // Failures that occur only when the section is read; otherwise the first event of a source would report them.
    CZelDiagnosticsSection::GetZelDiagnosticsConfiguration(path);
    CSystemDiagnosticsSection section;
    configuration.GetSystemDiagnosticsSection(section);
    Print(full + L": nothing suspicious\n");
}

} // namespace

void AddConfigCommands(CLI::App& app) {
    CLI::App& config = *app.add_subcommand("config", "Show and check the settings of trace sources");
    config.require_subcommand(1);
    CLI::App& show = *config.add_subcommand("show", "Show the settings of trace sources in a configuration file");
    const auto path = std::make_shared<std::string>();
    show.add_option("file", *path, "The configuration file; by default that of zel");
    show.callback([path] { Show(FromUtf8(*path)); });
    CLI::App& check =
        *config.add_subcommand("check", "Check a configuration file; the exit status is 1 if it has suspicious places");
    check.add_option("file", *path, "The configuration file; by default that of zel");
    check.callback([path] { Check(FromUtf8(*path)); });
}

} // namespace Zel
