#include "ConfigText.h"

#include "Files.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <utility>

namespace Zel {

namespace {

std::string ReadBytes(const std::wstring& path) {
    ZelCore::IO::CFileStream file = OpenForReading(path);
    std::string bytes(static_cast<std::size_t>(file.GetLength()) + 1, '\0');
    bytes.resize(file.GreedyRead(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size() - 1));
    return bytes;
}

/// Decodes well-formed UTF-8; any other byte becomes the character of the same number.
std::wstring Decode(const std::string& bytes) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() > 1 && (at(0) >= 0xFE || at(0) == 0 || at(1) == 0)) {
        const std::size_t high = at(0) == 0xFE || at(0) == 0 ? 0 : 1;
        std::wstring text;
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            text += static_cast<wchar_t>(at(i + high) * 256 + at(i + 1 - high));
        }
        return text;
    }
    const std::wstring text = FromUtf8(bytes);
    if (text.find(L'\xFFFD') == std::wstring::npos) {
        return text;
    }
    std::wstring latin;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        latin += static_cast<wchar_t>(at(i));
    }
    return latin;
}

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

std::wstring Resolve(const std::wstring& raw) {
    static const std::pair<const wchar_t*, wchar_t> entities[] = {
        {L"&lt;", L'<'}, {L"&gt;", L'>'}, {L"&quot;", L'"'}, {L"&apos;", L'\''}, {L"&amp;", L'&'}};
    std::wstring text;
    for (std::size_t i = 0; i < raw.size();) {
        const auto found = std::find_if(std::begin(entities), std::end(entities), [&](const auto& entity) {
            return raw.compare(i, std::wstring(entity.first).size(), entity.first) == 0;
        });
        if (found != std::end(entities)) {
            text += found->second;
            i += std::wstring(found->first).size();
        } else if (raw.compare(i, 2, L"&#") == 0) {
            const bool isHexadecimal = i + 2 < raw.size() && raw[i + 2] == L'x';
            const unsigned long code =
                std::wcstoul(raw.c_str() + i + (isHexadecimal ? 3 : 2), nullptr, isHexadecimal ? 16 : 10);
            text += code < 0x10000 ? static_cast<wchar_t>(code) : L'?';
            i = std::min(raw.find(L';', i), raw.size() - 1) + 1;
        } else {
            text += raw[i++];
        }
    }
    return text;
}

class Scanner {
public:
    explicit Scanner(std::wstring text) : m_text(std::move(text)) {}

    std::unique_ptr<TextElement> Run() {
        while (m_at < m_text.size()) {
            if (m_text[m_at] != L'<') {
                ReadText();
            } else if (!SkipPast(L"<!--", L"-->") && !SkipPast(L"<?", L"?>") && !ReadData() && !ReadTag()) {
                return nullptr;
            }
        }
        return m_open.empty() ? std::move(m_root) : nullptr;
    }
    int GetLine() const {
        return m_line;
    }

private:
    bool Starts(const wchar_t* with) const {
        return m_text.compare(m_at, std::wstring(with).size(), with) == 0;
    }
    void MoveTo(std::size_t end) {
        end = std::min(end, m_text.size());
        m_line += static_cast<int>(std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_at),
                                              m_text.begin() + static_cast<std::ptrdiff_t>(end), L'\n'));
        m_at = end;
    }
    bool SkipPast(const wchar_t* begin, const wchar_t* end) {
        if (!Starts(begin)) {
            return false;
        }
        const std::size_t found = m_text.find(end, m_at + std::wstring(begin).size());
        MoveTo(found == std::wstring::npos ? found : found + std::wstring(end).size());
        return true;
    }
    void ReadText() {
        const std::size_t end = std::min(m_text.find(L'<', m_at), m_text.size());
        if (!m_open.empty()) {
            m_open.back()->text += Resolve(m_text.substr(m_at, end - m_at));
        }
        MoveTo(end);
    }
    bool ReadData() {
        const std::size_t begin = m_at + 9;
        if (!SkipPast(L"<![CDATA[", L"]]>") || m_open.empty()) {
            return false;
        }
        m_open.back()->text += m_text.substr(begin, m_at - begin - 3);
        return true;
    }
    void SkipBlanks() {
        std::size_t end = m_at;
        while (end < m_text.size() && IsBlank(m_text[end])) {
            ++end;
        }
        MoveTo(end);
    }
    std::wstring ReadName() {
        std::size_t end = m_at;
        while (end < m_text.size() && !IsBlank(m_text[end]) && !std::wcschr(L"/>=<\"'", m_text[end])) {
            ++end;
        }
        const std::wstring name = m_text.substr(m_at, end - m_at);
        MoveTo(end);
        return name;
    }
    bool ReadTag() {
        MoveTo(m_at + 1);
        if (Starts(L"/")) {
            MoveTo(m_at + 1);
            const bool matches = !m_open.empty() && ReadName() == m_open.back()->name;
            SkipBlanks();
            if (!matches || !Starts(L">")) {
                return false;
            }
            m_open.pop_back();
            MoveTo(m_at + 1);
            return true;
        }
        auto element = std::make_unique<TextElement>();
        element->line = m_line;
        element->name = ReadName();
        for (SkipBlanks(); !Starts(L">") && !Starts(L"/>"); SkipBlanks()) {
            if (!ReadAttribute(*element)) {
                return false;
            }
        }
        const bool isClosed = Starts(L"/");
        MoveTo(m_at + (isClosed ? 2 : 1));
        return !element->name.empty() && Add(std::move(element), isClosed);
    }
    bool ReadAttribute(TextElement& element) {
        TextElement::Attribute attribute;
        attribute.line = m_line;
        attribute.name = ReadName();
        SkipBlanks();
        if (attribute.name.empty() || !Starts(L"=")) {
            return false;
        }
        MoveTo(m_at + 1);
        SkipBlanks();
        if (!Starts(L"\"") && !Starts(L"'")) {
            return false;
        }
        const std::size_t end = m_text.find(m_text[m_at], m_at + 1);
        if (end == std::wstring::npos) {
            return false;
        }
        attribute.value = Resolve(m_text.substr(m_at + 1, end - m_at - 1));
        MoveTo(end + 1);
        element.attributes.push_back(std::move(attribute));
        return true;
    }
    bool Add(std::unique_ptr<TextElement> element, bool isClosed) {
        TextElement* const added = element.get();
        if (!m_open.empty()) {
            m_open.back()->children.push_back(std::move(element));
        } else if (!m_root) {
            m_root = std::move(element);
        } else {
            return false;
        }
        if (!isClosed) {
            m_open.push_back(added);
        }
        return true;
    }

    std::wstring m_text;
    std::size_t m_at = 0;
    int m_line = 1;
    std::unique_ptr<TextElement> m_root;
    std::vector<TextElement*> m_open;
};

} // namespace

const TextElement::Attribute* TextElement::FindAttribute(const std::wstring& wanted) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const Attribute& attribute) { return attribute.name == wanted; });
    return found != attributes.end() ? &*found : nullptr;
}

const TextElement* TextElement::FindChild(const std::wstring& wanted) const {
    const auto found =
        std::find_if(children.begin(), children.end(), [&](const auto& child) { return child->name == wanted; });
    return found != children.end() ? found->get() : nullptr;
}

std::unique_ptr<TextElement> ScanText(const std::wstring& path, int& stopped) {
    Scanner scanner(Decode(ReadBytes(path)));
    std::unique_ptr<TextElement> root = scanner.Run();
    stopped = root ? 0 : scanner.GetLine();
    return root;
}

} // namespace Zel
