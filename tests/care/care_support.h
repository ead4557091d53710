// Broken files in memory, and what check and repair make of them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/byte_writer.h"
#include "tests/support/memory_file_system.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/repair.h"

namespace vantor::test {

// The names of findings, a blank behind each.
std::string Names(const wavehost::Findings& findings);
// What a file of these bytes has.
wavehost::Findings FindingsOf(const Bytes& bytes, const wavehost::ExamineOptions& options = {});
// The file after its repair; the findings that are left go to `left`.
Bytes Repaired(const Bytes& bytes, const wavehost::RepairOptions& options = {},
               wavehost::Findings* left = nullptr);
// How many frames the module plays of it; -1 when it does not open.
int64_t PlayedFrames(const Bytes& bytes);

// A sound file of one container: 16-bit stereo, in 8SVX 8-bit mono, in which frames near each other differ.
struct SoundFile16 {
    const char* name;
    Bytes bytes;
    size_t soundStart;
    size_t frames;
    size_t frameBytes = 4;
    size_t unplayed = 0;  // of the last frames: the module takes 8 bytes of an 8SVX body for a header

    [[nodiscard]] size_t SoundEnd() const { return soundStart + frameBytes * frames; }
};
// One of every container, tags behind the sound where the container has them there.
std::vector<SoundFile16> SoundFiles(size_t frames);

}  // namespace vantor::test
