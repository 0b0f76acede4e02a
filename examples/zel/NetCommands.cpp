#include "NetCommands.h"

#include "Console.h"

#include "ZelNet/Dns.h"
#include "ZelNet/WsaStartupGuard.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace Zel {

namespace {

void Resolve(const std::wstring& name) {
    const ZelNet::CWsaStartupGuard winsock;
    const ZelNet::CIPHostEntry entry = ZelNet::CDns::GetHostEntry(name.c_str());
    Print(entry.GetHostName() + L"\n");
    for (const ZelNet::CIPAddress& address : entry.GetAddressList()) {
        Print(L"    " + address.ToString() + L"\n");
    }
}

void ShowLocal(const std::wstring& name) {
    const ZelNet::CWsaStartupGuard winsock;
    Print(name + (ZelNet::CDns::IsLocalMachine(name.c_str()) ? L" is this computer\n" : L" is another computer\n"));
}

void AddCommand(CLI::App& app, const char* name, const char* text, void (*run)(const std::wstring&)) {
    CLI::App* const command = app.add_subcommand(name, text);
    const auto host = std::make_shared<std::string>();
    command->add_option("name", *host, "The name or address of a host")->required();
    command->callback([run, host] { run(FromUtf8(*host)); });
}

} // namespace

void AddNetCommands(CLI::App& app) {
    AddCommand(app, "resolve", "Show the name and the addresses of a host", &Resolve);
    AddCommand(app, "local", "Show whether a name or address belongs to this computer", &ShowLocal);
}

} // namespace Zel
