// play_file MODULE FILE: plays an audio file through the module to standard output (64-bit floats, interleaved),
// and prints its tags to standard error. A whole host; docs/host-guide.md says what each step is for.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "vantor_wave/host_interface.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;
using namespace vantor;

static EntryFunction FindEntry(const fs::path& name, void** module) {
#ifdef _WIN32
    *module = LoadLibraryW(fs::absolute(name).c_str());
    const auto entry = *module ? GetProcAddress(static_cast<HMODULE>(*module), entryName) : nullptr;
#else
    *module = dlopen(fs::absolute(name).c_str(), RTLD_NOW);
    const auto entry = *module ? dlsym(*module, entryName) : nullptr;
#endif
    return reinterpret_cast<EntryFunction>(reinterpret_cast<void*>(entry));
}

// The mandatory services, as a host without resampler, peaks and projects has them.
static Resampler* NoResampler() { return nullptr; }
static PeakReader* NoPeaks(const char*, int32_t, int32_t, intptr_t) { return nullptr; }
static PeakBuilder* NoPeakBuilder(PCM_source*, const char*, int32_t, int32_t, int32_t) { return nullptr; }
static void TimeText(double time, char* text, int32_t bytes) { std::snprintf(text, bytes, "%.3f s", time); }
static void Copy(const char* in, char* out, int32_t bytes) { std::snprintf(out, bytes, "%s", in); }
static void* LookupService(const char* name) {
    static const OfferedService services[] = {
        Offer(service::createResampler, NoResampler), Offer(service::createPeakReader, NoPeaks),
        Offer(service::createPeakBuilder, NoPeakBuilder), Offer(service::formatTime, TimeText),
        Offer(service::resolveFileName, Copy)};
    return FindService(services, name);
}

static const SourceTypeHandler* sourceTypes = nullptr;
static int32_t RegisterService(const char* key, void* it) {
    if (std::strcmp(key, registration::sourceTypes) == 0) sourceTypes = static_cast<SourceTypeHandler*>(it);
    return 1;
}

static void Play(PCM_source& source) {
    char info[4096] = "";
    source.ExtendedCall(callFileInfoText, info, reinterpret_cast<void*>(sizeof info), nullptr);
    if (!source.IsOnline()) throw std::runtime_error(info);
    const char *key = nullptr, *value = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(callEntryByIndex, reinterpret_cast<void*>(i), &key, &value); ++i)
        std::fprintf(stderr, "%s=%s\n", key, value);

    std::vector<double> samples(4096 * static_cast<size_t>(source.ChannelCount()));
    TransferBlock block = {0, source.SampleRate(), source.ChannelCount(), 4096, samples.data(), 0, 0, 0};
    for (double frame = 0;; frame += block.framesProduced) {
        block.startSeconds = frame / block.sampleRate;
        source.ReadSamples(&block);
        const size_t count = static_cast<size_t>(block.framesProduced * block.channels);
        if (count == 0) return;  // the end
        if (std::fwrite(samples.data(), sizeof(double), count, stdout) != count || std::fflush(stdout) != 0)
            throw std::runtime_error("standard output cannot be written");
    }
}

static void Run(const fs::path& moduleName, const fs::path& fileName) {
    void* module = nullptr;
    const EntryFunction entry = FindEntry(moduleName, &module);
    if (!entry) throw std::runtime_error("MODULE cannot be loaded, or is no such module");
    HostInfo host = {hostInterfaceVersion, nullptr, RegisterService, LookupService};
    if (entry(module, &host) != 1) throw std::runtime_error(RefusalReason(&host));
    const auto name = fs::absolute(fileName).u8string();  // the module wants absolute names in UTF-8
    const HostPtr<PCM_source> source(
        sourceTypes->CreateByFile(reinterpret_cast<const char*>(name.c_str()), lastResortPriority));
    if (!source) throw std::runtime_error("FILE is not for this module");
    Play(*source.Get());
}

int main(int count, char** arguments) try {
#ifdef _WIN32
    wchar_t** names = CommandLineToArgvW(GetCommandLineW(), &count);  // main's are not in UTF-8
    _setmode(_fileno(stdout), _O_BINARY);
#else
    char** names = arguments;
#endif
    if (count != 3) throw std::runtime_error("usage: play_file MODULE FILE > SAMPLES");
    Run(names[1], names[2]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "play_file: %s\n", error.what());
    return 1;
}
