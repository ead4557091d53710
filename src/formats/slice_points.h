// Slice or transient positions that a loop's chunk lists (ACID `strc`, Apple Loops `trns`).
#pragma once

#include <cstdint>

#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"

namespace vantor {

// The shape of such a chunk: a header to skip, then entries that each hold one position.
struct SliceTable {
    uint64_t headerBytes;
    uint64_t entryBytes;                        // at most largestSliceEntry
    int64_t (*position)(const uint8_t* entry);  // in frames
};
inline constexpr uint64_t largestSliceEntry = 32;

// Adds the position of every whole entry of the body at the reader's position.
void ReadSlicePoints(ContainerWalk& walk, uint64_t bodyBytes, const SliceTable& table);

}  // namespace vantor
