// Whole files, opened as the host does.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "fuzz/world.h"
#include "source/extended_calls.h"
#include "source/source_entry.h"

namespace vantor::fuzz {

namespace {

constexpr int32_t mostSamples = 1 << 14;  // a request
constexpr int mostQueries = 1000;

void* Number(intptr_t value) {
    return reinterpret_cast<void*>(value);
}

// Everything that the host can ask about a file.
void Describe(PCM_source& source) {
    std::array<char, 2000> text;
    source.ExtendedCall(callFileInfoText, text.data(), Number(text.size()), nullptr);
    const char* key = nullptr;
    const char* value = nullptr;
    for (int i = 0; i < mostQueries && source.ExtendedCall(callEntryByIndex, Number(i), &key, &value); ++i)
        source.ExtendedCall(callValueByKey, const_cast<char*>(key), text.data(), Number(100));
    for (const char* field : {"TITLE", "KEY", "BPM", "DATE", "TRACKNUMBER", "PREFPOS", "IMAGEPATH"})
        source.ExtendedCall(callValueByKey, const_cast<char*>(field), text.data(), Number(text.size()));
    MarkerRecord marker;
    for (int i = 0; i < mostQueries && source.ExtendedCall(callMarker, Number(i), &marker, nullptr); ++i)
        if (marker.name) Require(std::strlen(marker.name) < 1 << 20, "marker name");
    double tempo = 0;
    source.ExtendedCall(callUsableTempo, &tempo, nullptr, nullptr);
    Require(source.LengthSeconds() >= 0, "length");
    static_cast<void>(source.PlacementPosition());
}

bool SameBits(const std::vector<double>& left, const std::vector<double>& right) {
    return left.size() == right.size() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.size() * sizeof(double)) == 0);
}

// However a stretch is cut into requests, it is the same samples.
void Play(PCM_source& source, Choices& choices) {
    const int32_t own = source.ChannelCount();
    const std::array channelCounts = {own, 1, 2, 6, own + 1};
    const int32_t channels =
        std::clamp(channelCounts[static_cast<size_t>(choices.OneOf(channelCounts.size()))], 1, mostSamples);
    const std::array blockSizes = {7, 1, 64, 512};
    const int32_t blockFrames = blockSizes[static_cast<size_t>(choices.OneOf(blockSizes.size()))];
    const int32_t frames = std::min(mostSamples / channels, 30 * blockFrames);
    const double length = std::floor(source.LengthSeconds() * source.SampleRate());
    for (const double start : {0.0, -5.0, 16.0 * choices.Byte(), length - 9, 1e15}) {
        const auto whole = ReadFramesAt(source, start, frames, channels, frames);
        Require(SameBits(whole, ReadFramesAt(source, start, frames, channels, blockFrames)), "same samples");
    }
}

void PlayConverted(PCM_source& source, Choices& choices) {
    std::array<double, 200> samples;
    const std::array rates = {48000.0, source.SampleRate() / 2, 1e-3, 1e12};
    TransferBlock request{};
    request.sampleRate = rates[static_cast<size_t>(choices.OneOf(rates.size()))];
    request.channels = 2;
    request.frames = 100;
    request.samples = samples.data();
    source.ReadSamples(&request);
    Require(request.framesProduced >= 0 && request.framesProduced <= request.frames, "frames produced");
}

void PlaySlices(PCM_source_wavefile& source, Choices& choices) {
    for (int32_t index : {0, 1, int32_t{choices.Byte()}}) {
        SliceRequest slice{};
        std::vector<double> played;
        if (source.ExtendedCall(callBeatSlices, &index, &slice, nullptr)) {
            const HostPtr<PCM_source> owned(slice.source);
            played = ReadFramesAt(*owned.Get(), 0, 100, 2, 50);
        }
        source.SetSliceIndex(index);
        const auto same = ReadFramesAt(source, 0, 100, 2, 50);
        Require(!slice.source || SameBits(played, same), "same samples of a slice");
        std::array<double, 2 * 2 * 8> peaks;
        PeakRequest request{0, 50, 2, 8, peaks.data(), 0, 0};
        source.ReadPeaks(&request);
        source.SetSliceIndex(-1);
    }
}

void PlayFile(Input input) {
    Choices choices(input);
    World world(input, choices);
    OpenedSource source;
    Describe(*source);
    if (!source->IsOnline()) return;
    Play(*source, choices);
    PlayConverted(*source, choices);
    PlaySlices(*source, choices);
}

bool BeginsWith(Input input, std::string_view id) {
    return input.size() >= id.size() && std::memcmp(input.data(), id.data(), id.size()) == 0;
}

}  // namespace

void PlayRiff(Input input) {
    if (BeginsWith(input, "RIFF") || BeginsWith(input, "RF64") || BeginsWith(input, "BW64")) PlayFile(input);
}

void PlayWave64(Input input) {
    if (BeginsWith(input, "riff")) PlayFile(input);
}

void PlayIff(Input input) {
    if (BeginsWith(input, "FORM")) PlayFile(input);
}

void PlayCaf(Input input) {
    if (BeginsWith(input, "caff")) PlayFile(input);
}

void MetadataSource(Input input) {
    Choices choices(input);
    World world(input, choices);
    const HostPtr<PCM_source> source(CreateMetadataSource(fileName));
    if (source) Describe(*source.Get());
}

}  // namespace vantor::fuzz
