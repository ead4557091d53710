#include "metadata/key_table.h"
#include "text/text.h"

namespace vantor {

namespace {

void ApplyField(const char* name, std::string_view value, MetadataStore& store) {
    char key[schemeKeyBytes];
    for (int index = 0; SchemeKeyFor(name, index, key, sizeof key); ++index) {
        if (value.empty())
            store.Remove(key);
        else
            store.Set(key, value);
    }
}

}  // namespace

void ApplyFields(std::span<const FieldPair> fields, MetadataStore& store, int sampleRate) {
    bool oldPicturesRemoved = false;
    for (const auto& [name, value] : fields) {
        if (name == "PREFPOS") {
            SetTimeReference(store, static_cast<double>(UnsignedDecimal(value)) / 1000.0, sampleRate);
        } else if (IsPictureKey(name)) {
            if (!oldPicturesRemoved) RemovePictureKeys(store);
            oldPicturesRemoved = true;
            store.Set(name, value);
        } else {
            ApplyField(name.c_str(), value, store);
        }
    }
}

bool IsPictureKey(std::string_view key) {
    return key.starts_with("ID3:APIC") || key.starts_with("FLACPIC:APIC");
}

void RemovePictureKeys(MetadataStore& store) {
    store.RemoveWhere(IsPictureKey);
}

}  // namespace vantor
