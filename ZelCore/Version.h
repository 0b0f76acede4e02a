#pragma once

#include "ZelCore/Export.h"

#include <compare>
#include <string>

namespace ZelCore {

/// A version number of two to four parts: major.minor[.build[.revision]]. A copyable value.
class ZELCORE_API CVersion {
public:
    /// Parses two to four decimal numbers separated by dots. Each is at most 2147483647. Any other text throws
    /// CArgumentException for "version" with the text as message; null throws CArgumentNullException.
    explicit CVersion(const wchar_t* version);

    /// Constructs a version with all four parts. A negative number throws CArgumentException for that part.
    CVersion(int major, int minor, int build, int revision);

    /// The first two parts, which every version has; never negative.
    ///@{
    int GetMajor() const noexcept;
    int GetMinor() const noexcept;
    ///@}

    /// The other parts, or -1 if the version does not have that part.
    ///@{
    int GetBuild() const noexcept;
    int GetRevision() const noexcept;
    ///@}

    /// Returns the first `fieldCount` parts, 0 to 4, separated by dots. Throws CArgumentException for "fieldCount" for
    /// any other count and for a count that requires an absent part.
    std::wstring ToString(int fieldCount) const;

    /// Compare part by part as numbers. An absent part sorts before 0, so that 1.2 is less than 1.2.0.
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
