#include "edit/merge_fields.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "metadata/key_table.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/ixml_walk.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

namespace {

using Keys = std::set<std::string, std::less<>>;

void AddKeysOf(const std::string& name, Keys& keys) {
    if (HasSchemePrefix(name)) {
        keys.insert(name);
        return;
    }
    char key[schemeKeyBytes];
    for (int index = 0; SchemeKeyFor(name.c_str(), index, key, sizeof key); ++index)
        keys.emplace(key);
}

// What an edit before this one made of a key that is written under another name gives way to the new value;
// else the two would stand side by side, and the old one would be found first.
void RemoveWrittenForm(MetadataStore& store, const std::string& key) {
    if (store.Has(key)) return;  // then the other name is another entry
    const auto written = key.starts_with(id3Prefix) ? Id3KeyAsWritten(key) : IxmlKeyAsWritten(key);
    if (written != key) store.Remove(written);
}

// The texts of an ID3 tag of version 2.2 whose present id is changed or removed ("TT2" for "TIT2").
void RemoveOlderForms(MetadataStore& store, const Keys& changed) {
    std::vector<std::string> older;
    store.ForEach([&](const MetadataEntry& entry) {
        const bool isNamed = changed.contains(entry.key);
        if (!isNamed && changed.contains(Id3KeyAsWritten(entry.key))) older.push_back(entry.key);
    });
    for (const auto& key : older)
        store.Remove(key);
}

void MergeFields(MetadataStore& store, const MetadataStore& changes, double sampleRate) {
    Keys changed;
    changes.ForEach([&](const MetadataEntry& change) { AddKeysOf(change.key, changed); });
    for (const auto& key : changed)
        RemoveWrittenForm(store, key);
    RemoveOlderForms(store, changed);

    std::vector<FieldPair> fields;
    changes.ForEach([&](const MetadataEntry& change) {
        const bool isNewPicture = IsPictureKey(change.key) && !change.value.empty();
        if (isNewPicture || !HasSchemePrefix(change.key)) {
            fields.emplace_back(change.key, change.value);
        } else if (change.value.empty()) {
            store.Remove(change.key);
        } else {
            store.Set(change.key, change.value);
        }
    });
    ApplyFields(fields, store, static_cast<int>(std::clamp(sampleRate, 0.0, 2147483647.0)));
}

void TakeDocumentOnce(MetadataStore& store, const OldChunks& old) {
    if (!old.repeatsDocument) return;
    store.RemoveWhere(IsIxmlKey);
    store.AddMissing(old.documentEntries);
}

// Every broadcast chunk gives a position, and a rewritten iXML document none.
void KeepPosition(MetadataStore& store, const AudioFormat& format, const MetadataStore& changes) {
    const auto frames = PositionToKeep(format, changes);
    const bool isLost = StoreHasScheme("BWF", store) || HoldsPositionInDocument(format.metadata);
    if (frames && isLost && !store.Has("BWF:TimeReference"))
        store.Set("BWF:TimeReference", std::to_string(*frames));
}

}  // namespace

std::optional<uint64_t> PositionToKeep(const AudioFormat& format, const MetadataStore& changes) {
    const double seconds = ReadTimeReference(&format.metadata, format.sampleRate);
    if (changes.Has("PREFPOS") || NamesTimeReference(changes) || !(seconds >= 0)) return std::nullopt;
    const double frames = std::round(seconds * format.sampleRate);
    return frames < 0x1p63 ? std::optional(static_cast<uint64_t>(frames)) : std::nullopt;
}

MetadataStore MergedTags(const AudioFormat& format, const MetadataStore& changes) {
    MetadataStore store = format.metadata;
    MergeFields(store, changes, format.sampleRate);
    return store;
}

MetadataStore EditedTags(const AudioFormat& format, const OldChunks& old, const MetadataStore& changes,
                         bool merges) {
    MetadataStore store;
    if (merges) store = format.metadata;
    store.AddMissing(old.refusedTagEntries);
    TakeDocumentOnce(store, old);
    RemoveBwfCopies(store);
    MergeFields(store, changes, format.sampleRate);
    if (merges) KeepPosition(store, format, changes);
    return store;
}

}  // namespace vantor
