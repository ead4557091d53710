// What the walk over a container's chunks finds out, and the walks themselves.
#pragma once

#include <cstdint>
#include <vector>

#include "fileio/file_reader.h"
#include "formats/audio_format.h"
#include "formats/caf_markers.h"
#include "formats/walk_status.h"

namespace vantor {

// One parse: the record to fill, and what the driver needs beside it to judge and measure the file.
struct ContainerWalk {
    AudioFormat& format;
    FileReader& reader;
    int64_t dataStart = -1;      // file offset of the audio, -1 not found
    int64_t dataBytes = -1;      // as the container claims; IFF: not asked for
    int64_t declaredFrames = 0;  // IFF: the frame count of its header
    int64_t factFrames = 0;      // RIFF and Wave64: the count of the `fact` chunk
    bool openEnded = false;      // the audio is whatever follows: its size was never written
    bool formatAccepted = false;
    bool failed = false;             // not playable, whatever was found before
    std::vector<uint8_t> scratch{};  // for chunk bodies
    CafStrings cafStrings{};         // CAF: the names of markers
};

// Each reads chunk headers from the reader's position on, fills the record, and returns the first thing that
// is wrong. To run out of file counts as wrong; the driver knows when it does not matter.
using WalkFunction = WalkStatus (*)(ContainerWalk& walk);
WalkStatus WalkRiff(ContainerWalk& walk);  // RIFF WAVE
WalkStatus WalkRf64(ContainerWalk& walk);  // RF64 and BW64
WalkStatus WalkWave64(ContainerWalk& walk);
WalkStatus WalkAiff(ContainerWalk& walk);
WalkStatus WalkAifc(ContainerWalk& walk);
WalkStatus Walk8svx(ContainerWalk& walk);
WalkStatus WalkCaf(ContainerWalk& walk);

}  // namespace vantor
