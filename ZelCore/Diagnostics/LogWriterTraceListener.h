#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Diagnostics {

/// Writes one line for each event to a log file, as UTF-8 with CR LF. Every line is with the system when TraceEvent
/// returns: what the process does later, crash included, does not lose it. Threads and processes may share a file.
///
/// A file of limited size is rolled: "app.log" becomes "app.000000001.log", then "app.000000002.log" and so on; the
/// oldest are deleted.
class ZELCORE_API CLogWriterTraceListener : public CTraceListener {
public:
    /// Makes the folder if there is none. The file is opened with the first event.
    ///
    /// \param fileName the file's path, from the program's folder where it is relative. "%LOGDIRECTORY%" stands for
    ///                 the expanded "logDirectory" of the program's configuration (section "zel/zel.diagnostics"),
    ///                 "%USERNAME%" for the user's name, "%%" for a percent sign; CConfigurationException for any
    ///                 other token, and where there is no log directory
    /// \param maximumFileSize bytes, at least 1, or -1 for no limit; a longer line has a file of its own
    /// \param maximumNumberOfFiles how many files are kept, with the current one; at least 1
    ///
    /// Throws CArgumentNullException and CArgumentOutOfRangeException, CArgumentException for an empty "fileName", what
    /// reading the configuration throws, and CWin32Exception for the folder.
    CLogWriterTraceListener(const wchar_t* name, const wchar_t* fileName, std::int64_t maximumFileSize,
                            std::uint32_t maximumNumberOfFiles);
    /// Closes the file, unless another listener of the process writes to it.
    ~CLogWriterTraceListener() override;

    /// Throws CWin32Exception when the line cannot be written; it is then not or not wholly in the file. A roll that
    /// fails is no failure: the file grows until it can be rolled.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;

    /// The full path of the current file, the same before and after a roll. Valid while the listener lives.
    const std::wstring& GetPath() const noexcept;

private:
    std::wstring m_path;
    std::int64_t m_maximumFileSize;
    std::uint32_t m_maximumNumberOfFiles;
    std::shared_ptr<class CLogFile> m_file; // one for all listeners of the file
};

} // namespace ZelCore::Diagnostics
