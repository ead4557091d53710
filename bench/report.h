// Collects the repetitions of every benchmark and prints a table of ratios.
//
// A benchmark is called "row/contestant". Of its repetitions the median counts, in processor time: every file
// comes from the page cache, so that on an idle machine this is the time elapsed, and on a busy one it does
// not count what others use. In rows whose files come from the disk the time elapsed counts.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace vantor::bench {

// The contestants, as they stand in the names.
inline constexpr const char* tuned = "tuned";            // the module, in the read setting that suits the row
inline constexpr const char* byDefault = "default";      // the module, in the setting it chooses by itself
inline constexpr const char* rival = "libsndfile";       // the same work through libsndfile
inline constexpr const char* bytesAlone = "bytes";       // reading the bytes in large pieces, nothing else
inline constexpr const char* bytesAndDoubles = "limit";  // and writing as many doubles

// The end of the names of such rows.
inline constexpr const char* coldRow = ", cold, elapsed";

// Counters of the rows that play in callbacks, in microseconds of processor time.
inline constexpr const char* firstCallback = "first callback, us";
inline constexpr const char* medianCallback = "median callback, us";
inline constexpr const char* slowestCallback = "slowest later callback, us";

class RatioReporter final : public benchmark::ConsoleReporter {
  public:
    RatioReporter() : ConsoleReporter(OO_None) {}
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;  // prints the tables

  private:
    struct Result {
        std::vector<double> seconds;
        std::map<std::string, double> counters;  // the least of all repetitions
    };
    struct Row {
        std::string name;
        int64_t place;  // among the registered benchmarks
        std::map<std::string, Result> results;
    };

    void PrintRatios() const;
    void PrintCallbacks() const;
    void PrintCounters() const;
    Row& RowOf(const std::string& name, int64_t place);

    std::vector<Row> rows_;
};

}  // namespace vantor::bench
