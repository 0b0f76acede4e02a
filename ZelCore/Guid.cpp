#include "ZelCore/Guid.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/String.h"
#include "ZelWin32/UniqueHandle.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <rpc.h>

namespace ZelCore {

namespace {

struct RpcStringTraits {
    using Type = RPC_WSTR;
    static Type Invalid() noexcept {
        return nullptr;
    }
    static void Close(Type text) noexcept {
        ::RpcStringFreeW(&text);
    }
};

void CheckRpc(RPC_STATUS status, const wchar_t* method, const wchar_t* file, int line) {
    if (status != RPC_S_OK) {
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(status), nullptr, method, file, line);
    }
}

/// Returns the upper-case letter of a GUID format.
wchar_t GetFormatLetter(const wchar_t* format) {
    // Site: checks for ToString.
    if (format == nullptr || *format == L'\0') {
        return L'D';
    }
    const wchar_t letter = static_cast<wchar_t>(*format & ~0x20);
    if (format[1] != L'\0' || (letter != L'B' && letter != L'D' && letter != L'N' && letter != L'P')) {
        throw CArgumentOutOfRangeException(L"format", format, nullptr, ZEL_SITE(L"ZelCore::CGuid::ToString"));
    }
    return letter;
}

} // namespace

static_assert(sizeof(CGuid) == sizeof(GUID) && alignof(CGuid) == alignof(GUID));

CGuid::CGuid() noexcept = default;

CGuid::CGuid(const std::vector<unsigned char>& guidBytes) {
    if (guidBytes.size() != m_bytes.size()) {
        throw CArgumentException(L"guidBytes", nullptr, ZEL_SITE(L"ZelCore::CGuid::CGuid"));
    }
    std::copy(guidBytes.begin(), guidBytes.end(), m_bytes.begin());
}

CGuid::CGuid(const _GUID& guid) noexcept {
    std::memcpy(m_bytes.data(), &guid, m_bytes.size());
}

CGuid CGuid::NewGuid() {
    GUID guid;
    CheckRpc(::UuidCreate(&guid), ZEL_SITE(L"ZelCore::CGuid::NewGuid"));
    return CGuid(guid);
}

CGuid CGuid::Parse(const wchar_t* guid) {
    CheckNotNull(guid, L"guid", ZEL_SITE(L"ZelCore::CGuid::Parse"));
    if (*guid == L'\0') {
        throw CArgumentException(L"guid", nullptr, ZEL_SITE(L"ZelCore::CGuid::Parse"));
    }
    constexpr std::size_t hyphenatedLength = 36;
    std::wstring text = *guid == L'{' ? std::wstring(guid + 1, ::wcsnlen(guid + 1, hyphenatedLength)) : guid;
    GUID parsed;
    // Wine and Windows differ in the other forms that they accept, so the length is checked here.
    if (text.size() != hyphenatedLength ||
        ::UuidFromStringW(reinterpret_cast<RPC_WSTR>(text.data()), &parsed) != RPC_S_OK) {
        throw CArgumentException(L"guid", CString::Format(L"Invalid GUID string '%s'", guid).c_str(),
                                 ZEL_SITE(L"ZelCore::CGuid::Parse"));
    }
    return CGuid(parsed);
}

std::wstring CGuid::ToString(const wchar_t* format) const {
    const wchar_t letter = GetFormatLetter(format);
    GUID guid;
    std::memcpy(&guid, m_bytes.data(), sizeof(guid));
    RPC_WSTR raw = nullptr;
    CheckRpc(::UuidToStringW(&guid, &raw), ZEL_SITE(L"ZelCore::CGuid::ToString"));
    const ZelWin32::UniqueHandle<RpcStringTraits> owner(raw);
    std::wstring text(reinterpret_cast<const wchar_t*>(raw));
    switch (letter) {
    case L'N':
        std::erase(text, L'-');
        return text;
    case L'B':
        return L"{" + text + L"}";
    case L'P':
        return L"(" + text + L")";
    default:
        return text;
    }
}

std::vector<unsigned char> CGuid::ToByteArray() const {
    return {m_bytes.begin(), m_bytes.end()};
}

} // namespace ZelCore
