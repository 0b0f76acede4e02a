#pragma once

#include <cstdint>
#include <string>

namespace Zel {

/// Prints wide text on the standard streams: as UTF-16 to a console, as UTF-8 if the output is redirected.
void Print(const std::wstring& text);
void PrintError(const std::wstring& text);

/// Precedes an argument that starts with a bracket, which the parser would read as a list.
constexpr const char* BracketMark = "\x02";

/// Converts the text and removes the mark.
std::wstring FromUtf8(const std::string& text);
std::string ToUtf8(const std::wstring& text);

/// Shows the progress of a long command on standard error, if that is a console.
class Progress {
public:
    /// \param total the number of steps; 0 if unknown
    explicit Progress(std::uint64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /// Clears the line.
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
