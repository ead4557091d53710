// The marks that an edit leaves in "JUNK" chunks while the file is not yet what it will be, so that the next
// edit can finish it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "edit/chunk_walk.h"

namespace vantor {

// At the end of the chunk in front of new tags that are shown out of their place, beside old ones or not:
// | offset | width | field                                                  |
// |      0 |     8 | "VWEDIT02"                                             |
// |      8 |     4 | schemes that the image replaces: bits as in SchemeBits |
// |     12 |     4 | bytes of the image                                     |
// |     16 |     8 | its checksum                                           |
// |     24 |     8 | bytes of the file before the edit                      |
inline constexpr int64_t copyMarkBytes = 32;

struct CopyMark {
    uint32_t schemes = 0;
    int64_t imageBytes = 0;
    uint64_t checksum = 0;
    int64_t fileBytes = 0;
};

// At the start of a chunk whose bytes are to become zeros, or to be cut off: no tag is there that counts.
inline constexpr std::array<uint8_t, 8> cleanUpMark = {'V', 'W', 'C', 'L', 'E', 'A', 'N', '1'};
inline constexpr int64_t cleanUpMarkBytes = std::ssize(cleanUpMark);

// Bit i stands for line i of the table of schemes.
[[nodiscard]] uint32_t SchemeBits(Schemes schemes);
[[nodiscard]] std::vector<std::string_view> SchemesOf(uint32_t bits);

[[nodiscard]] uint64_t ChecksumOf(std::span<const uint8_t> image);
[[nodiscard]] std::array<uint8_t, copyMarkBytes> BytesOf(const CopyMark& mark);

struct ShownCopy {
    CopyMark mark;
    int64_t header = 0;  // of the "JUNK" chunk in front
    int64_t start = 0;   // of the image
    std::vector<uint8_t> image;
};
struct EditMarks {
    std::optional<ShownCopy> copy;  // whole, in a file of the size in which the edit left it
    std::vector<int64_t> toClean;   // headers of the first chunks with the other mark
};
[[nodiscard]] EditMarks FindMarks(FileReader& reader, bool isRf64);

}  // namespace vantor
