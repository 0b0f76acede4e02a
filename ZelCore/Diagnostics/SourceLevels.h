#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

struct IXMLDOMNode;

namespace ZelCore::Diagnostics {

/// What an event tells: one bit each.
enum class TraceEventType : std::uint32_t {
    Critical = 0x1,    ///< the program cannot go on
    Error = 0x2,       ///< something failed
    Warning = 0x4,     ///< something may fail later
    Information = 0x8, ///< something was done
    Verbose = 0x10,    ///< how it was done
    Start = 0x100,     ///< an activity begins
    Stop = 0x200,      ///< it ends
    Suspend = 0x400,   ///< it waits
    Resume = 0x800,    ///< it goes on
    Transfer = 0x1000, ///< it goes over into another one
};

/// Which events a switch lets pass: a mask of types, or a level that includes those above it.
enum class SourceLevels : std::uint32_t {
    Off = 0,                  ///< none
    Critical = 0x1,           ///< Critical alone
    Error = 0x3,              ///< Critical and Error
    Warning = 0x7,            ///< these and Warning
    Information = 0xF,        ///< these and Information
    Verbose = 0x1F,           ///< these and Verbose, but no activities
    ActivityTracing = 0xFF00, ///< Start, Stop, Suspend, Resume and Transfer
    All = 0xFFFFFFFF,         ///< every type, also those of a program's own
};

/// The events that either of two masks lets pass.
constexpr SourceLevels operator|(SourceLevels a, SourceLevels b) noexcept {
    return static_cast<SourceLevels>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

/// Whether a mask lets events of a type pass.
constexpr bool Includes(SourceLevels levels, TraceEventType type) noexcept {
    return (static_cast<std::uint32_t>(levels) & static_cast<std::uint32_t>(type)) != 0;
}

} // namespace ZelCore::Diagnostics

namespace ZelCore::Configuration {

/// Reads the levels of a configuration: names of levels, spelled as the enumeration has them, and decimal numbers,
/// separated by commas or blanks: "Warning, ActivityTracing". Empty text is Off. Throws CArgumentException for "value"
/// for other words and CArgumentNullException for "in", and leaves the value as it was then.
ZELCORE_API void Deserialize(IXMLDOMNode* in, Diagnostics::SourceLevels& value);

} // namespace ZelCore::Configuration

namespace ZelCore::Diagnostics {

using ZelCore::Configuration::Deserialize; // where a configuration's property of levels looks for it

} // namespace ZelCore::Diagnostics
