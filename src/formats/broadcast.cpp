#include "formats/broadcast.h"

#include <algorithm>

#include "metadata/read/read_metadata.h"

namespace vantor {

WalkStatus ReadBroadcast(ContainerWalk& walk, const Chunk& chunk) {
    constexpr uint64_t largestRead = 65536;
    if (ReadBody(walk.reader, std::min(chunk.bodyBytes, largestRead), walk.scratch))
        ReadMetadataChunk(walk.scratch, "BWF", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

}  // namespace vantor
