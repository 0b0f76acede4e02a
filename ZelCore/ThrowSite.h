#pragma once

/// \file
/// The throw site of exceptions.

namespace ZelCore {

/// Returns the line that a throw site reports: its own line, or a published one, which is part of a contract and must
/// not change when code above it moves. Used by ZEL_SITE.
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
/// An optional second argument replaces the line number. Helpers that check on behalf of many callers take the caller's
/// site as their last three arguments.
#define ZEL_SITE(method, ...) (method), L"" __FILE__, ::ZelCore::SiteLine(__LINE__ __VA_OPT__(, ) __VA_ARGS__)
