// The `fmt ` chunk, which RIFF and Wave64 have in common.
#pragma once

#include <cstdint>

#include "formats/container_walk.h"
#include "formats/walk_status.h"

namespace vantor {

// How a container words its refusals, and where its rules differ.
struct FmtRules {
    const char* shortRead;
    const char* shortExtension;  // WAVE_FORMAT_EXTENSIBLE without its fields
    const char* unknownSubFormat;
    const char* unknownTag;
    const char* noChannels;
    const char* badUlaw;
    const char* badFloat;
    const char* badInteger;
    const char* badMsAdpcm;
    const char* badImaAdpcm;
    const char* badCAdpcm;
    bool keepsSpeakerMask;
    bool marksMpeg;
};

inline constexpr uint64_t smallestFmtBody = 16;

// Reads the body of `bodyBytes` (at least smallestFmtBody) at the reader's position. When nothing
// is wrong, the format is accepted.
WalkStatus ReadFmt(ContainerWalk& walk, uint64_t bodyBytes, const FmtRules& rules);

}  // namespace vantor
