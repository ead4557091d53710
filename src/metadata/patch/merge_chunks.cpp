#include "metadata/patch/merge_chunks.h"

#include "metadata/patch/info_items.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

// What makes the entries of the scheme in `wanted` out of those in `own`.
MetadataStore ChangeOf(std::string_view prefix, const MetadataStore& own, const MetadataStore& wanted) {
    MetadataStore change;
    wanted.ForEach([&](const MetadataEntry& entry) {
        if (entry.key.starts_with(prefix) && own.Value(entry.key) != entry.value)
            change.Set(entry.key, entry.value);
    });
    own.ForEach([&](const MetadataEntry& entry) {
        if (!wanted.Has(entry.key)) change.Set(entry.key, {});
    });
    return change;
}

int Append(ChunkImage& image, std::string_view id, const Patched& body) {
    const size_t before = image.size();
    if (body && !body->empty()) AppendChunk(image, id, body->data(), body->size());
    return static_cast<int>(image.size() - before);
}

}  // namespace

int MergeInfoChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldLists) {
    if (oldLists.empty()) return BuildInfoChunk(image, store);
    const ChunkBody joined = oldLists.size() == 1 ? oldLists.front() : JoinInfoLists(oldLists);
    MetadataStore own;
    ReadInfo(joined, own);
    const auto change = ChangeOf("INFO:", own, store);
    return Append(image, "LIST", PatchInfo({joined, change}));
}

int MergeCartChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldCarts) {
    if (oldCarts.empty()) return BuildCartChunk(image, store);
    MetadataStore own;
    ReadCart(oldCarts.back(), own);
    const auto change = ChangeOf("CART:", own, store);
    return Append(image, "cart", PatchCart({oldCarts.back(), change}));
}

}  // namespace vantor
