#include "ConfigCheck.h"

#include "ConfigText.h"

#include "ZelCore/Exception.h"
#include "ZelCore/Guid.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace Zel {

namespace {

using ZelCore::CString;

using Names = std::vector<std::wstring>;

std::wstring ToLower(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 0x20) : c; });
    return text;
}

/// Returns how many letters must be changed, added or removed to convert one word to the other, ignoring case.
std::size_t CountEdits(const std::wstring& from, const std::wstring& to) {
    const std::wstring a = ToLower(from), b = ToLower(to);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1] ? 1 : 0)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

/// Returns ", did you mean 'name'?" if a known word is similar.
std::wstring Suggest(const std::wstring& word, const Names& known) {
    const auto nearest = std::min_element(known.begin(), known.end(), [&](const auto& a, const auto& b) {
        return CountEdits(word, a) < CountEdits(word, b);
    });
    return nearest != known.end() && !word.empty() && 2 * CountEdits(word, *nearest) <= word.size()
               ? L"; did you mean '" + *nearest + L"'?"
               : L"";
}

std::wstring Quote(const std::wstring& text) {
    return L"'" + text + L"'";
}

const Names Levels = {L"Off",         L"Critical", L"Error",           L"Warning",
                      L"Information", L"Verbose",  L"ActivityTracing", L"All"};

/// The value of a property, from an attribute or a child element.
struct Value {
    std::wstring text;
    int line = 0;
    bool isThere = false;
};

Value Get(const TextElement& element, const std::wstring& name) {
    if (const auto* attribute = element.FindAttribute(name)) {
        return {attribute->value, attribute->line, true};
    }
    if (const TextElement* child = element.FindChild(name)) {
        return {CString::Trim(child->text, L" \t\r\n"), child->line, true};
    }
    return {};
}

bool IsNumber(const std::wstring& text) {
    const std::size_t sign = text.starts_with(L'-') ? 1 : 0;
    constexpr std::size_t mostDigits = 18;
    return text.size() > sign && text.size() <= sign + mostDigits &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(sign), text.end(),
                       [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

class Check {
public:
    explicit Check(const std::wstring& path) : m_path(path) {}

    std::vector<std::wstring> Run() {
        int stopped = 0;
        const std::unique_ptr<TextElement> root = ScanText(m_path, stopped);
        if (!root) {
            Add(stopped, L"the check ended here: the rest of the file was not checked");
            return m_findings;
        }
        if (root->name != L"configuration") {
            Add(root->line, L"the root element is " + Quote(root->name) + L", not 'configuration': nothing is read");
            return m_findings;
        }
        CheckCase(*root, {L"configSections", L"system.diagnostics", L"zel"});
        CheckLogDirectory(*root);
        CheckSection(*root);
        return m_findings;
    }

private:
    void Add(int line, const std::wstring& text) {
        m_findings.push_back(m_included + L"line " + std::to_wstring(line) + L": " + text);
    }

    /// Other sections are not checked, except that the spelling of their names may show that one of these was intended.
    void CheckCase(const TextElement& element, const Names& known) {
        for (const auto& child : element.children) {
            const auto same = std::find_if(known.begin(), known.end(), [&](const std::wstring& name) {
                return child->name != name && ToLower(child->name) == ToLower(name);
            });
            if (same != known.end()) {
                Add(child->line,
                    L"element " + Quote(child->name) + L" is not read; did you mean " + Quote(*same) + L"?");
            }
        }
    }

    /// Returns the section itself, or the one in the file of its configSource; null if there is none to check.
    const TextElement* Follow(const TextElement& section) {
        const auto* source = section.FindAttribute(L"configSource");
        if (source == nullptr) {
            return &section;
        }
        const std::wstring folder =
            ZelCore::IO::CPath::GetDirectoryName(ZelCore::IO::CPath::GetFullPath(m_path.c_str()).c_str());
        int stopped = 0;
        try {
            m_files.push_back(ScanText(ZelCore::IO::CPath::Combine(folder.c_str(), source->value.c_str()), stopped));
        } catch (const ZelCore::CException&) {
            Add(source->line, L"configSource " + Quote(source->value) + L" cannot be read");
            return nullptr;
        }
        m_included = source->value + L", ";
        if (!m_files.back()) {
            Add(stopped, L"the check ended here: the rest of the file was not checked");
        }
        return m_files.back().get();
    }

    void CheckAttributes(const TextElement& element, const Names& known) {
        for (const auto& attribute : element.attributes) {
            const bool isOfXml = attribute.name.find(L':') != std::wstring::npos || attribute.name == L"xmlns";
            if (!isOfXml && std::find(known.begin(), known.end(), attribute.name) == known.end()) {
                Add(attribute.line, L"attribute " + Quote(attribute.name) + L" of " + Quote(element.name) +
                                        L" is not read" + Suggest(attribute.name, known));
            }
        }
    }

    void CheckChildren(const TextElement& element, const Names& known) {
        std::set<std::wstring> seen;
        for (const auto& child : element.children) {
            const bool isKnown = std::find(known.begin(), known.end(), child->name) != known.end();
            if (!isKnown || element.FindAttribute(child->name) != nullptr || !seen.insert(child->name).second) {
                Add(child->line, L"element " + Quote(child->name) + L" in " + Quote(element.name) + L" is not read" +
                                     (isKnown ? L": another value is taken" : Suggest(child->name, known)));
            }
        }
    }

    void CheckKnown(const TextElement& element, const Names& attributes, const Names& children) {
        CheckAttributes(element, attributes);
        CheckChildren(element, children);
    }

    void CheckLogDirectory(const TextElement& root) {
        const TextElement* const group = root.FindChild(L"zel");
        const TextElement* const section = group != nullptr ? group->FindChild(L"zel.diagnostics") : nullptr;
        if (group != nullptr) {
            CheckKnown(*group, {}, {L"zel.diagnostics"});
        }
        if (section == nullptr) {
            return;
        }
        if (!IsDeclared(root)) {
            Add(section->line, L"'zel.diagnostics' is not read: configSections does not declare it in the sectionGroup "
                               L"'zel' with the type 'Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,"
                               L"Zel.Core'");
            return;
        }
        if (const TextElement* const content = Follow(*section)) {
            CheckKnown(*content, {L"logDirectory", L"configSource", L"name"}, {L"logDirectory"});
            m_hasLogDirectory = !Get(*content, L"logDirectory").text.empty();
        }
        m_included.clear();
    }

    static bool IsDeclared(const TextElement& root) {
        const auto isNamed = [](const TextElement& element, const wchar_t* tag, const wchar_t* name) {
            const auto* attribute = element.FindAttribute(L"name");
            return element.name == tag && attribute != nullptr && attribute->value == name;
        };
        const TextElement* const declarations = root.FindChild(L"configSections");
        if (declarations == nullptr) {
            return false;
        }
        for (const auto& group : declarations->children) {
            for (const auto& section : group->children) {
                const auto* type = section->FindAttribute(L"type");
                if (isNamed(*group, L"sectionGroup", L"zel") && isNamed(*section, L"section", L"zel.diagnostics") &&
                    type != nullptr &&
                    type->value == L"Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core") {
                    return true;
                }
            }
        }
        return false;
    }

    void CheckSection(const TextElement& root) {
        const TextElement* const element = root.FindChild(L"system.diagnostics");
        const TextElement* const section = element != nullptr ? Follow(*element) : nullptr;
        if (section == nullptr) {
            return;
        }
        CheckKnown(*section, {L"configSource", L"name"}, {L"sources", L"switches", L"sharedListeners"});
        const auto entries = [&](const wchar_t* name, const wchar_t* tag) {
            const TextElement* const collection = section->FindChild(name);
            return collection != nullptr ? CollectEntries(*collection, tag) : Entries{};
        };
        const Entries listeners = entries(L"sharedListeners", L"add"), switches = entries(L"switches", L"add"),
                      sources = entries(L"sources", L"source");
        for (const auto& [name, entry] : listeners) {
            CheckListener(*entry);
        }
        for (const auto& [name, entry] : switches) {
            CheckKnown(*entry, {L"name", L"value"}, {L"name", L"value"});
            const Value value = Get(*entry, L"value");
            if (!value.isThere) {
                Add(entry->line, L"switch " + Quote(name) + L" has no value: the first event fails");
            }
            CheckLevels(value);
        }
        for (const auto& [name, entry] : sources) {
            CheckSource(*entry, name, switches, listeners);
        }
    }

    using Entries = std::map<std::wstring, const TextElement*>;

    static Names GetNames(const Entries& entries) {
        Names names;
        for (const auto& entry : entries) {
            names.push_back(entry.first);
        }
        return names;
    }

    Entries CollectEntries(const TextElement& collection, const std::wstring& tag) {
        CheckAttributes(collection, {});
        Entries entries;
        for (const auto& child : collection.children) {
            const Value name = Get(*child, L"name");
            if (child->name != tag) {
                Add(child->line, L"element " + Quote(child->name) + L" is read like every other entry of " +
                                     Quote(collection.name) + L": as " + Quote(tag));
            }
            if (!name.isThere || child->FindAttribute(L"name") == nullptr || name.text.empty()) {
                Add(child->line, L"an entry of " + Quote(collection.name) + L" has no attribute 'name'" +
                                     (name.isThere ? L"" : L": the first event fails"));
                continue;
            }
            const TextElement*& entry = entries[name.text];
            if (entry != nullptr) {
                Add(entry->line, Quote(name.text) + L" is not read: line " + std::to_wstring(child->line) +
                                     L" has an entry of the same name");
            }
            entry = child.get();
        }
        return entries;
    }

    void CheckSource(const TextElement& source, const std::wstring& name, const Entries& switches,
                     const Entries& listeners) {
        const Names known = {L"name", L"switchName", L"switchValue", L"propagate", L"inherit", L"listeners"};
        CheckKnown(source, Names(known.begin(), known.end() - 1), known);
        const Value switchName = Get(source, L"switchName"), switchValue = Get(source, L"switchValue");
        if (switchName.isThere && switchValue.isThere) {
            Add(source.line, L"source " + Quote(name) + L" has both switchName and switchValue: the first event fails");
        }
        if (!switchName.text.empty() && !switches.contains(switchName.text)) {
            Add(switchName.line, L"there is no switch " + Quote(switchName.text) + L": the first event fails" +
                                     Suggest(switchName.text, GetNames(switches)));
        }
        CheckLevels(switchValue);
        for (const wchar_t* const flag : {L"propagate", L"inherit"}) {
            CheckFlag(Get(source, flag), flag);
        }
        const TextElement* const collection = source.FindChild(L"listeners");
        if (collection == nullptr) {
            return;
        }
        for (const auto& [listener, entry] : CollectEntries(*collection, L"add")) {
            if (!listeners.contains(listener)) {
                Add(entry->line, L"there is no shared listener " + Quote(listener) + L": the first event fails" +
                                     Suggest(listener, GetNames(listeners)));
            }
            for (const auto& attribute : entry->attributes) {
                if (attribute.name != L"name") {
                    Add(attribute.line, L"attribute " + Quote(attribute.name) +
                                            L" has no effect here: in a source only the name of a listener counts");
                }
            }
        }
    }

    void CheckListener(const TextElement& listener) {
        const Names known = {L"name",         L"type", L"initializeData", L"maximumFileSize", L"maximumNumberOfFiles",
                             L"countFailures"};
        CheckKnown(listener, known, known);
        const Value type = Get(listener, L"type"), data = Get(listener, L"initializeData");
        const Names types = {L"FileLog", L"EventProvider", L"Console"};
        if (!type.text.empty() && std::find(types.begin(), types.end(), type.text) == types.end()) {
            Add(type.line, L"type " + Quote(type.text) + L" writes to standard output" + Suggest(type.text, types));
        }
        CheckSizes(listener);
        CheckFlag(Get(listener, L"countFailures"), L"countFailures");
        const int line = data.isThere ? data.line : listener.line;
        if (type.text == L"FileLog") {
            CheckFileName(data.text, line);
        } else if (type.text == L"EventProvider" && !IsGuid(data.text)) {
            Add(line, L"initializeData " + Quote(data.text) + L" is no GUID: the first event fails");
        }
    }

    static bool IsGuid(const std::wstring& text) {
        try {
            ZelCore::CGuid::Parse(text.c_str());
            return true;
        } catch (const ZelCore::CException&) {
            return false;
        }
    }

    void CheckFileName(const std::wstring& name, int line) {
        if (name.empty()) {
            Add(line, L"a FileLog has no initializeData, the name of its file: the first event fails");
        }
        for (std::size_t at = 0; (at = name.find(L'%', at)) != std::wstring::npos;) {
            const std::size_t end = std::min(name.find(L'%', at + 1), name.size());
            const std::wstring token = name.substr(at + 1, end - at - 1);
            if (token == L"LOGDIRECTORY" && !m_hasLogDirectory) {
                Add(line, L"%LOGDIRECTORY% stands for nothing: no 'zel.diagnostics' is read that has a logDirectory");
            } else if (!token.empty() && token != L"LOGDIRECTORY" && token != L"USERNAME") {
                Add(line, L"%" + token +
                              L"% in a file name: only %LOGDIRECTORY%, %USERNAME% and %% are known, the "
                              L"first event fails");
            }
            at = std::min(end + 1, name.size());
        }
    }

    void CheckNumber(const Value& value, const std::wstring& name, std::int64_t read, bool fails) {
        if (value.isThere && (fails || !IsNumber(value.text) || std::to_wstring(read) != value.text)) {
            Add(value.line, name + L" " + Quote(value.text) + L" is read as " + std::to_wstring(read) +
                                (fails ? L": the first event fails" : L""));
        }
    }

    void CheckSizes(const TextElement& listener) {
        const Value size = Get(listener, L"maximumFileSize"), files = Get(listener, L"maximumNumberOfFiles");
        const std::int64_t bytes = ::_wtoi64(size.text.c_str());
        CheckNumber(size, L"maximumFileSize", bytes, bytes < 1 && bytes != -1);
        const std::int64_t count = static_cast<std::uint32_t>(::_wtoi(files.text.c_str()));
        CheckNumber(files, L"maximumNumberOfFiles", count, count == 0);
    }

    void CheckFlag(const Value& value, const std::wstring& name) {
        const std::wstring text = ToLower(value.text);
        if (value.isThere && text != L"true" && text != L"false") {
            Add(value.line, name + L" " + Quote(value.text) + L" is read as false: only 'true' is true");
        }
    }

    void CheckLevels(const Value& value) {
        for (const std::wstring& word : CString::Split(value.text, L", ")) {
            if (!word.empty() && !IsNumber(word) && std::find(Levels.begin(), Levels.end(), word) == Levels.end()) {
                Add(value.line,
                    L"level " + Quote(word) + L" is not known: the first event fails" + Suggest(word, Levels));
            }
        }
        if (value.isThere && CString::Trim(value.text, L", ").empty()) {
            Add(value.line, L"an empty level is read as Off");
        }
    }

    std::wstring m_path;
    std::wstring m_included;
    std::vector<std::unique_ptr<TextElement>> m_files;
    bool m_hasLogDirectory = false;
    std::vector<std::wstring> m_findings;
};

} // namespace

std::vector<std::wstring> FindSuspicious(const std::wstring& path) {
    return Check(path).Run();
}

} // namespace Zel
