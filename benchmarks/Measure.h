#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ZelBench {

/// One figure: our way and the raw way to do the same work, as a ratio of medians.
struct Benchmark {
    const char* name;
    const char* against;
    double target; ///< the ratio to stay below
    int repeats;   ///< measurements of either side, taken in turn; at least five
    std::function<void()> ours;
    std::function<void()> raw;
};

/// Seconds that one call takes.
double Time(const std::function<void()>& action);

/// Measures both sides in turn, prints the line of the result and returns the ratio.
double Run(const Benchmark& benchmark);

void PrintRow(const char* name, const char* against, double ours, double raw, double target);

std::vector<Benchmark> MakeStreamBenchmarks();
std::vector<Benchmark> MakeArchiveBenchmarks();
std::vector<Benchmark> MakeTextBenchmarks();
std::vector<Benchmark> MakeCryptoBenchmarks();
std::vector<Benchmark> MakeDiagnosticsBenchmarks();
std::vector<Benchmark> MakeNetBenchmarks();

/// Small records encrypted one by one, which by hand load the system's provider each time. To be run first: the
/// library keeps the provider loaded from its first use on.
void RunRecordsBenchmark();

/// The time to open an archive and read one entry, against what Python took for it (in seconds).
void RunOpenBenchmark(const std::wstring& archive, const std::wstring& entry, double python);

/// Text that compresses like source code and logs, the same on every run.
std::string MakeMixedText(std::size_t size);

/// A path in the folder for temporary files.
std::wstring GetScratchPath(const wchar_t* name);

} // namespace ZelBench
