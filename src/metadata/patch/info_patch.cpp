// Items stay with id, bytes and place. A changed one is replaced where it stands, a new one goes behind the
// last; what follows the items that a reader can reach stays at the end.
#include <algorithm>
#include <map>
#include <string>

#include "fileio/byte_order.h"
#include "metadata/patch/info_items.h"
#include "metadata/patch/patch_chunks.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view prefix = "INFO:";
constexpr size_t idBytes = 4;
constexpr size_t headerBytes = 8;

void AppendItem(ChunkBody& body, std::string_view id, std::string_view value) {
    const auto text = Utf8OrLatin1(value);
    AppendChunk(body, id, reinterpret_cast<const uint8_t*>(text.c_str()), text.size() + 1);
}

// The item of each key whose text a reader ends up with: the last of several.
std::map<std::string_view, const InfoItem*> DecidingItems(const std::vector<InfoItem>& list) {
    std::map<std::string_view, const InfoItem*> deciding;
    for (const InfoItem& item : list)
        if (item.hasText) deciding[item.key] = &item;
    return deciding;
}

}  // namespace

InfoItems InfoItemsOf(std::span<const uint8_t> body) {
    InfoItems items{{}, body.subspan(infoTypeBytes)};
    while (items.rest.size() > headerBytes) {
        const size_t length = ReadLe32(&items.rest[idBytes]);
        if (length > items.rest.size() - headerBytes) break;
        const size_t whole = std::min(headerBytes + length + length % 2, items.rest.size());
        const auto text = UpToNul(items.rest.subspan(headerBytes, length));
        const auto id = UpToNul(items.rest.first(idBytes));
        const bool hasText = !text.empty() && !id.empty();
        items.list.push_back({std::string(prefix).append(id), items.rest.first(whole), hasText});
        items.rest = items.rest.subspan(whole);
    }
    return items;
}

ChunkBody JoinInfoLists(std::span<const ChunkBody> lists) {
    ChunkBody joined = BlankInfo();
    for (const auto& list : lists) {
        if (list.size() < infoTypeBytes) continue;
        for (const auto& item : InfoItemsOf(list).list) {
            joined.insert(joined.end(), item.whole.begin(), item.whole.end());
            if (joined.size() % 2 != 0) joined.push_back(0);
        }
    }
    return joined;
}

ChunkBody BlankInfo() {
    constexpr std::string_view type = "INFO";
    return {type.begin(), type.end()};
}

Patched PatchInfo(const PatchInput& input) {
    if (input.body.size() < infoTypeBytes) return std::nullopt;
    const auto items = InfoItemsOf(input.body);
    const auto deciding = DecidingItems(items.list);
    ChunkBody body(input.body.begin(), input.body.begin() + infoTypeBytes);
    for (const InfoItem& item : items.list) {
        const auto* value = item.hasText ? input.change.Get(item.key) : nullptr;
        if (value == nullptr || (!value->empty() && deciding.at(item.key) != &item))
            body.insert(body.end(), item.whole.begin(), item.whole.end());
        else if (!value->empty())
            AppendItem(body, FourCharacters(item.whole.data()), *value);
    }
    input.change.ForEach([&](const MetadataEntry& entry) {
        const std::string_view key = entry.key;
        if (!key.starts_with(prefix) || entry.value.empty() || deciding.contains(key)) return;
        const auto id = key.substr(prefix.size());
        if (id.size() != idBytes) return;
        if (body.size() % 2 != 0) body.push_back(0);  // the last item had no pad byte
        AppendItem(body, id, entry.value);
    });
    body.insert(body.end(), items.rest.begin(), items.rest.end());
    return body.size() == infoTypeBytes ? ChunkBody() : body;
}

}  // namespace vantor
