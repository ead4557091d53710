#include "bench/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace vantor::bench {

namespace {

// What is wanted of a row: at least so many times the speed of libsndfile.
struct Goal {
    const char* row;
    double ratio;
};
constexpr Goal goals[] = {
    {"decode u8 512", 3.3},
    {"decode s16 512", 2.4},
    {"decode s24 512", 2.7},
    {"decode s32 512", 1.6},
    {"decode f32 512", 1.45},
    {"decode f64 512", 1.0},
    {"decode f64 4096", 1.0},
    {"decode ulaw 512", 2.6},
    {"decode s16be 512", 2.6},
    {"decode s24be 512", 2.8},
    {"decode ima 512", 9},
    {"decode ima tonal 512", 12},
    {"decode ms 512", 4.4},
    {"random s16 512", 1.2},
    {"random s24 512", 1.2},
    {"random ima 512", 8},
    {"random ms 512", 3},
    {"open 2000 tagged", 3},
    {"open 2000 tagged, 10 MB of audio each", 3},
};

double Median(std::vector<double> values) {
    if (values.empty()) return std::nan("");
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// "-" for what is not known.
std::string Number(double value, const char* format) {
    if (!std::isfinite(value)) return "-";
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string WantedOf(const std::string& row) {
    for (const Goal& goal : goals)
        if (row == goal.row) return Number(goal.ratio, "%.2f");
    return "-";
}

}  // namespace

RatioReporter::Row& RatioReporter::RowOf(const std::string& name, int64_t place) {
    for (Row& row : rows_)
        if (row.name == name) return row;
    return rows_.emplace_back(Row{name, place, {}});
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) continue;
        const std::string& name = run.run_name.function_name;
        const size_t slash = name.rfind('/');
        Result& result = RowOf(name.substr(0, slash), run.family_index).results[name.substr(slash + 1)];
        if (run.error_occurred) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
            continue;
        }
        const bool isCold = std::string_view(name).substr(0, slash).ends_with(coldRow);
        result.seconds.push_back((isCold ? run.real_accumulated_time : run.cpu_accumulated_time) /
                                 static_cast<double>(run.iterations));
        // Of several repetitions the quietest counts: what others do to a callback is not the module's.
        for (const auto& [counter, value] : run.counters) {
            const auto known = result.counters.try_emplace(counter, value.value).first;
            known->second = std::min<double>(known->second, value.value);
        }
    }
}

void RatioReporter::Finalize() {
    std::fputc('\n', stderr);
    std::sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.place < b.place; });
    PrintRatios();
    PrintCallbacks();
    PrintCounters();
}

void RatioReporter::PrintRatios() const {
    std::printf("Times the speed of libsndfile (medians of interleaved repetitions):\n\n");
    std::printf("| %-40s | %7s | %6s | %6s | %6s | %6s | %11s |\n", "row", "default", "tuned", "wanted",
                "limit", "bytes", "default, ms");
    std::printf("|%s|---------|--------|--------|--------|--------|-------------|\n",
                std::string(42, '-').c_str());
    for (const Row& row : rows_) {
        const auto seconds = [&row](const char* contestant) {
            const auto found = row.results.find(contestant);
            return Median(found == row.results.end() ? std::vector<double>() : found->second.seconds);
        };
        const auto ratio = [&](const char* contestant) {
            return Number(seconds(rival) / seconds(contestant), "%.2f");
        };
        std::printf("| %-40s | %7s | %6s | %6s | %6s | %6s | %11s |\n", row.name.c_str(),
                    ratio(byDefault).c_str(), ratio(tuned).c_str(), WantedOf(row.name).c_str(),
                    ratio(bytesAndDoubles).c_str(), ratio(bytesAlone).c_str(),
                    Number(seconds(byDefault) * 1e3, "%.3f").c_str());
    }
}

void RatioReporter::PrintCallbacks() const {
    std::printf("\nMicroseconds of processor time a callback: median / slowest but the first / first:\n\n");
    std::printf("| %-40s | %24s | %24s | %24s |\n", "row", byDefault, tuned, rival);
    std::printf("|%s|%s:|%s:|%s:|\n", std::string(42, '-').c_str(), std::string(25, '-').c_str(),
                std::string(25, '-').c_str(), std::string(25, '-').c_str());
    for (const Row& row : rows_) {
        if (!row.name.starts_with("play ")) continue;
        const auto times = [&row](const char* contestant) {
            const auto counted = [&](const char* name, const char* format) {
                const auto result = row.results.find(contestant);
                if (result == row.results.end()) return std::string("-");
                const auto counter = result->second.counters.find(name);
                return counter == result->second.counters.end() ? "-" : Number(counter->second, format);
            };
            return counted(medianCallback, "%.2f") + " / " + counted(slowestCallback, "%.1f") + " / " +
                   counted(firstCallback, "%.1f");
        };
        std::printf("| %-40s | %24s | %24s | %24s |\n", row.name.c_str(), times(byDefault).c_str(),
                    times(tuned).c_str(), times(rival).c_str());
    }
}

void RatioReporter::PrintCounters() const {
    std::printf("\nCounted:\n\n");
    for (const Row& row : rows_)
        for (const auto& [contestant, result] : row.results)
            for (const auto& [counter, value] : result.counters)
                if (!counter.ends_with("callback, us"))
                    std::printf("- %s, %s: %.2f %s\n", row.name.c_str(), contestant.c_str(), value,
                                counter.c_str());
}

}  // namespace vantor::bench
