#include "Console.h"

#include "ZelCore/String.h"

#include <windows.h>

namespace Zel {

namespace {

constexpr unsigned Utf8 = 65001;
constexpr std::size_t LineWidth = 78;

bool IsConsole(HANDLE stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(stream, &mode) != FALSE;
}

void Write(DWORD stream, const std::wstring& text) {
    const HANDLE handle = ::GetStdHandle(stream);
    DWORD written = 0;
    if (IsConsole(handle)) {
        ::WriteConsoleW(handle, text.c_str(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const std::string bytes = ToUtf8(text);
    for (std::size_t at = 0; at < bytes.size(); at += written) {
        if (!::WriteFile(handle, bytes.data() + at, static_cast<DWORD>(bytes.size() - at), &written, nullptr) ||
            written == 0) {
            return; // the reader has ended
        }
    }
}

} // namespace

void Print(const std::wstring& text) {
    Write(STD_OUTPUT_HANDLE, text);
}

void PrintError(const std::wstring& text) {
    Write(STD_ERROR_HANDLE, text);
}

std::wstring FromUtf8(const std::string& text) {
    const std::size_t start = text.starts_with(BracketMark) ? 1 : 0;
    return text.size() == start
               ? std::wstring()
               : ZelCore::CString::ToWideChar(text.data() + start, static_cast<int>(text.size() - start), Utf8);
}

std::string ToUtf8(const std::wstring& text) {
    return text.empty() ? std::string()
                        : ZelCore::CString::ToMultiByte(text.data(), static_cast<int>(text.size()), Utf8);
}

Progress::Progress(std::uint64_t total) : m_visible(IsConsole(::GetStdHandle(STD_ERROR_HANDLE))), m_total(total) {}

Progress::~Progress() {
    if (m_visible && m_shownAt != 0) {
        try {
            PrintError(L"\r" + std::wstring(LineWidth, L' ') + L"\r");
        } catch (...) { // a remaining line is harmless
        }
    }
}

void Progress::NextFile(const std::wstring& name) {
    ++m_files;
    m_name = name;
    Show();
}

void Progress::AddBytes(std::uint64_t count) {
    m_bytes += count;
    Show();
}

void Progress::Show() {
    constexpr std::uint64_t interval = 100; // milliseconds
    const std::uint64_t now = ::GetTickCount64();
    if (!m_visible || now < m_shownAt + interval) {
        return;
    }
    m_shownAt = now;
    const double megabytes = static_cast<double>(m_bytes) / 1'000'000;
    std::wstring line = m_total != 0 ? ZelCore::CString::Format(L"%I64u of %I64u, %.1f MB  %s", m_files, m_total,
                                                                megabytes, m_name.c_str())
                                     : ZelCore::CString::Format(L"%.1f MB  %s", megabytes, m_name.c_str());
    line.resize(LineWidth, L' ');
    PrintError(L"\r" + line);
}

} // namespace Zel
