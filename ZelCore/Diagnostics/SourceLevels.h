#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

struct IXMLDOMNode;

namespace ZelCore::Diagnostics {

/// The type of an event; one bit each.
enum class TraceEventType : std::uint32_t {
    Critical = 0x1,    ///< the program cannot continue
    Error = 0x2,       ///< something failed
    Warning = 0x4,     ///< a problem that may cause a failure later
    Information = 0x8, ///< a successful operation
    Verbose = 0x10,    ///< details of an operation
    Start = 0x100,     ///< start of an activity
    Stop = 0x200,      ///< end of an activity
    Suspend = 0x400,   ///< suspension of an activity
    Resume = 0x800,    ///< resumption of an activity
    Transfer = 0x1000, ///< transfer to another activity
};

/// The events that a switch lets pass: a mask of types, or a level that includes all more severe levels.
enum class SourceLevels : std::uint32_t {
    Off = 0,                  ///< none
    Critical = 0x1,           ///< only Critical
    Error = 0x3,              ///< Critical and Error
    Warning = 0x7,            ///< these and Warning
    Information = 0xF,        ///< these and Information
    Verbose = 0x1F,           ///< these and Verbose, but no activities
    ActivityTracing = 0xFF00, ///< Start, Stop, Suspend, Resume and Transfer
    All = 0xFFFFFFFF,         ///< every type, including custom ones
};

/// Combines the events of two masks.
constexpr SourceLevels operator|(SourceLevels a, SourceLevels b) noexcept {
    return static_cast<SourceLevels>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

/// Whether a mask includes a type of event.
constexpr bool Includes(SourceLevels levels, TraceEventType type) noexcept {
    return (static_cast<std::uint32_t>(levels) & static_cast<std::uint32_t>(type)) != 0;
}

} // namespace ZelCore::Diagnostics

namespace ZelCore::Configuration {

/// Parses the levels of a configuration: names of levels, spelled as in the enumeration, and decimal numbers, separated
/// by commas or spaces: "Warning, ActivityTracing". Empty text is Off. Throws CArgumentException for "value" for other
/// words, and CArgumentNullException for "in"; the value is then unchanged.
ZELCORE_API void Deserialize(IXMLDOMNode* in, Diagnostics::SourceLevels& value);

} // namespace ZelCore::Configuration

namespace ZelCore::Diagnostics {

using ZelCore::Configuration::Deserialize; // found there by configuration properties of this type

} // namespace ZelCore::Diagnostics
