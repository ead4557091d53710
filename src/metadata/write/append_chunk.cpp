#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

void AppendChunk(ChunkImage& image, std::string_view id, const uint8_t* body, size_t bodyBytes) {
    uint8_t size[4];
    WriteLe32(size, static_cast<uint32_t>(bodyBytes));
    image.insert(image.end(), id.begin(), id.end());
    image.insert(image.end(), std::begin(size), std::end(size));
    image.insert(image.end(), body, body + bodyBytes);
    if (bodyBytes % 2 != 0) image.push_back(0);
}

}  // namespace vantor
