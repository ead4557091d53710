// Metadata stores as plain lists, to write them down and to compare them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "metadata/metadata_store.h"

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

}  // namespace vantor::test
