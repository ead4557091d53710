// Tempo, key and beat slices of a loop.
#include <array>
#include <memory>

#include "host/host_services.h"
#include "source/extended_calls.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr double noTempo = -1.0;

bool IsUsable(double tempo) {
    return tempo >= smallestTempo && tempo <= largestTempo;
}

// Beats a minute of a loop, from its tempo or its length in beats; 0 when neither makes sense.
double LoopTempo(const AudioFormat& format) {
    const auto frames = static_cast<double>(format.lengthFrames);
    // Without frames the quotient is infinite or no number.
    const double tempo =
        format.tempo > 0 ? format.tempo : format.beatCount * 60.0 * format.sampleRate / frames;
    return IsUsable(tempo) ? tempo : 0;
}

// The source's tempo for slicing, looked up once.
double SlicingTempo(const ExtendedCallArguments& call) {
    auto& cached = call.source.CachedTempo();
    if (cached == 0) {
        char key[] = "BPM";
        std::array<char, 128> text{};
        ValueByKey({call.source, call.format, key, text.data(), reinterpret_cast<void*>(text.size())});
        const double tempo = DecimalNumber(text.data());
        cached = IsUsable(tempo) ? tempo : noTempo;
    }
    return cached;
}

// A copy of the source that plays one slice; null when it cannot be made.
std::unique_ptr<PCM_source_wavefile> SliceSource(PCM_source_wavefile& source, int32_t sliceIndex) {
    std::unique_ptr<PCM_source_wavefile> copy(static_cast<PCM_source_wavefile*>(source.Clone()));
    if (copy) copy->SetSliceIndex(sliceIndex);
    return copy;
}

}  // namespace

// a receives the tempo, b the second beat count / 1,000,000; either may be null. Whole files only.
intptr_t Tempo(const ExtendedCallArguments& call) {
    if (call.source.SliceIndex() >= 0 || call.format.loopKind == 0) return 0;
    if (call.a) *static_cast<double*>(call.a) = LoopTempo(call.format);
    if (call.b) *static_cast<double*>(call.b) = call.format.beatCountAlt / 1000000.0;
    return 1;
}

// a receives the tempo when there is a usable one.
intptr_t UsableTempo(const ExtendedCallArguments& call) {
    double tempo = 0;
    if (!Tempo({call.source, call.format, &tempo, nullptr, nullptr}) || !IsUsable(tempo)) return 0;
    if (call.a) *static_cast<double*>(call.a) = tempo;
    return 1;
}

// a: slice index, b: SliceRequest, c receives the tempo. Without a or b: the number of slices.
intptr_t BeatSlices(const ExtendedCallArguments& call) {
    const auto& slices = call.format.slicePoints;
    if (slices.empty()) return 0;
    const double tempo = SlicingTempo(call);
    if (tempo == noTempo) return 0;
    if (call.c) *static_cast<double*>(call.c) = tempo;
    if (!call.a || !call.b) return static_cast<intptr_t>(slices.size());

    const int32_t index = *static_cast<const int32_t*>(call.a);
    const auto place = static_cast<size_t>(index);
    if (place >= slices.size()) return 0;  // every negative one too
    const auto frame = static_cast<uint64_t>(slices[place]);
    if (frame >= static_cast<uint64_t>(call.format.lengthFrames.load())) return 0;
    const double framesPerBeat = call.format.sampleRate / tempo * 60;
    if (!(framesPerBeat > 0)) return 0;

    auto& request = *static_cast<SliceRequest*>(call.b);
    std::unique_ptr<PCM_source_wavefile> slice;
    if (!(request.flags & slicePositionOnly)) {
        slice = SliceSource(call.source, index);
        if (!slice) return 0;
    }
    request.source = slice.release();
    request.positionBeats = static_cast<double>(frame) / framesPerBeat;
    return 1;
}

std::string MusicalKeyText(const AudioFormat& format) {
    // Padded to two characters for the translators' table.
    constexpr std::array<const char*, 12> noteNames = {"C ", "Db", "D ", "Eb", "E ", "F ",
                                                       "F#", "G ", "G#", "A ", "Bb", "B "};
    constexpr int32_t pitchPreservingRaise = 1200000;  // a multiple of 12
    const int32_t pitch =
        format.hasRootNote ? format.rootNoteOffset + pitchPreservingRaise : format.musicalKey;
    if (pitch < 0) return {};
    std::string name = Localize(noteNames[static_cast<size_t>(pitch % 12)], "wave_notes");
    name.erase(name.find_last_not_of(' ') + 1);
    return name;
}

}  // namespace vantor
