// The broadcast chunk in the walks of RIFF and Wave64.
#pragma once

#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"
#include "metadata/bext_layout.h"

namespace vantor {

// Any smaller is left to the catalogue, which has it refused.
inline constexpr uint64_t smallestBroadcast = bext::bodyBytes;

// A coding history beyond it is not read.
inline constexpr uint64_t largestBroadcastRead = 65536;

// Reads its entries into the format's metadata.
WalkStatus ReadBroadcast(ContainerWalk& walk, const Chunk& chunk);

}  // namespace vantor
