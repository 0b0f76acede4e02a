// Reads a section of its own from read-settings.exe.config in the folder of the program.
#include "Print.h"

#include <ZelCore/Configuration/ConfigurationElementCollection.h>
#include <ZelCore/Configuration/ConfigurationManager.h>
#include <ZelCore/Configuration/ConfigurationProperty.h>
#include <ZelCore/Configuration/ConfigurationSection.h>
#include <ZelCore/Exception.h>
#include <ZelWin32/ComInitGuard.h>

#include <cstdio>

using namespace ZelCore::Configuration;

namespace {

// <add name="main" port="8080"/>
class CServerElement final : public CConfigurationElement {
public:
    CServerElement() : CConfigurationElement(L"add") {}
    void GetProperties(PropertyList& properties) override {
        properties.push_back(&port);
    }
    CConfigurationProperty<std::uint32_t> port{L"port", true};
};

// <backup folder="..." verify="true"> <servers> ... </servers> </backup>
class CBackupSection final : public CConfigurationSection {
public:
    CBackupSection() : CConfigurationSection(L"backup") {}
    std::wstring GetTypeName() override {
        return L"Samples.BackupSection"; // as configSections declares it
    }
    void GetProperties(PropertyList& properties) override {
        properties.insert(properties.end(), {&folder, &verify, &servers});
    }
    CConfigurationProperty<std::wstring> folder{L"folder", true};
    CConfigurationProperty<bool> verify{L"verify", false, true}; // true where the file does not say
    CConfigurationProperty<CConfigurationElementCollection<CServerElement>, 0> servers{L"servers", false};
};

} // namespace

int wmain() {
    try {
        const ZelWin32::CComInitGuard com; // the parser is a COM component
        CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(L"");
        CBackupSection backup;
        if (!configuration.GetSection(L"samples/backup", backup)) {
            Print(stdout, ZelCore::CString::Format(L"no settings in %s\n", configuration.GetPath().c_str()));
            return 1;
        }
        Print(stdout, ZelCore::CString::Format(L"folder %s, verify %d\n", backup.folder.GetValue().c_str(),
                                               backup.verify.GetValue()));
        for (const auto& [name, server] : backup.servers.GetValue()) {
            Print(stdout, ZelCore::CString::Format(L"server %s at port %u\n", name.c_str(), server->port.GetValue()));
        }
    } catch (const ZelCore::CException& e) {
        return Report(e);
    }
    return 0;
}
