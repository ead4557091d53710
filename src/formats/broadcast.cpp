#include "formats/broadcast.h"

#include <algorithm>

#include "metadata/read/read_metadata.h"

namespace vantor {

WalkStatus ReadBroadcast(ContainerWalk& walk, const Chunk& chunk) {
    if (const auto body =
            LendBody(walk.reader, std::min(chunk.bodyBytes, largestBroadcastRead), walk.scratch))
        ReadMetadataChunk(*body, "BWF", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

}  // namespace vantor
