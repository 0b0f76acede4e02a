#pragma once

#include "ZelCore/Export.h"

#include <compare>
#include <string>

namespace ZelCore {

/// A version number of two to four parts: major.minor[.build[.revision]]. A copyable value.
class ZELCORE_API CVersion {
public:
    /// Reads two to four decimal numbers separated by dots and nothing else. Each is at most 2147483647.
    /// Any other text throws CArgumentException for "version" with the text as message, null CArgumentNullException.
    explicit CVersion(const wchar_t* version);

    /// All four parts. A negative number throws CArgumentException for that part.
    CVersion(int major, int minor, int build, int revision);

    /// The first two parts, which every version has: 0 or more.
    ///@{
    int GetMajor() const noexcept;
    int GetMinor() const noexcept;
    ///@}

    /// The other parts; -1 when the version has no such part.
    ///@{
    int GetBuild() const noexcept;
    int GetRevision() const noexcept;
    ///@}

    /// The first `fieldCount` parts, 0 to 4, separated by dots.
    /// Another count, or one that needs an absent part, throws CArgumentException for "fieldCount".
    std::wstring ToString(int fieldCount) const;

    /// Part by part as numbers; an absent part sorts before 0, so that 1.2 is less than 1.2.0.
    ///@{
    std::strong_ordering operator<=>(const CVersion& other) const noexcept;
    bool operator==(const CVersion& other) const noexcept;
    ///@}

private:
    bool TryParseInternal(const wchar_t* version) noexcept;
    static void ValidateInternal(int major, int minor, int build, int revision);
    int CompareToInternal(const CVersion& other) const noexcept;

    int m_major = -1;
    int m_minor = -1;
    int m_build = -1;
    int m_revision = -1;
};

} // namespace ZelCore
