// The mark in the "JUNK" chunk in front of new chunks that are not in their final place yet. It tells an
// edit that was interrupted while old and new tags stood side by side.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "edit/chunk_walk.h"

namespace vantor {

// | offset | width | field                                                  |
// |      0 |     8 | "VWEDIT01"                                             |
// |      8 |     4 | schemes that the image replaces: bits as in SchemeBits |
// |     12 |     4 | bytes of the image                                     |
// |     16 |     8 | its checksum                                           |
inline constexpr int64_t editMarkBytes = 24;

struct EditMark {
    uint32_t schemes = 0;
    int64_t imageBytes = 0;
    uint64_t checksum = 0;
};

// Bit i stands for line i of the table of schemes.
[[nodiscard]] uint32_t SchemeBits(Schemes schemes);
[[nodiscard]] std::vector<std::string_view> SchemesOf(uint32_t bits);

[[nodiscard]] EditMark MarkOf(std::span<const uint8_t> image, Schemes schemes);
[[nodiscard]] std::array<uint8_t, editMarkBytes> BytesOf(const EditMark& mark);

// New chunks that were shown, behind the "JUNK" chunk with their mark, while old ones may still stand.
struct ShownCopy {
    EditMark mark;
    int64_t header = 0;  // of the "JUNK" chunk
    int64_t start = 0;   // of the copy
    [[nodiscard]] int64_t End() const { return start + mark.imageBytes; }
};
[[nodiscard]] std::optional<ShownCopy> FindShownCopy(FileReader& reader, bool isRf64);

}  // namespace vantor
