// What an ID3v2 tag's extended header says of the frames behind it: their check sum, and the length of the
// padding. Where that was right before frames were changed, it is right again.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vantor {

// A tag as it is stored.
struct Id3TagParts {
    std::span<const uint8_t> head;  // header and extended header
    std::span<const uint8_t> frames;
    std::span<const uint8_t> rest;  // padding; no footer
};

// The head of `old` for a tag that has the frames and the rest of `now`. The size in the header stays.
[[nodiscard]] std::vector<uint8_t> Id3HeadFor(const Id3TagParts& now, const Id3TagParts& old);

// Appends the bytes with a zero behind every 255 that could be taken for the start of something else.
void AppendUnsynchronised(std::vector<uint8_t>& to, std::span<const uint8_t> plain);

}  // namespace vantor
