#pragma once

#include <cstdint>

namespace ZelCore::Diagnostics {

/// What an event tells: one bit each.
enum class TraceEventType : std::uint32_t {
    Critical = 0x1,
    Error = 0x2,
    Warning = 0x4,
    Information = 0x8,
    Verbose = 0x10,
    Start = 0x100,
    Stop = 0x200,
    Suspend = 0x400,
    Resume = 0x800,
    Transfer = 0x1000,
};

/// Which events a switch lets pass: a mask of types, or a level that includes those above it.
enum class SourceLevels : std::uint32_t {
    Off = 0,
    Critical = 0x1,
    Error = 0x3,
    Warning = 0x7,
    Information = 0xF,
    Verbose = 0x1F,
    ActivityTracing = 0xFF00, ///< Start, Stop, Suspend, Resume and Transfer
    All = 0xFFFFFFFF,
};

constexpr SourceLevels operator|(SourceLevels a, SourceLevels b) noexcept {
    return static_cast<SourceLevels>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

/// Whether a mask lets events of a type pass.
constexpr bool Includes(SourceLevels levels, TraceEventType type) noexcept {
    return (static_cast<std::uint32_t>(levels) & static_cast<std::uint32_t>(type)) != 0;
}

} // namespace ZelCore::Diagnostics
