#include "EntryName.h"

#include "ZelCore/String.h"

#include <algorithm>
#include <iterator>

namespace Zel {

namespace {

using ZelCore::CString;

bool IsSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

/// "nul", "COM1.txt", "con .x": Windows checks the part before the first dot, without trailing spaces.
bool IsDeviceName(const std::wstring& component) {
    const std::wstring stem = CString::TrimEnd(component.substr(0, component.find(L'.')), L" ");
    const wchar_t* const devices[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$", L"CLOCK$"};
    const auto equals = [](const std::wstring& text, const wchar_t* name) {
        return CString::Compare(text.c_str(), name, ZelCore::StringComparison::OrdinalIgnoreCase) == 0;
    };
    if (std::any_of(std::begin(devices), std::end(devices), [&](const wchar_t* name) { return equals(stem, name); })) {
        return true;
    }
    const std::wstring_view digits = L"0123456789\u00B9\u00B2\u00B3";
    return stem.size() == 4 && digits.find(stem[3]) != std::wstring_view::npos &&
           (equals(stem.substr(0, 3), L"COM") || equals(stem.substr(0, 3), L"LPT"));
}

std::wstring FindDangerInComponent(const std::wstring& component) {
    if (component == L"." || component == L"..") {
        return L"it contains a relative folder name";
    }
    if (component.find_first_of(L":") != std::wstring::npos) {
        return L"it names a drive or a stream";
    }
    const auto isForbidden = [](wchar_t c) {
        return c < L' ' || std::wstring_view(L"<>\"|?*").find(c) != std::wstring_view::npos;
    };
    if (std::any_of(component.begin(), component.end(), isForbidden)) {
        return L"it contains a character that is not allowed in file names";
    }
    if (!component.empty() && (component.back() == L'.' || component.back() == L' ')) {
        return L"Windows would remove a trailing dot or space";
    }
    if (IsDeviceName(component)) {
        return L"it names a device";
    }
    return {};
}

} // namespace

std::wstring FindDanger(const std::wstring& entryName) {
    if (entryName.empty()) {
        return L"it is empty";
    }
    if (IsSeparator(entryName.front())) {
        return L"it is an absolute path";
    }
    for (const std::wstring& component : CString::Split(entryName, L"\\/")) {
        const std::wstring danger = FindDangerInComponent(component);
        if (!danger.empty()) {
            return danger;
        }
    }
    return {};
}

bool IsFolderName(const std::wstring& entryName) {
    return !entryName.empty() && IsSeparator(entryName.back());
}

} // namespace Zel
