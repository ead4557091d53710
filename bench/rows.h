// The rows of the table, registered with the benchmark library by subject.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "bench/bench_files.h"
#include "bench/bench_host.h"
#include "bench/report.h"

namespace vantor::bench {

void RegisterDecodeRows(const BenchFolder& folder);    // from end to end, in order; and peaks
void RegisterCallbackRows(const BenchFolder& folder);  // small requests of many sources at a time
void RegisterRandomRows(const BenchFolder& folder);    // here and there
void RegisterOpenRows(const BenchFolder& folder);      // open, parse, close
void RegisterMemoryRows(const BenchFolder& folder);    // many sources, idle and playing
void RegisterEditRows(const BenchFolder& folder);      // one tag changed

// Opens sources as `contestant`, idle or playing, and prints the KiB that each keeps resident; of playing
// ones also what is left when the module has given back what it can. To be run in a process of its own, whose
// heap nothing has used before.
void MeasureMemory(const BenchFolder& folder, const std::string& contestant, const std::string& work,
                   int files);

// Registers `body(state)` as "row/contestant"; an exception becomes the benchmark's error. Every run shows as
// a dot.
template <typename Body>
void Register(const std::string& row, const char* contestant, Body body) {
    benchmark::RegisterBenchmark((row + "/" + contestant).c_str(), [body](benchmark::State& state) {
        std::fputc('.', stderr);
        try {
            body(state);
        } catch (const std::exception& failure) {
            state.SkipWithError(failure.what());
        }
    });
}

}  // namespace vantor::bench
