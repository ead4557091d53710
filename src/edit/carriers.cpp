#include "edit/carriers.h"

#include <utility>

#include "metadata/read/id3_frames.h"
#include "metadata/read/ixml_walk.h"

namespace vantor {

namespace {

bool IsInOrder(const TagChunk& chunk) {
    return chunk.Is("ID3") ? IsWalkedWhole(chunk.body) : chunk.Is("ACID");
}

// As its reader takes it; nothing when it never would.
Patched ReadableBody(const TagChunk& chunk) {
    if (!chunk.isRefused) return chunk.body;
    if (!IsInOrder(chunk)) return std::nullopt;
    auto body = chunk.scheme->patch({chunk.body, MetadataStore()});
    MetadataStore scratch;
    const bool isRead = body && chunk.scheme->read(*body, scratch, chunk.bodyStart);
    return isRead ? body : std::nullopt;
}

// Read behind the entries before.
MetadataStore EntriesOf(const TagChunk& chunk, const ChunkBody& body, const MetadataStore& before) {
    MetadataStore all = before;
    chunk.scheme->read(body, all, chunk.bodyStart);
    return Filtered(all, [&](const std::string& key) { return !before.Has(key); });
}

}  // namespace

std::vector<Carrier> CarriersIn(const TagChunks& chunks) {
    std::vector<Carrier> carriers;
    MetadataStore documents;
    for (const auto& chunk : chunks.list) {
        const auto readable = ReadableBody(chunk);
        if (!readable) continue;
        auto entries = EntriesOf(chunk, *readable, documents);
        Carrier carrier{&chunk, chunk.isRefused, documents, std::move(entries), {}, chunk.body};
        if (!chunk.isRefused) documents.AddMissing(Filtered(carrier.entries, IsIxmlKey));
        carriers.push_back(std::move(carrier));
    }
    return carriers;
}

MetadataStore Filtered(const MetadataStore& store, const std::function<bool(const std::string& key)>& takes) {
    MetadataStore taken;
    store.ForEach([&](const MetadataEntry& entry) {
        if (takes(entry.key)) taken.Set(entry.key, entry.value);
    });
    return taken;
}

}  // namespace vantor
