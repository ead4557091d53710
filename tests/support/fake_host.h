// A host for tests: offers every service, records what the module asks, and counts the objects it gave away.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/host_services.h"

namespace vantor::test {

// One at a time: services are plain functions that find it through a static pointer. Set the fields before
// threads start.
class FakeHost {
  public:
    FakeHost();   // fills the table of services, as the entry would
    ~FakeHost();  // clears the table of services
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    // Objects of the host that live: resamplers, peak readers and builders.
    std::atomic<int> liveObjects = 0;
    std::atomic<int> peakReadersMade = 0;
    std::atomic<int> peakBuildersMade = 0;
    std::atomic<int> hiresCalls = 0;
    std::atomic<int64_t> bytesRead = 0;
    std::atomic<intptr_t> resampleMode = 0;  // that a resampler was given last

    std::atomic<bool> hasStoredPeaks = true;  // "PeakGet_Create" finds peaks
    double storedPeaksPerSecond = 400;
    bool builderRefused = false;
    // What else the host does when "PeakGet_Create", "PeakBuild_CreateEx" or "GetPreferredDiskReadModePeak",
    // whose name it gets, is called.
    std::function<void(std::string_view)> duringPeakService;
    std::function<void(PeakRequest&)> duringPeakRead;  // what else a peak reader does
    std::vector<std::string>
        peakFiles;  // what "GetPeakFileName" answers, one call after another; the last stays
    size_t peakFilesAsked = 0;
    std::string lastPeakFile;     // argument of the last "PeakGet_Create"
    intptr_t lastPeakExtra = -1;  // and its extra argument
    std::atomic<int32_t> lastBuildIsFloat = -1;
    std::string localizePrefix;  // put in front of every text
    std::set<std::string> localized;
    std::mutex lock;  // for the texts above
};

// Project lines in memory.
class FakeProject final : public ProjectContext {
  public:
    FakeProject() = default;
    explicit FakeProject(std::vector<std::string> linesToRead) : lines(std::move(linesToRead)) {}

    void* DeletingDestructor(unsigned) override { return this; }
    int32_t AddLine(const char* format, ...) override;  // "%p~", "%d" and plain text
    int32_t NextLine(char* line, int32_t lineBytes) override;

    std::vector<std::string> lines;
    size_t next = 0;
};

}  // namespace vantor::test
