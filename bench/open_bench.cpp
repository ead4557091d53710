// Opening, parsing every tag and closing.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <vector>

#include "bench/raw_reads.h"
#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int manyFiles = 2000;
constexpr size_t coldFiles = 200;
constexpr int64_t smallAudioBytes = 6000;
constexpr int64_t largeAudioBytes = 10000002;
constexpr int64_t headerBytes = 4096;  // what the limit reads of a file

using FileNames = std::vector<std::string>;

// The module parses a file again only when it has changed; libsndfile always does. The time of the last read
// lies in the future, so that the system has no new one to note down: an older one than that of the last
// change, which is now, would be.
void Touch(const FileNames& names) {
    static time_t moment = 1000000000;
    const timespec times[] = {{std::time(nullptr) + 3600, 0}, {++moment, 0}};
    for (const auto& name : names)
        ::utimensat(AT_FDCWD, name.c_str(), times, 0);
}

void TouchAndForget(const FileNames& names) {
    Touch(names);
    for (const auto& name : names)
        DropFromCache(name);
}

template <typename Open>
void OpenEach(benchmark::State& state, const FileNames& names, Open open,
              void (*prepare)(const FileNames&) = Touch) {
    for (auto _ : state) {
        state.PauseTiming();
        prepare(names);
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

// Files that come from the disk.
void RegisterColdRow(const BenchFolder& folder) {
    if (!DropFromCache(folder.Tracks(1, fileChannels).front())) return;
    const auto registerAs = [&folder](const char* contestant, const ReadSetting& setting, auto open) {
        Register(std::string("open 200 tagged, 10 MB") + coldRow, contestant, [=, &folder](auto& state) {
            SetReadSetting(setting);
            FileNames names = folder.TaggedFiles(manyFiles, largeAudioBytes);
            names.resize(coldFiles);
            OpenEach(state, names, open, TouchAndForget);
        });
    };
    const auto openSource = [](const std::string& name) { return bool(OpenSource(name)); };
    registerAs(tuned, openingReads, openSource);
    registerAs(byDefault, {}, openSource);
    registerAs(rival, {}, ReadTagsBySndfile);
    registerAs(bytesAlone, {}, ReadHeaderBytes);
}

// A host that has looked into very many files before.
void RegisterManyNamesRow(const BenchFolder& folder) {
    constexpr int names = 300000;
    const auto files = [&folder] { return folder.TaggedFiles(manyFiles, smallAudioBytes); };
    const std::string row = "open 2000 tagged, 300,000 names before";
    Register(row, byDefault, [=, &folder](auto& state) {
        SetReadSetting({});
        static bool isDone = false;
        for (int i = 0; i < names && !isDone; ++i)
            LookInto(folder.Path() / ("gone" + std::to_string(i) + ".wav"));
        isDone = true;
        OpenEach(state, files(), [](const std::string& name) { return bool(OpenSource(name)); });
    });
    Register(row, rival, [=](auto& state) { OpenEach(state, files(), ReadTagsBySndfile); });
}

void RegisterMetadataRow(const BenchFolder& folder, const std::string& row, int64_t audioBytes) {
    const auto files = [&folder, audioBytes] { return folder.TaggedFiles(manyFiles, audioBytes); };
    Register(row, tuned, [=](auto& state) {
        OpenEach(state, files(), [](const std::string& name) { return bool(OpenMetadataSource(name)); });
    });
    Register(row, rival, [=](auto& state) { OpenEach(state, files(), ReadTagsBySndfile); });
    Register(row, bytesAlone, [=](auto& state) { OpenEach(state, files(), ReadHeaderBytes); });
}

}  // namespace

void RegisterOpenRows(const BenchFolder& folder) {
    RegisterOpenRow(folder, "open 2000 tagged", smallAudioBytes);
    RegisterOpenRow(folder, "open 2000 tagged, 10 MB of audio each", largeAudioBytes);
    RegisterColdRow(folder);
    RegisterManyNamesRow(folder);
    RegisterMetadataRow(folder, "metadata of 2000 tagged", smallAudioBytes);
    RegisterMetadataRow(folder, "metadata of 2000 tagged, 10 MB of audio", largeAudioBytes);
}

}  // namespace vantor::bench
