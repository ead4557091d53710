#include "source/merge_fields.h"

#include <algorithm>
#include <string>
#include <vector>

#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

namespace {

// What an edit before this one made of a key that is written under another name gives way to the new value;
// else the two would stand side by side, and the old one would be found first.
void RemoveWrittenForm(MetadataStore& store, std::string_view key) {
    if (store.Has(key)) return;  // then the other name is another entry
    const auto written = key.starts_with("ID3:") ? Id3KeyAsWritten(key) : IxmlKeyAsWritten(key);
    if (written != key) store.Remove(written);
}

void RemoveWrittenForms(MetadataStore& store, const std::string& name) {
    if (HasSchemePrefix(name)) return RemoveWrittenForm(store, name);
    char key[schemeKeyBytes];
    for (int index = 0; SchemeKeyFor(name.c_str(), index, key, sizeof key); ++index)
        RemoveWrittenForm(store, key);
}

}  // namespace

void MergeFields(MetadataStore& store, const MetadataStore& changes, double sampleRate) {
    changes.ForEach([&](const MetadataEntry& change) { RemoveWrittenForms(store, change.key); });
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

}  // namespace vantor
