#include "Measure.h"

#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"
#include "ZelCore/Diagnostics/LogWriterTraceListener.h"
#include "ZelCore/Diagnostics/Stopwatch.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Duration.h"
#include "ZelWin32/ComInitGuard.h"

#include <windows.h>

#include <cwchar>
#include <msxml2.h>
#include <oleauto.h>
#include <regex>

namespace ZelBench {

namespace {

using namespace ZelCore;
using namespace ZelCore::Diagnostics;

constexpr int Many = 200'000;
constexpr int Events = 20'000;
constexpr int Entries = 1000;

volatile std::int64_t g_sink;

CTraceSource& GetRejecting() {
    static CTraceSource source(L"Rejecting");
    source.GetSourceSwitch().SetLevel(SourceLevels::Error);
    return source;
}

CTraceSource& GetLogging() {
    static CTraceSource& source = []() -> CTraceSource& {
        auto& made = *new CTraceSource(L"Logging");
        made.GetSourceSwitch().SetLevel(SourceLevels::All);
        made.AddTraceListener(
            std::make_shared<CLogWriterTraceListener>(L"bench", GetScratchPath(L"bench.log").c_str(), -1, 1));
        return made;
    }();
    return source;
}

void RejectOurs() {
    const CTraceSource& source = GetRejecting();
    for (int i = 0; i < Many; ++i) {
        source.TraceEvent(L"Function", L"File.cpp", i, TraceEventType::Information, L"message");
    }
}

void CriticalSectionRaw() {
    CRITICAL_SECTION section;
    ::InitializeCriticalSection(&section);
    for (int i = 0; i < Many; ++i) {
        ::EnterCriticalSection(&section);
        ::LeaveCriticalSection(&section);
    }
    ::DeleteCriticalSection(&section);
}

void LogOurs() {
    const CTraceSource& source = GetLogging();
    for (int i = 0; i < Events; ++i) {
        source.TraceEvent(L"Function", L"folder\\File.cpp", i, TraceEventType::Information,
                          L"a message of some length");
    }
}

int FormatFields(wchar_t* line, std::size_t size, const wchar_t* format, const SYSTEMTIME& time, int i) {
    return ::_snwprintf_s(line, size, _TRUNCATE, format, time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute,
                          time.wSecond, time.wMilliseconds * 10'000, L"Z", ::GetCurrentThreadId(), L'I', L"File.cpp", i,
                          L"a message of some length");
}

void LogRaw() {
    static const HANDLE file = ::CreateFileW(GetScratchPath(L"raw.log").c_str(), FILE_APPEND_DATA, FILE_SHARE_READ,
                                             nullptr, CREATE_ALWAYS, 0, nullptr);
    wchar_t line[300];
    for (int i = 0; i < Events; ++i) {
        SYSTEMTIME time;
        ::GetSystemTime(&time);
        const int length = FormatFields(line, std::size(line),
                                        L"%04hd-%02hd-%02hdT%02hd:%02hd:%02hd.%.7d%s %04lx %c %s:%d %s\r\n", time, i);
        DWORD written = 0;
        ::WriteFile(file, line, static_cast<DWORD>(length) * sizeof(wchar_t), &written, nullptr);
    }
}

void FormatOurs() {
    const CDateTime time = CDateTime::UtcNow();
    for (int i = 0; i < Many; ++i) {
        g_sink = time.ToString(L"o", 127)[0];
    }
}

void FormatRaw() {
    SYSTEMTIME time;
    ::GetSystemTime(&time);
    wchar_t text[100];
    for (int i = 0; i < Many; ++i) {
        FormatFields(text, std::size(text), L"%04hd-%02hd-%02hdT%02hd:%02hd:%02hd.%.7d%s", time, i);
        g_sink = text[0];
    }
}

void FromDateOurs() {
    for (int i = 0; i < Many; ++i) {
        g_sink = CDateTime::FromDate(1900 + i % 200, 1 + i % 12, 1 + i % 28).GetTicks();
    }
}

void ToDateOurs() {
    const std::int64_t first = CDateTime::FromDate(1900, 1, 1).GetTicks();
    for (int i = 0; i < Many; ++i) {
        const CDateTime date(first + i * CTimeSpan::TicksPerDay, DateTimeKind::Utc);
        int year = 0, month = 0, day = 0;
        date.GetDate(year, month, day);
        g_sink = year + month + day;
    }
}

void CalendarRaw() {
    for (int i = 0; i < Many; ++i) {
        const std::uint64_t ticks = 94'354'848'000'000'000u + static_cast<std::uint64_t>(i) * 864'000'000'000u;
        const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME fields;
        ::FileTimeToSystemTime(&time, &fields);
        g_sink = fields.wYear + fields.wMonth + fields.wDay;
    }
}

std::wstring MakeConfiguration() {
    std::wstring text = L"<configuration><system.diagnostics><sharedListeners>";
    for (int i = 0; i < Entries; ++i) {
        text += L"<add name='listener" + std::to_wstring(i) + L"' type='FileLog' initializeData='file.log'/>";
    }
    return text + L"</sharedListeners></system.diagnostics></configuration>";
}

ZelCore::Configuration::CConfiguration& GetConfiguration() {
    static const ZelWin32::CComInitGuard com;
    static const std::wstring text = MakeConfiguration();
    static auto& configuration = *new ZelCore::Configuration::CConfiguration(
        ZelCore::Configuration::CConfigurationManager::OpenExeConfigurationBuffer(text.c_str(), text.size()));
    return configuration;
}

void SectionOurs() {
    ZelCore::Diagnostics::Configuration::CSystemDiagnosticsSection section;
    GetConfiguration().GetSystemDiagnosticsSection(section);
    g_sink = static_cast<std::int64_t>(section.sharedListeners.GetValue().size());
}

IXMLDOMDocument* MakeDocument() {
    IXMLDOMDocument* document = nullptr;
    const CLSID version = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
    const IID id = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    GetConfiguration(); // initializes COM
    ::CoCreateInstance(version, nullptr, CLSCTX_INPROC_SERVER, id, reinterpret_cast<void**>(&document));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const BSTR text = ::SysAllocString(MakeConfiguration().c_str());
    document->loadXML(text, &loaded);
    ::SysFreeString(text);
    return document;
}

/// The same queries to the same nodes: the name, then the attribute or child of each property.
void SectionRaw() {
    static IXMLDOMDocument* const document = MakeDocument();
    IXMLDOMElement* root = nullptr;
    IXMLDOMNode *section = nullptr, *list = nullptr, *node = nullptr;
    document->get_documentElement(&root);
    root->get_firstChild(&section);
    section->get_firstChild(&list);
    list->get_firstChild(&node);
    std::map<std::wstring, std::shared_ptr<std::vector<std::wstring>>> entries;
    while (node != nullptr) {
        auto* const element = static_cast<IXMLDOMElement*>(node);
        std::wstring key;
        auto values = std::make_shared<std::vector<std::wstring>>();
        for (const wchar_t* name :
             {L"name", L"type", L"name", L"initializeData", L"maximumFileSize", L"maximumNumberOfFiles"}) {
            const BSTR text = ::SysAllocString(name);
            IXMLDOMAttribute* attribute = nullptr;
            IXMLDOMNode* child = nullptr;
            element->getAttributeNode(text, &attribute);
            if (attribute == nullptr) {
                node->selectSingleNode(text, &child);
            }
            ::SysFreeString(text);
            IXMLDOMNode* const found = attribute != nullptr ? attribute : child;
            if (found != nullptr) {
                BSTR value = nullptr;
                found->get_text(&value);
                (key.empty() ? key : values->emplace_back()).assign(value, ::SysStringLen(value));
                ::SysFreeString(value);
                found->Release();
            }
        }
        entries[key] = values;
        IXMLDOMNode* next = nullptr;
        node->get_nextSibling(&next);
        node->Release();
        node = next;
    }
    list->Release();
    section->Release();
    root->Release();
    g_sink = static_cast<std::int64_t>(entries.size());
}

void DurationOurs() {
    for (int i = 0; i < Many / 10; ++i) {
        CDuration duration;
        g_sink = CDuration::TryParse(L"P1Y2M3DT4H5M6.5S", duration) ? 1 : 0;
    }
}

void DurationRaw() {
    static const std::wregex expression(LR"(P(?:(\d+)Y)?(?:(\d+)M(?!\d+\.\d+S))?(?:(\d+)D)?)"
                                        LR"((?:(T)(?:(\d+)H)?(?:(\d+)M)?(?:(\d+(?:\.\d+)?)S)?)?)");
    for (int i = 0; i < Many / 10; ++i) {
        std::wcmatch match;
        g_sink = std::regex_match(L"P1Y2M3DT4H5M6.5S", match, expression) ? 1 : 0;
    }
}

} // namespace

std::vector<Benchmark> MakeDiagnosticsBenchmarks() {
    return {
        {"TraceEvent, rejected", "free critical section", 0.5, 9, &RejectOurs, &CriticalSectionRaw},
        {"TraceEvent to a log file", "_snwprintf_s and WriteFile", 1.5, 9, &LogOurs, &LogRaw},
        {"CDateTime::ToString(o)", "_snwprintf_s", 0.4, 9, &FormatOurs, &FormatRaw},
        {"CDateTime from a date", "FileTimeToSystemTime", 0.6, 9, &FromDateOurs, &CalendarRaw},
        {"CDateTime to a date", "FileTimeToSystemTime", 0.6, 9, &ToDateOurs, &CalendarRaw},
        {"GetSection of 1,000 entries", "the walk over the DOM by hand", 1.3, 9, &SectionOurs, &SectionRaw},
        {"CDuration::TryParse", "std::wregex", 0.1, 9, &DurationOurs, &DurationRaw},
        {"CStopwatch::GetTimestamp", "QueryPerformanceCounter", 1.1, 9,
         [] {
             for (int i = 0; i < Many; ++i) {
                 g_sink = CStopwatch::GetTimestamp();
             }
         },
         [] {
             for (int i = 0; i < Many; ++i) {
                 LARGE_INTEGER counter;
                 ::QueryPerformanceCounter(&counter);
                 g_sink = counter.QuadPart;
             }
         }},
    };
}

} // namespace ZelBench
