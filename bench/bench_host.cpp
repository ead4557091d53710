#include "bench/bench_host.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "bench/peak_work.h"
#include "host/host_services.h"

namespace vantor::bench {

namespace {

using Entry = int32_t (*)(void* moduleInstance, HostInfo* host);
using CreateSource = PCM_source* (*)(const char* fileName);

// The services are plain functions; what they need to know between calls stands here.
struct HostState {
    ReadSetting setting;
    DiskCounts counts;
    const SourceTypeHandler* sources = nullptr;
    CreateSource createMetadataSource = nullptr;
};

HostState& Host() {
    static HostState state;
    return state;
}

void PreferredReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
    if (!Host().setting) return;
    *mode = Host().setting->mode;
    *blocks = Host().setting->blocks;
    *blockBytes = Host().setting->blockBytes;
}

void UpdateDiskCounters(int32_t bytesRead, int32_t bytesWritten) {
    Host().counts.read += std::max(bytesRead, 0);
    Host().counts.written += std::max(bytesWritten, 0);
}

Resampler* CreateNoResampler() {
    return nullptr;
}

void FormatNoTime(double, char* text, int32_t) {
    text[0] = 0;
}

void KeepName(const char* in, char* out, int32_t outBytes) {
    std::strncpy(out, in, static_cast<size_t>(outBytes) - 1);
    out[outBytes - 1] = 0;
}

void* LookupService(const char* name) {
    struct Service {
        std::string_view name;
        void* function;
    };
    static const Service services[] = {
        {"Resampler_Create", reinterpret_cast<void*>(&CreateNoResampler)},
        {"format_timestr", reinterpret_cast<void*>(&FormatNoTime)},
        {"PeakGet_Create", reinterpret_cast<void*>(&FindNoPeaks)},
        {"PeakBuild_CreateEx", reinterpret_cast<void*>(&CreatePeakBuilder)},
        {"resolve_fn", reinterpret_cast<void*>(&KeepName)},
        {"update_disk_counters", reinterpret_cast<void*>(&UpdateDiskCounters)},
        {"GetPreferredDiskReadMode", reinterpret_cast<void*>(&PreferredReadMode)},
        {"GetPreferredDiskReadModePeak", reinterpret_cast<void*>(&PreferredReadMode)},
    };
    const auto* found = std::find_if(std::begin(services), std::end(services),
                                     [&](const Service& service) { return service.name == name; });
    return found == std::end(services) ? nullptr : found->function;
}

int32_t RegisterService(const char* key, void* service) {
    const std::string_view name = key;
    if (name == "pcmsrc") Host().sources = static_cast<const SourceTypeHandler*>(service);
    if (name == "API_wave__createMetadataSource")
        Host().createMetadataSource = reinterpret_cast<CreateSource>(service);
    return 1;
}

}  // namespace

void LoadModule() {
    const auto path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vantor_wave.so";
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    const auto entry = reinterpret_cast<Entry>(dlsym(library, "VantorPluginEntry"));
    HostInfo host{hostInterfaceVersion, nullptr, &RegisterService, &LookupService};
    if (!entry || entry(library, &host) != 1 || !Host().sources || !Host().createMetadataSource)
        throw std::runtime_error("the module refused this host");
}

void SetReadSetting(const ReadSetting& setting) {
    Host().setting = setting;
}

HostPtr<PCM_source> OpenSource(const std::string& fileName) {
    constexpr int32_t ordinaryPriority = 5;
    HostPtr<PCM_source> source(Host().sources->CreateByFile(fileName.c_str(), ordinaryPriority));
    if (!source || !source->IsOnline()) throw std::runtime_error(fileName + ": cannot be played");
    return source;
}

HostPtr<PCM_source> OpenMetadataSource(const std::string& fileName) {
    return HostPtr<PCM_source>(Host().createMetadataSource(fileName.c_str()));
}

DiskCounts ReportedDiskCounts() {
    return Host().counts;
}

}  // namespace vantor::bench
