// One tag changed in a file of 1 GiB.
#include <fstream>

#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int64_t oneGib = 1073741820;  // whole frames

// What this process has asked the system to read and write.
struct ProcessCounts {
    int64_t read = 0;
    int64_t written = 0;
};

ProcessCounts CountsNow() {
    ProcessCounts counts;
    std::string label;
    std::ifstream("/proc/self/io") >> label >> counts.read >> label >> counts.written;
    return counts;
}

void ChangeTitle(PCM_source& source, int64_t take) {
    const std::string title = "Take " + std::to_string(take);
    const MetadataPair changes[] = {{"BWF:Description", title.c_str()}, {nullptr, nullptr}};
    const std::string target = std::string(source.FileName()) + ".new";
    if (source.ExtendedCall(callWriteMetadata, const_cast<char*>(target.c_str()),
                            const_cast<MetadataPair*>(changes),
                            reinterpret_cast<void*>(intptr_t{writeMerge})) != updatedInPlace)
        throw std::runtime_error("the tag was not changed in place");
}

void EditModule(benchmark::State& state, const std::string& fileName, const ReadSetting& setting) {
    SetReadSetting(setting);
    const auto source = OpenSource(fileName);
    int64_t take = 0;
    const auto before = CountsNow();
    for (auto _ : state)
        ChangeTitle(*source.Get(), ++take);
    const auto after = CountsNow();
    const auto edits = static_cast<double>(take);
    state.counters["bytes written an edit"] = static_cast<double>(after.written - before.written) / edits;
    state.counters["bytes read an edit"] = static_cast<double>(after.read - before.read) / edits;
}

}  // namespace

void RegisterEditRows(const BenchFolder& folder) {
    const std::string row = "one tag in 1 GiB";
    Register(row, tuned,
             [&folder](auto& state) { EditModule(state, folder.LargeFile(oneGib), openingReads); });
    Register(row, byDefault, [&folder](auto& state) { EditModule(state, folder.LargeFile(oneGib), {}); });
}

}  // namespace vantor::bench
