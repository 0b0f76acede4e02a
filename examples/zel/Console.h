#pragma once

#include <cstdint>
#include <string>

namespace Zel {

/// Wide text on the standard streams: as it is on a console, as UTF-8 where the output is redirected.
void Print(const std::wstring& text);
void PrintError(const std::wstring& text);

/// Stands in front of an argument that starts with a bracket, which the parser would take for a list.
constexpr const char* BracketMark = "\x02";

/// The text without the mark.
std::wstring FromUtf8(const std::string& text);
std::string ToUtf8(const std::wstring& text);

/// Tells on standard error how far a long command has come; silent where that is no console.
class Progress {
public:
    /// \param total how many steps there are; 0 when that is not known
    explicit Progress(std::uint64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /// Wipes the line.
    ~Progress();

    void NextFile(const std::wstring& name);
    void AddBytes(std::uint64_t count);

private:
    void Show();

    bool m_visible;
    std::uint64_t m_total;
    std::uint64_t m_files = 0;
    std::uint64_t m_bytes = 0;
    std::uint64_t m_shownAt = 0;
    std::wstring m_name;
};

} // namespace Zel
