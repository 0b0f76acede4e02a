#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ZelBench {

/// One figure: the ratio of the medians of the library and of direct calls for the same work.
struct Benchmark {
    const char* name;
    const char* against;
    double target; ///< the ratio should be below
    int repeats;   ///< measurements of each side, alternating; at least five
    std::function<void()> ours;
    std::function<void()> raw;
};

/// Returns the time of one call in seconds.
double Time(const std::function<void()>& action);

/// Measures both sides alternately, prints the line of the result and returns the ratio.
double Run(const Benchmark& benchmark);

void PrintRow(const char* name, const char* against, double ours, double raw, double target);

std::vector<Benchmark> MakeStreamBenchmarks();
std::vector<Benchmark> MakeArchiveBenchmarks();
std::vector<Benchmark> MakeTextBenchmarks();
std::vector<Benchmark> MakeCryptoBenchmarks();
std::vector<Benchmark> MakeDiagnosticsBenchmarks();
std::vector<Benchmark> MakeNetBenchmarks();

/// Encrypts small records one by one; direct calls load the system's provider each time. Must run first, because the
/// library keeps the provider loaded after its first use.
void RunRecordsBenchmark();

/// Measures the time to open an archive and read one entry, relative to that of Python (in seconds).
void RunOpenBenchmark(const std::wstring& archive, const std::wstring& entry, double python);

/// Returns text that compresses like source code and logs, identical in every run.
std::string MakeMixedText(std::size_t size);

/// Returns a path in the folder for temporary files.
std::wstring GetScratchPath(const wchar_t* name);

} // namespace ZelBench
