#include "ZelCore/Version.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/String.h"

#include <limits>
#include <utility>

namespace ZelCore {

namespace {

/// Parses a number of at most INT_MAX and advances.
bool TryReadPart(const wchar_t*& text, int& part) noexcept {
    const wchar_t* const begin = text;
    long long value = 0;
    for (; *text >= L'0' && *text <= L'9'; ++text) {
        value = value * 10 + (*text - L'0');
        if (value > std::numeric_limits<int>::max()) {
            return false;
        }
    }
    part = static_cast<int>(value);
    return text != begin;
}

} // namespace

CVersion::CVersion(const wchar_t* version) {
    CheckNotNull(version, L"version", ZEL_SITE(L"ZelCore::CVersion::CVersion"));
    if (!TryParseInternal(version)) {
        throw CArgumentException(L"version", version, ZEL_SITE(L"ZelCore::CVersion::CVersion"));
    }
}

CVersion::CVersion(int major, int minor, int build, int revision)
    : m_major(major), m_minor(minor), m_build(build), m_revision(revision) {
    ValidateInternal(major, minor, build, revision);
}

int CVersion::GetMajor() const noexcept {
    return m_major;
}

int CVersion::GetMinor() const noexcept {
    return m_minor;
}

int CVersion::GetBuild() const noexcept {
    return m_build;
}

int CVersion::GetRevision() const noexcept {
    return m_revision;
}

std::wstring CVersion::ToString(int fieldCount) const {
    if (fieldCount == 0) {
        return {};
    }
    if (fieldCount == 1) {
        return CString::Format(L"%d", m_major);
    }
    if (fieldCount == 2) {
        return CString::Format(L"%d.%d", m_major, m_minor);
    }
    if (fieldCount == 3 && m_build >= 0) {
        return CString::Format(L"%d.%d.%d", m_major, m_minor, m_build);
    }
    if (fieldCount == 4 && m_build >= 0 && m_revision >= 0) {
        return CString::Format(L"%d.%d.%d.%d", m_major, m_minor, m_build, m_revision);
    }
    throw CArgumentException(L"fieldCount", nullptr, ZEL_SITE(L"ZelCore::CVersion::ToString"));
}

std::strong_ordering CVersion::operator<=>(const CVersion& other) const noexcept {
    return CompareToInternal(other) <=> 0;
}

bool CVersion::operator==(const CVersion& other) const noexcept {
    return CompareToInternal(other) == 0;
}

bool CVersion::TryParseInternal(const wchar_t* version) noexcept {
    if (!TryReadPart(version, m_major) || *version != L'.' || !TryReadPart(++version, m_minor)) {
        return false;
    }
    for (int* part : {&m_build, &m_revision}) {
        if (*version == L'\0') {
            return true;
        }
        if (*version != L'.' || !TryReadPart(++version, *part)) {
            return false;
        }
    }
    return *version == L'\0';
}

void CVersion::ValidateInternal(int major, int minor, int build, int revision) {
    const std::pair<const wchar_t*, int> parts[] = {
        {L"major", major}, {L"minor", minor}, {L"build", build}, {L"revision", revision}};
    for (const auto& [name, value] : parts) {
        if (value < 0) {
            throw CArgumentException(name, FormatOutOfRange(nullptr, std::to_wstring(value).c_str()).c_str(),
                                     ZEL_SITE(L"ZelCore::CVersion::ValidateInternal"));
        }
    }
}

int CVersion::CompareToInternal(const CVersion& other) const noexcept {
    for (int CVersion::*part : {&CVersion::m_major, &CVersion::m_minor, &CVersion::m_build, &CVersion::m_revision}) {
        if (this->*part != other.*part) {
            return this->*part < other.*part ? -1 : 1;
        }
    }
    return 0;
}

} // namespace ZelCore
