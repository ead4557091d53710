// The benchmarks' command line: the options of the benchmark library, and
//   --quick   fewer repetitions on shorter files, for a first look
#include <cstdio>
#include <cstring>
#include <vector>

#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int32_t quickAudioSeconds = 10;

int RunMemoryMeasurement(const char* argument) {
    char contestant[32], work[32], folder[400];
    int files = 0;
    if (std::sscanf(argument, "%31[^,],%31[^,],%d,%399s", contestant, work, &files, folder) != 4) return 2;
    MeasureMemory(BenchFolder(fs::path(folder)), contestant, work, files);
    return 0;
}

int RunRows(std::vector<char*> arguments, bool quick) {
    // What is asked for on the command line comes later, and wins.
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char repetitions[] = "--benchmark_repetitions=9";
    char fewRepetitions[] = "--benchmark_repetitions=3";
    char minimumTime[] = "--benchmark_min_time=0.02";
    arguments.insert(arguments.begin() + 1,
                     {interleaving, quick ? fewRepetitions : repetitions, minimumTime});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    BenchFolder folder;
    if (quick) folder.SetAudioSeconds(quickAudioSeconds);
    RegisterDecodeRows(folder);
    RegisterCallbackRows(folder);
    RegisterRandomRows(folder);
    RegisterOpenRows(folder);
    RegisterMemoryRows(folder);
    RegisterEditRows(folder);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

int Run(std::vector<char*> arguments) {
    constexpr std::string_view memoryOption = "--memory=";
    LoadModule();
    bool quick = false;
    for (size_t i = 1; i < arguments.size();) {
        const std::string_view argument = arguments[i];
        if (argument.starts_with(memoryOption))
            return RunMemoryMeasurement(arguments[i] + memoryOption.size());
        if (argument == "--quick") {
            quick = true;
            arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
    return RunRows(std::move(arguments), quick);
}

}  // namespace

}  // namespace vantor::bench

int main(int argc, char** argv) {
    try {
        return vantor::bench::Run({argv, argv + argc});
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
