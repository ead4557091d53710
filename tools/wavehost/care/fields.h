// The size fields of containers and chunks: where they stand, and their bytes.
#pragma once

#include <string_view>

#include "wavehost/care/findings.h"
#include "wavehost/care/survey.h"

namespace vantor::wavehost {

// Writes a number of 2, 4 or 8 bytes at `offset`, in the container's byte order.
Step NumberStep(const Survey& survey, int64_t offset, uint64_t value, int width);
// Writes the size of a chunk's body into its header.
Step ChunkSizeStep(const Survey& survey, const SurveyedChunk& chunk, uint64_t bodyBytes);
Step TextStep(int64_t offset, std::string_view text);

// Where the container's own size stands, and what it would be for chunks that end at `end`.
struct ContainerSize {
    int64_t offset;
    int width;  // bytes; 0: the container has none
    uint64_t expected;
};
ContainerSize ContainerSizeFor(const Survey& survey, int64_t end);

// Where chunks end once the pad bytes that they lack are there.
int64_t PaddedEnd(const Survey& survey);
// 2 bytes and more are told in bytes, a single one as "1 byte".
std::string Count(uint64_t number, std::string_view what);
std::string SecondsText(const Survey& survey, int64_t frames);

}  // namespace vantor::wavehost
