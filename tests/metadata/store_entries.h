// Metadata stores as plain lists, to write them down and to compare them.
#pragma once

#include <ranges>
#include <string>
#include <utility>
#include <vector>

#include "metadata/read/read_metadata.h"
#include "tests/support/byte_writer.h"

namespace vantor::test {

using Entries = std::vector<std::pair<std::string, std::string>>;

inline Entries EntriesOf(const MetadataStore& store) {
    Entries entries;
    store.ForEach([&](const MetadataEntry& entry) { entries.emplace_back(entry.key, entry.value); });
    return entries;
}

inline MetadataStore StoreOf(const Entries& entries) {
    MetadataStore store;
    for (const auto& [key, value] : entries)
        store.Set(key, value);
    return store;
}

// Entries written as "key=value|key=value", every key behind the prefix.
inline Entries Listed(const std::string& prefix, std::string_view text) {
    Entries entries;
    for (const auto part : std::views::split(text, '|')) {
        const std::string item(part.begin(), part.end());
        const auto equals = item.find('=');
        entries.emplace_back(prefix + item.substr(0, equals), item.substr(equals + 1));
    }
    return entries;
}

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

inline std::string TextOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// What the reader of a kind ("BWF", "INFO", ...) stores; a refused chunk shows as the entry "refused".
inline Entries ReadEntries(std::string_view kind, const Bytes& chunk) {
    MetadataStore store;
    if (!ReadMetadataChunk(chunk, kind, store, 0)) store.Set("refused", "");
    return EntriesOf(store);
}
inline const Entries refused = {{"refused", ""}};

}  // namespace vantor::test
