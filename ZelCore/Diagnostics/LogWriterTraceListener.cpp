#include "ZelCore/Diagnostics/LogWriterTraceListener.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Diagnostics/Configuration/ZelDiagnosticsSection.h"
#include "ZelCore/Diagnostics/LogFile.h"
#include "ZelCore/Diagnostics/TraceFormatter.h"
#include "ZelCore/Environment.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/PEModule.h"

namespace ZelCore::Diagnostics {

using ZelCore::Configuration::CConfigurationException;

namespace {

// Site: the constructor and the helpers that check for it.
const wchar_t* const Constructor = L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener";

std::wstring GetToken(const std::wstring& token, const wchar_t* fileName) {
    if (token.empty()) {
        return L"%";
    }
    if (token == L"USERNAME") {
        return CEnvironment::GetUserNameW();
    }
    if (token != L"LOGDIRECTORY") {
        throw CConfigurationException(
            CString::Format(L"Invalid token '%s' in file name '%s'.", token.c_str(), fileName).c_str(),
            ZEL_SITE(Constructor));
    }
    const std::wstring directory =
        Configuration::CZelDiagnosticsSection::GetZelDiagnosticsConfiguration(L"").GetLogDirectoryExpanded();
    if (directory.empty()) {
        throw CConfigurationException(L"The configuration has no \"logDirectory\" for the log file",
                                      ZEL_SITE(Constructor));
    }
    return directory;
}

std::wstring MakePath(const wchar_t* fileName) {
    std::wstring path;
    const std::wstring pattern = fileName;
    for (std::size_t at = 0; at < pattern.size();) {
        const std::size_t begin = std::min(pattern.find(L'%', at), pattern.size());
        path.append(pattern, at, begin - at);
        const std::size_t end = pattern.find(L'%', begin + 1);
        if (begin == pattern.size()) {
            break;
        }
        path += GetToken(pattern.substr(begin + 1, end == std::wstring::npos ? end : end - begin - 1), fileName);
        at = end == std::wstring::npos ? pattern.size() : end + 1;
    }
    const std::wstring program = ZelWin32::CPEModule::GetModuleFileNameW(nullptr);
    path = IO::CPath::Combine(IO::CPath::GetDirectoryName(program.c_str()).c_str(), path.c_str());
    return IO::CPath::GetFullPath(path.c_str());
}

} // namespace

CLogWriterTraceListener::CLogWriterTraceListener(const wchar_t* name, const wchar_t* fileName,
                                                 std::int64_t maximumFileSize, std::uint32_t maximumNumberOfFiles)
    : CTraceListener(name), m_maximumFileSize(maximumFileSize), m_maximumNumberOfFiles(maximumNumberOfFiles) {
    CheckNotEmpty(fileName, L"fileName", ZEL_SITE(Constructor));
    if (maximumFileSize < 1 && maximumFileSize != -1) {
        throw CArgumentOutOfRangeException(L"maximumFileSize", std::to_wstring(maximumFileSize).c_str(), nullptr,
                                           ZEL_SITE(Constructor));
    }
    if (maximumNumberOfFiles == 0) {
        throw CArgumentOutOfRangeException(L"maximumNumberOfFiles", L"0", nullptr, ZEL_SITE(Constructor));
    }
    m_path = MakePath(fileName);
    m_file = CLogFile::Get(m_path);
}

CLogWriterTraceListener::~CLogWriterTraceListener() = default;

void CLogWriterTraceListener::TraceEvent(const TraceEventContext& context, const wchar_t*, TraceEventType type,
                                         unsigned int, const wchar_t* message) {
    m_file->Write(CTraceFormatter::FormatLine(context, type, message), {m_maximumFileSize, m_maximumNumberOfFiles});
}

const std::wstring& CLogWriterTraceListener::GetPath() const noexcept {
    return m_path;
}

} // namespace ZelCore::Diagnostics
