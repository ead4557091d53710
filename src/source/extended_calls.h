// The extended calls of a wave source: how the host reaches what the fixed slots do not cover.
#pragma once

#include <cstddef>
#include <cstdint>

#include "source/wave_source.h"

namespace vantor {

// One call: what the source is open on, and the three arguments as they came.
struct ExtendedCallArguments {
    PCM_source_wavefile& source;
    AudioFormat& format;
    void* a;
    void* b;
    void* c;
};

// A number passed in place of a pointer.
inline int32_t IntegerArgument(void* argument) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(argument));
}

// The same for an index: a negative one lies beyond the end of everything.
inline size_t IndexArgument(void* argument) {
    return static_cast<size_t>(IntegerArgument(argument));
}

inline constexpr double smallestTempo = 2.0;  // beats a minute
inline constexpr double largestTempo = 960.0;

// Each answers one code; 0: not handled or failed. What the arguments are stands at the definition.
intptr_t ValueByKey(const ExtendedCallArguments& call);
intptr_t Tempo(const ExtendedCallArguments& call);
intptr_t UsableTempo(const ExtendedCallArguments& call);
intptr_t BeatSlices(const ExtendedCallArguments& call);
intptr_t WriteMetadata(const ExtendedCallArguments& call);
intptr_t DocumentOf(const ExtendedCallArguments& call);
intptr_t WriteDocument(const ExtendedCallArguments& call);
intptr_t PlannedEntry(const ExtendedCallArguments& call);
intptr_t PlannedChunk(const ExtendedCallArguments& call);
intptr_t RebuiltScheme(const ExtendedCallArguments& call);

// The musical key from the loop information ("C", "Db" ...), in the user's language; empty when there is
// none.
std::string MusicalKeyText(const AudioFormat& format);

}  // namespace vantor
