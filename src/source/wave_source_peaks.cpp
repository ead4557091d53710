// The peak slots. The host computes and stores the peaks; the source drives its reader and builder.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "fileio/file_name.h"
#include "host/host_services.h"
#include "platform/clock.h"
#include "source/guarded.h"
#include "source/wave_source.h"

namespace vantor {

namespace {

constexpr int maxPeakFiles = 8;  // a host that keeps naming new ones is not followed for ever

int32_t WholeRate(const AudioFormat& format) {
    return static_cast<int32_t>(std::lround(std::clamp(format.sampleRate, 0.0, 2147483647.0)));
}

bool HasRateAndChannels(const AudioFormat& format) {
    return WholeRate(format) >= 1 && format.channels >= 1;
}

template <typename T>
T Copy(PeakObjects& peaks, T PeakObjects::*object) {
    const platform::LockGuard guard(peaks.lock);
    return peaks.*object;
}

// Puts an object into its place; the one that stood there goes outside the lock.
template <typename T>
void Replace(PeakObjects& peaks, T PeakObjects::*object, T replacement) {
    const platform::LockGuard guard(peaks.lock);
    std::swap(peaks.*object, replacement);
}

// Puts a new object into its place. False when the file's last source has gone while it was made: nobody
// would take it away any more, so everything goes at once.
template <typename T>
bool Install(SharedFileState& state, T PeakObjects::*object, T made) {
    if (!made) return false;
    Replace(state.peaks, object, std::move(made));
    {
        const platform::LockGuard guard(state.lock);
        if (state.attached) return true;
    }
    const TakenPeakObjects unwanted = TakeAll(state.peaks);
    return false;
}

// Null when the host has no peaks of the file, or the format is not known.
SharedPeakReader NewPeakReader(const std::string& fileName, const AudioFormat& format, intptr_t extra) {
    if (!HasRateAndChannels(format)) return nullptr;
    if (!Services().createPeakReader || fileName.empty()) return nullptr;
    PeakReader* reader =
        Services().createPeakReader(fileName.c_str(), WholeRate(format), format.channels, extra);
    return reader ? std::make_shared<SharedHostObject<PeakReader>>(reader) : nullptr;
}

// Of a file that can be played.
SharedPeakBuilder NewPeakBuilder(const std::string& fileName, const AudioFormat& format) {
    if (!Services().createPeakBuilder) return nullptr;
    auto source = std::make_unique<PCM_source_wavefile>();
    source->Open(fileName.c_str(), purposePeakBuild);
    HostPtr<PCM_source> owned(source.release());
    PeakBuilder* builder = Services().createPeakBuilder(owned.Get(), fileName.c_str(), WholeRate(format),
                                                        format.channels, format.encoding == encodingFloat);
    if (!builder) return nullptr;
    static_cast<void>(owned.Release());  // the builder's now
    return std::make_shared<SharedHostObject<PeakBuilder>>(builder);
}

// The file's peak source for requests finer than its stored peaks; made once. Null when it cannot be opened.
SharedHiresSource HiresSource(SharedFileState& state, const std::string& fileName) {
    PeakObjects& peaks = state.peaks;
    const platform::LockGuard creating(peaks.creating);
    peaks.hiresLastUsed = platform::TickMilliseconds();
    auto hires = Copy(peaks, &PeakObjects::hires);
    if (hires) return hires;
    auto source = std::make_unique<PCM_source_wavefile>();
    source->Open(fileName.c_str(), purposePeakRead);
    if (!source->IsOnline()) return nullptr;
    hires = std::make_shared<SharedHostObject<PCM_source>>(source.release());
    Install(state, &PeakObjects::hires, hires);
    return hires;
}

bool Suffices(const SharedPeakReader& reader, const PeakRequest& request) {
    if (!reader) return false;
    const HostCall call(*reader);
    return call.Object() && call.Object()->PeaksPerSecond() >= request.peaksPerSecond;
}

void ServePeaks(SharedFileState& state, const std::string& fileName, PeakRequest& request) {
    const auto reader = Copy(state.peaks, &PeakObjects::reader);
    if (Services().hiresPeaks && !Suffices(reader, request)) {
        if (const auto hires = HiresSource(state, fileName)) {
            Services().hiresPeaks(hires->object.Get(), &request);
            return;
        }
    }
    if (!reader) return;
    const HostCall call(*reader);
    if (call.Object()) call.Object()->ReadPeaks(&request);
}

// Serves a request whose times count from the slice's start: moves it there, and ends it with the slice.
void ServeSlicePeaks(SharedFileState& state, const std::string& fileName, const AudioFormat& format,
                     const FrameSpan& slice, PeakRequest& request) {
    const double start = request.startSeconds;
    const double left = static_cast<double>(slice.frames) / format.sampleRate - start;
    request.startSeconds = start + static_cast<double>(slice.start) / format.sampleRate;
    ServePeaks(state, fileName, request);
    request.startSeconds = start;
    const double columns = std::max(0.0, std::ceil(left * request.peaksPerSecond));
    if (columns < request.framesProduced) request.framesProduced = static_cast<int32_t>(columns);
}

}  // namespace

// With the first open of a file its stored peaks are looked for.
void PCM_source_wavefile::CreatePeakReader(const std::string& fileName) {
    const auto [state, format] = Attachment();
    if (!format) return;
    PeakObjects& peaks = state->peaks;
    const platform::LockGuard creating(peaks.creating);
    if (Copy(peaks, &PeakObjects::reader) || Copy(peaks, &PeakObjects::builder)) return;
    Install(*state, &PeakObjects::reader, NewPeakReader(fileName, *format, 0));
}

void PCM_source_wavefile::ReadPeaks(PeakRequest* request) {
    if (!request) return;
    request->framesProduced = 0;
    Guarded([&] {
        const auto [state, format] = Attachment();
        if (!IsPlayable(format.get())) return;
        if (const auto slice = SliceSpan(*format, sliceIndex_)) {
            ServeSlicePeaks(*state, Name(), *format, *slice, *request);
        } else {
            ServePeaks(*state, Name(), *request);
        }
    });
}

void PCM_source_wavefile::ClearPeaks(bool deleteFiles) {
    Guarded([&] {
        if (const auto [state, format] = Attachment(); state) {
            Replace<SharedPeakReader>(state->peaks, &PeakObjects::reader, nullptr);
            Replace<SharedPeakBuilder>(state->peaks, &PeakObjects::builder, nullptr);
        }
        const std::string fileName = Name();
        if (!deleteFiles || !Services().peakFileName || fileName.empty()) return;
        std::string previous;
        for (int i = 0; i < maxPeakFiles; ++i) {
            std::array<char, 2048> peakFile{};
            Services().peakFileName(fileName.c_str(), peakFile.data(), static_cast<int32_t>(peakFile.size()));
            peakFile.back() = '\0';
            if (previous == peakFile.data()) return;
            previous = peakFile.data();
            RemoveFile(previous);
        }
    });
}

int32_t PCM_source_wavefile::BeginPeakBuild(intptr_t extra) {
    return Guarded(0, [&] {
        const auto [state, format] = Attachment();
        if (!format) return 0;
        PeakObjects& peaks = state->peaks;
        const platform::LockGuard creating(peaks.creating);
        if (Copy(peaks, &PeakObjects::builder)) return 1;
        if (Copy(peaks, &PeakObjects::reader)) return 0;
        if (auto reader = NewPeakReader(Name(), *format, extra)) {
            Install(*state, &PeakObjects::reader, std::move(reader));
            return 0;
        }
        if (!IsPlayable(format.get())) return 0;
        return Install(*state, &PeakObjects::builder, NewPeakBuilder(Name(), *format)) ? 1 : 0;
    });
}

int32_t PCM_source_wavefile::RunPeakBuild() {
    return Guarded(0, [&] {
        const auto [state, format] = Attachment();
        const auto builder = state ? Copy(state->peaks, &PeakObjects::builder) : nullptr;
        if (!builder) return 0;
        const HostCall call(*builder);
        return call.Object() ? call.Object()->Run() : 0;
    });
}

void PCM_source_wavefile::FinishPeakBuild() {
    Guarded([&] {
        const auto [state, format] = Attachment();
        if (!format) return;
        PeakObjects& peaks = state->peaks;
        const platform::LockGuard creating(peaks.creating);
        Replace<SharedPeakBuilder>(peaks, &PeakObjects::builder, nullptr);
        if (Copy(peaks, &PeakObjects::reader)) return;
        Install(*state, &PeakObjects::reader, NewPeakReader(Name(), *format, 0));
    });
}

}  // namespace vantor
