#include "metadata/patch/patch_chunks.h"

namespace vantor {

void KeepParity(ChunkBody& body, size_t oldBytes, size_t from) {
    if (body.size() % 2 == oldBytes % 2) return;
    size_t zeros = 0;
    while (zeros < body.size() - from && body[body.size() - 1 - zeros] == 0)
        ++zeros;
    if (zeros % 2 != 0)
        body.pop_back();
    else
        body.push_back(0);
}

}  // namespace vantor
