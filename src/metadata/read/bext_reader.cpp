#include "fileio/byte_order.h"
#include "metadata/bext_layout.h"
#include "metadata/read/read_metadata.h"
#include "metadata/read/text_fields.h"
#include "text/text.h"

namespace vantor {

namespace {

// A raw 0 stands for "not measured" as well: it is not stored.
void StoreLoudness(std::span<const uint8_t> chunk, MetadataStore& store) {
    size_t offset = bext::loudnessOffset;
    for (const auto* key : bext::loudnessKeys) {
        const auto hundredths = static_cast<int16_t>(ReadLe16(&chunk[offset]));
        if (hundredths != 0) store.Set(key, TrimNumber(FixedText(hundredths * 0.01, 6)));
        offset += 2;
    }
}

}  // namespace

bool ReadBext(std::span<const uint8_t> chunk, MetadataStore& store) {
    if (chunk.size() < bext::bodyBytes) return false;
    for (const auto& field : {bext::description, bext::originator, bext::originatorReference,
                              bext::originationDate, bext::originationTime})
        StoreTextField(field, chunk, store);
    store.Set(bext::timeReferenceKey, std::to_string(ReadLe64(&chunk[bext::timeReferenceOffset])));
    if (ReadLe16(&chunk[bext::versionOffset]) >= bext::versionWithLoudness) StoreLoudness(chunk, store);
    return true;
}

}  // namespace vantor
