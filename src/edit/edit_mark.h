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
// | offset | width | field                                                     |
// |      0 |     8 | "VWEDIT02"                                                |
// |      8 |     4 | schemes that the image replaces: bits as in SchemeBits    |
// |     12 |     4 | bytes of the image                                        |
// |     16 |     8 | its checksum                                              |
// |     24 |     8 | bytes of the file before the edit                         |
// |     32 |     8 | where the image belongs                                   |
// |     40 |     4 | bytes of it that belong there; the rest belongs elsewhere |
// |     44 |     4 | number of places for the rest                             |
// In front of the mark, for each of these places in the order of the image:
// |      0 |     8 | its offset                                                |
// |      8 |     4 | bytes of the image                                        |
inline constexpr int64_t copyMarkBytes = 48;
inline constexpr int64_t partMarkBytes = 12;
inline constexpr int64_t mostParts = 64;

struct CopyMark {
    struct Part {
        int64_t start = 0;
        int64_t bytes = 0;
    };
    uint32_t schemes = 0;
    int64_t imageBytes = 0;
    uint64_t checksum = 0;
    int64_t fileBytes = 0;
    Part target;
    std::vector<Part> parts;  // mostParts at most
    [[nodiscard]] int64_t Bytes() const { return copyMarkBytes + partMarkBytes * std::ssize(parts); }
};

// At the start of a chunk whose bytes are to become zeros, or to be cut off: no tag is there that counts.
inline constexpr std::array<uint8_t, 8> cleanUpMark = {'V', 'W', 'C', 'L', 'E', 'A', 'N', '1'};
inline constexpr int64_t cleanUpMarkBytes = std::ssize(cleanUpMark);

// Bit i stands for line i of the table of schemes.
[[nodiscard]] uint32_t SchemeBits(Schemes schemes);
[[nodiscard]] std::vector<std::string_view> SchemesOf(uint32_t bits);

[[nodiscard]] uint64_t ChecksumOf(std::span<const uint8_t> image);
[[nodiscard]] std::vector<uint8_t> BytesOf(const CopyMark& mark);  // the places in front

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
