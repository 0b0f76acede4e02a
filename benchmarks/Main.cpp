#include "Measure.h"

#include "ZelCore/Exception.h"
#include "ZelCore/IO/Path.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace ZelBench {

double Time(const std::function<void()>& action) {
    LARGE_INTEGER frequency, begin, end;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&begin);
    action();
    ::QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - begin.QuadPart) / static_cast<double>(frequency.QuadPart);
}

void PrintRow(const char* name, const char* against, double ours, double raw, double target) {
    std::printf("| %-34s | %-32s | %10.3f ms | %10.3f ms | %6.2f | %5.2f |%s\n", name, against, ours * 1000, raw * 1000,
                ours / raw, target, ours / raw <= target ? "" : " missed");
    std::fflush(stdout);
}

double Run(const Benchmark& benchmark) {
    std::vector<double> ours, raw;
    benchmark.raw(); // both sides run once before the measurement
    benchmark.ours();
    for (int i = 0; i < benchmark.repeats; ++i) {
        raw.push_back(Time(benchmark.raw));
        ours.push_back(Time(benchmark.ours));
    }
    const auto median = [](std::vector<double>& times) {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    };
    const double ourTime = median(ours), rawTime = median(raw);
    PrintRow(benchmark.name, benchmark.against, ourTime, rawTime, benchmark.target);
    return ourTime / rawTime;
}

std::string MakeMixedText(std::size_t size) {
    std::string text;
    text.reserve(size + 100);
    std::uint64_t state = 1;
    while (text.size() < size) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        switch (state >> 61) {
        case 0:
            text += std::to_string(state);
            break;
        case 1:
            text += "\r\n    return value != nullptr ? value->GetLength() : 0;";
            break;
        default:
            for (std::uint64_t i = 0, bits = state >> 8; i < 6; ++i, bits >>= 7) {
                text += static_cast<char>('a' + bits % 26);
            }
            text += ' ';
        }
    }
    text.resize(size);
    return text;
}

std::wstring GetScratchPath(const wchar_t* name) {
    return ZelCore::IO::CPath::Combine(ZelCore::IO::CPath::GetTempPathW().c_str(), name);
}

} // namespace ZelBench

/// zelbench FOLDER [--only TEXT] [ARCHIVE ENTRY SECONDS]: the folder for temporary files, and an archive with the time
/// in which Python opened it.
int wmain(int argc, wchar_t** argv) {
    using namespace ZelBench;
    if (argc < 2) {
        return 2;
    }
    ::SetEnvironmentVariableW(L"TMP", argv[1]); // Wine takes the variable from its registry, not from its parent
    ++argv;
    --argc;
    std::string only;
    if (argc > 2 && std::wcscmp(argv[1], L"--only") == 0) {
        const std::wstring wide = argv[2];
        std::transform(wide.begin(), wide.end(), std::back_inserter(only),
                       [](wchar_t c) { return static_cast<char>(c); });
        argv += 2;
        argc -= 2;
    }
    try {
        std::printf("| %-34s | %-32s | %13s | %13s | %6s | %5s |\n", "work", "against", "ours", "raw", "ratio", "most");
        std::printf("|---|---|---:|---:|---:|---:|\n");
        if (only.empty() || only == "records") {
            RunRecordsBenchmark();
        }
        for (const auto& make : {MakeTextBenchmarks, MakeStreamBenchmarks, MakeArchiveBenchmarks, MakeCryptoBenchmarks,
                                 MakeDiagnosticsBenchmarks, MakeNetBenchmarks}) {
            for (const Benchmark& benchmark : make()) {
                if (std::strstr(benchmark.name, only.c_str()) != nullptr) {
                    Run(benchmark);
                }
            }
        }
        if (argc > 3) {
            RunOpenBenchmark(argv[1], argv[2], std::wcstod(argv[3], nullptr));
        }
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    return 0;
}
