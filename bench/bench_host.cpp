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

using CreateSource = decltype(registration::createMetadataSource)::Function;
using ReduceFiles = decltype(registration::openFileReduce)::Function;

// The services are plain functions; what they need to know between calls stands here.
struct HostState {
    ReadSetting setting;
    DiskCounts counts;
    const SourceTypeHandler* sources = nullptr;
    CreateSource createMetadataSource = nullptr;
    ReduceFiles reduceOpenFiles = nullptr;
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
    static const OfferedService services[] = {
        Offer(service::createResampler, &CreateNoResampler),
        Offer(service::formatTime, &FormatNoTime),
        Offer(service::createPeakReader, &FindNoPeaks),
        Offer(service::createPeakBuilder, &CreatePeakBuilder),
        Offer(service::resolveFileName, &KeepName),
        Offer(service::updateDiskCounters, &UpdateDiskCounters),
        Offer(service::preferredReadMode, &PreferredReadMode),
        Offer(service::preferredPeakReadMode, &PreferredReadMode),
    };
    return FindService(services, name);
}

int32_t RegisterService(const char* key, void* service) {
    const std::string_view name = key;
    if (name == registration::sourceTypes) Host().sources = static_cast<const SourceTypeHandler*>(service);
    if (name == registration::createMetadataSource.name)
        Host().createMetadataSource = reinterpret_cast<CreateSource>(service);
    if (name == registration::openFileReduce.name)
        Host().reduceOpenFiles = reinterpret_cast<ReduceFiles>(service);
    return 1;
}

}  // namespace

void LoadModule() {
    const auto path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vantor_wave.so";
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    const auto entry = reinterpret_cast<EntryFunction>(dlsym(library, entryName));
    HostInfo host{hostInterfaceVersion, nullptr, &RegisterService, &LookupService};
    if (!entry || entry(library, &host) != 1 || !Host().sources || !Host().createMetadataSource)
        throw std::runtime_error("the module refused this host");
}

void SetReadSetting(const ReadSetting& setting) {
    Host().setting = setting;
}

HostPtr<PCM_source> OpenSource(const std::string& fileName) {
    HostPtr<PCM_source> source(Host().sources->CreateByFile(fileName.c_str(), ordinaryPriority));
    if (!source || !source->IsOnline()) throw std::runtime_error(fileName + ": cannot be played");
    return source;
}

void LookInto(const std::string& fileName) {
    const HostPtr<PCM_source> source(Host().sources->CreateByFile(fileName.c_str(), 5));
}

HostPtr<PCM_source> OpenMetadataSource(const std::string& fileName) {
    return HostPtr<PCM_source>(Host().createMetadataSource(fileName.c_str()));
}

void ReduceOpenFiles() {
    Host().reduceOpenFiles(0);
}

DiskCounts ReportedDiskCounts() {
    return Host().counts;
}

}  // namespace vantor::bench
