#pragma once

/// \file
/// Where an exception says that it was thrown.

namespace ZelCore {

/// The line that a throw site reports: its own, or one that is part of a published contract and must
/// not move when code above it does. Made for ZEL_SITE.
///@{
constexpr int SiteLine(int own) {
    return own;
}
constexpr int SiteLine(int, int published) {
    return published;
}
///@}

} // namespace ZelCore

/// The last three arguments of every exception of the family: method name, source file and line.
///
///     void Fill(unsigned char* buffer) {
///         if (buffer == nullptr) {
///             throw CArgumentNullException(L"buffer", nullptr, ZEL_SITE(L"Fill"));
///         }
///         *buffer = 1;
///     }
///
/// A second argument replaces the line of the place itself. Helpers that check on behalf of many callers
/// take the caller's site as their last three arguments.
#define ZEL_SITE(method, ...) (method), L"" __FILE__, ::ZelCore::SiteLine(__LINE__ __VA_OPT__(, ) __VA_ARGS__)
