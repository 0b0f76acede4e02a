#include "ZelCore/Diagnostics/Configuration/ZelDiagnosticsSection.h"

#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/Environment.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/ComInitGuard.h"
#include "ZelWin32/CriticalSection.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/Win32Exception.h"

#include <map>
#include <memory>
#include <mutex>

namespace ZelCore::Diagnostics::Configuration {

using ZelCore::Configuration::CConfigurationException;
using ZelCore::Configuration::CConfigurationManager;

namespace {

struct Sections {
    ZelWin32::CCriticalSection lock;
    std::map<std::wstring, std::unique_ptr<CZelDiagnosticsSection>> byPath;
};

/// Never destroyed, because threads may trace while the process ends.
Sections& GetSections() {
    static Sections& sections = *new Sections;
    return sections;
}

} // namespace

CZelDiagnosticsSection::CZelDiagnosticsSection() : CConfigurationSection(L"zel.diagnostics") {}
CZelDiagnosticsSection::~CZelDiagnosticsSection() = default;

CZelDiagnosticsSection& CZelDiagnosticsSection::GetZelDiagnosticsConfiguration(const std::wstring& path) {
    const std::wstring full = path.empty() ? ZelWin32::CPEModule::GetModuleFileNameW(nullptr) + L".config"
                                           : IO::CPath::GetFullPath(path.c_str());
    std::wstring key = full;
    ::CharUpperBuffW(key.data(), static_cast<DWORD>(key.size()));
    Sections& sections = GetSections();
    const std::lock_guard<ZelWin32::CCriticalSection> lock(sections.lock);
    std::unique_ptr<CZelDiagnosticsSection>& kept = sections.byPath[key];
    if (!kept) {
        auto section = std::make_unique<CZelDiagnosticsSection>();
        const ZelWin32::CComInitGuard com;
        CConfigurationManager::OpenExeConfiguration(full).GetSection(L"zel/zel.diagnostics", *section);
        section->GetLogDirectoryExpanded(); // while no other thread can access it
        kept = std::move(section);
    }
    return *kept;
}

void CZelDiagnosticsSection::Deserialize(IXMLDOMElement* xmlIn) {
    m_logDirectoryExpanded.clear();
    CConfigurationSection::Deserialize(xmlIn);
}

void CZelDiagnosticsSection::GetProperties(PropertyList& properties) {
    properties.push_back(&m_logDirectory);
}

std::wstring CZelDiagnosticsSection::GetTypeName() {
    return L"Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core";
}

const std::wstring& CZelDiagnosticsSection::GetLogDirectoryExpanded() const {
    if (m_logDirectoryExpanded.empty() && !GetLogDirectory().empty()) {
        try {
            m_logDirectoryExpanded = CEnvironment::ExpandEnvironmentVariables(GetLogDirectory().c_str());
        } catch (const ZelWin32::CWin32Exception& e) {
            throw CConfigurationException(
                (L"Cannot expand the log directory '" + GetLogDirectory() + L"': " + e.GetErrorMessage()).c_str(),
                ZEL_SITE(L"ZelCore::Diagnostics::Configuration::CZelDiagnosticsSection::GetLogDirectoryExpanded"));
        }
    }
    return m_logDirectoryExpanded;
}

} // namespace ZelCore::Diagnostics::Configuration
