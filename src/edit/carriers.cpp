#include "edit/carriers.h"

#include <utility>

#include "metadata/acid_layout.h"
#include "metadata/read/id3_frames.h"
#include "metadata/read/ixml_walk.h"

namespace vantor {

namespace {

bool IsInOrder(const TagChunk& chunk, const AudioFormat& format) {
    if (chunk.Is("ID3")) return IsWalkedWhole(chunk.body);
    return chunk.Is("ACID") && format.loopKind != 0 && chunk.body.size() != acid::bodyBytes;
}

// As its reader takes it; nothing when it never would.
Patched ReadableBody(const TagChunk& chunk, const AudioFormat& format) {
    if (!chunk.isRefused) return chunk.body;
    return IsInOrder(chunk, format) ? chunk.scheme->patch({chunk.body, MetadataStore()}) : std::nullopt;
}

// Read behind the entries before.
MetadataStore EntriesOf(const TagChunk& chunk, const ChunkBody& body, const MetadataStore& before) {
    MetadataStore all = before;
    chunk.scheme->read(body, all, chunk.bodyStart);
    return Filtered(all, [&](const std::string& key) { return !before.Has(key); });
}

}  // namespace

std::vector<Carrier> CarriersIn(const TagChunks& chunks, const AudioFormat& format) {
    std::vector<Carrier> carriers;
    MetadataStore documents;
    for (const auto& chunk : chunks.list) {
        const auto readable = ReadableBody(chunk, format);
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
