// Opening, parsing every tag and closing; and what sources cost that are open and idle.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <vector>

#include "bench/raw_reads.h"
#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int manyFiles = 2000;
constexpr int64_t smallAudioBytes = 6000;
constexpr int64_t largeAudioBytes = 10000002;
constexpr int64_t headerBytes = 4096;  // what the limit reads of a file

using FileNames = std::vector<std::string>;

// The module parses a file again only when it has changed; libsndfile always does. The times lie in the past,
// so that a read has no time of its own to note down.
void Touch(const FileNames& names) {
    static time_t moment = 1000000000;
    const timespec times[] = {{0, UTIME_NOW}, {++moment, 0}};
    for (const auto& name : names)
        ::utimensat(AT_FDCWD, name.c_str(), times, 0);
}

template <typename Open>
void OpenEach(benchmark::State& state, const FileNames& names, Open open) {
    for (auto _ : state) {
        state.PauseTiming();
        Touch(names);
        state.ResumeTiming();
        for (const auto& name : names)
            benchmark::DoNotOptimize(open(name));
    }
}

bool ReadHeaderBytes(const std::string& name) {
    char bytes[headerBytes];
    return RawFile(name).ReadAt(0, bytes, headerBytes) > 0;
}

// The tags that libsndfile gives on request are asked for, as the module has read them all by then.
bool ReadTagsBySndfile(const std::string& name) {
    const auto file = OpenSndfile(name);
    SF_BROADCAST_INFO_VAR(4096) broadcast{};
    sf_command(file.get(), SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast);
    for (int field = SF_STR_FIRST; field <= SF_STR_LAST; ++field)
        benchmark::DoNotOptimize(sf_get_string(file.get(), field));
    return true;
}

void RegisterOpenRow(const BenchFolder& folder, const std::string& row, int64_t audioBytes) {
    const auto files = [&folder, audioBytes] { return folder.TaggedFiles(manyFiles, audioBytes); };
    const auto openSource = [](const std::string& name) { return bool(OpenSource(name)); };
    Register(row, tuned, [=](auto& state) {
        SetReadSetting(openingReads);
        OpenEach(state, files(), openSource);
    });
    Register(row, byDefault, [=](auto& state) {
        SetReadSetting({});
        OpenEach(state, files(), openSource);
    });
    Register(row, rival, [=](auto& state) { OpenEach(state, files(), ReadTagsBySndfile); });
    Register(row, bytesAlone, [=](auto& state) { OpenEach(state, files(), ReadHeaderBytes); });
}

void RegisterMetadataRow(const BenchFolder& folder, const std::string& row, int64_t audioBytes) {
    const auto files = [&folder, audioBytes] { return folder.TaggedFiles(manyFiles, audioBytes); };
    Register(row, tuned, [=](auto& state) {
        OpenEach(state, files(), [](const std::string& name) { return bool(OpenMetadataSource(name)); });
    });
    Register(row, rival, [=](auto& state) { OpenEach(state, files(), ReadTagsBySndfile); });
    Register(row, bytesAlone, [=](auto& state) { OpenEach(state, files(), ReadHeaderBytes); });
}

constexpr int idleSources = 1000;

// KiB a source, as a process of its own prints it.
double IdleKib(const BenchFolder& folder, const std::string& contestant, int files) {
    char command[512];
    std::snprintf(command, sizeof command, "/proc/%d/exe --idle_memory=%s,%d,%d,%s", ::getpid(),
                  contestant.c_str(), idleSources, files, folder.Path().c_str());
    const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command, "r"), ::pclose);
    double kib = 0;
    if (!output || std::fscanf(output.get(), "%lf", &kib) != 1) throw std::runtime_error("no measurement");
    return kib;
}

template <typename Open>
void OpenAndKeep(benchmark::State& state, const FileNames& names, Open open) {
    for (auto _ : state) {
        std::vector<decltype(open(names[0]))> opened;
        for (int i = 0; i < idleSources; ++i)
            opened.push_back(open(names[static_cast<size_t>(i) % names.size()]));
        benchmark::DoNotOptimize(opened.data());
    }
}

void RegisterIdleRow(const BenchFolder& folder, const std::string& row, int fileCount) {
    const auto files = [&folder, fileCount] {
        auto names = folder.TaggedFiles(manyFiles, smallAudioBytes);
        names.resize(static_cast<size_t>(fileCount));
        return names;
    };
    const auto openModule = [=, &folder](const char* contestant, const ReadSetting& setting) {
        Register(row, contestant, [=, &folder](auto& state) {
            SetReadSetting(setting);
            OpenAndKeep(state, files(), OpenSource);
            state.counters["KiB resident a source"] = IdleKib(folder, contestant, fileCount);
        });
    };
    openModule(tuned, openingReads);
    openModule(byDefault, {});
    Register(row, rival, [=, &folder](auto& state) {
        OpenAndKeep(state, files(), OpenSndfile);
        state.counters["KiB resident a source"] = IdleKib(folder, rival, fileCount);
    });
}

int64_t ResidentKib() {
    int64_t total = 0;
    int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * ::getpagesize() / 1024;
}

template <typename Open>
double KibAfterOpening(const FileNames& names, int sources, Open open) {
    std::vector<decltype(open(names[0]))> opened;
    opened.reserve(static_cast<size_t>(sources) + 1);
    opened.push_back(open(names.back()));  // pays for what the first one loads
    const int64_t before = ResidentKib();
    for (int i = 0; i < sources; ++i)
        opened.push_back(open(names[static_cast<size_t>(i) % (names.size() - 1)]));
    return static_cast<double>(ResidentKib() - before) / sources;
}

}  // namespace

void RegisterOpenRows(const BenchFolder& folder) {
    RegisterOpenRow(folder, "open 2000 tagged", smallAudioBytes);
    RegisterOpenRow(folder, "open 2000 tagged, 10 MB of audio each", largeAudioBytes);
    RegisterMetadataRow(folder, "metadata of 2000 tagged", smallAudioBytes);
    RegisterMetadataRow(folder, "metadata of 2000 tagged, 10 MB of audio", largeAudioBytes);
    RegisterIdleRow(folder, "1000 sources on 100 files", 100);
    RegisterIdleRow(folder, "1000 sources on 1000 files", 1000);
}

void MeasureIdleMemory(const BenchFolder& folder, const std::string& contestant, int sources, int files) {
    auto names = folder.TaggedFiles(manyFiles, smallAudioBytes);
    names.resize(static_cast<size_t>(files) + 1);
    SetReadSetting(contestant == tuned ? ReadSetting(openingReads) : ReadSetting());
    const double kib = contestant == rival ? KibAfterOpening(names, sources, OpenSndfile)
                                           : KibAfterOpening(names, sources, OpenSource);
    std::printf("%.2f\n", kib);
}

}  // namespace vantor::bench
