#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Diagnostics {

/// Writes one line per event to a log file, as UTF-8 with CR LF. The line has been passed to the system when TraceEvent
/// returns, so it is not lost if the process crashes later. Threads and processes may share a file.
///
/// A file with a size limit is rolled: "app.log" becomes "app.000000001.log", then "app.000000002.log" and so on. The
/// oldest files are deleted.
class ZELCORE_API CLogWriterTraceListener : public CTraceListener {
public:
    /// Creates the folder if necessary. The file is opened with the first event.
    ///
    /// \param fileName the file's path; a relative path is relative to the program's folder. "%LOGDIRECTORY%" is
    ///                 replaced by the expanded "logDirectory" of the program's configuration (section
    ///                 "zel/zel.diagnostics"), "%USERNAME%" by the user's name, "%%" by a percent sign. Any other
    ///                 token, or a missing log directory, throws CConfigurationException.
    /// \param maximumFileSize in bytes, at least 1, or -1 for no limit; a longer line has a file of its own
    /// \param maximumNumberOfFiles the number of files that are kept, including the current one; at least 1
    ///
    /// Throws CArgumentNullException and CArgumentOutOfRangeException, CArgumentException for an empty "fileName",
    /// exceptions from reading the configuration, and CWin32Exception if the folder cannot be created.
    CLogWriterTraceListener(const wchar_t* name, const wchar_t* fileName, std::int64_t maximumFileSize,
                            std::uint32_t maximumNumberOfFiles);
    /// Closes the file, unless another listener of the process writes to it.
    ~CLogWriterTraceListener() override;

    /// Throws CWin32Exception if the line cannot be written; it is then missing or incomplete in the file. A failed
    /// roll is not an error: the file grows until it can be rolled.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;

    /// Returns the full path of the current file, which does not change when the file is rolled. Valid while the
    /// listener lives.
    const std::wstring& GetPath() const noexcept;

private:
    std::wstring m_path;
    std::int64_t m_maximumFileSize;
    std::uint32_t m_maximumNumberOfFiles;
    std::shared_ptr<class CLogFile> m_file; // shared by all listeners of the file
};

} // namespace ZelCore::Diagnostics
