#include "source/wav_metadata_source.h"

#include <algorithm>
#include <memory>

#include "metadata/key_table.h"
#include "source/extended_calls.h"
#include "source/guarded.h"
#include "source/source_entry.h"

namespace vantor {

namespace {

constexpr ReadParameters headerReading{2, 8192, 4};  // a few small chunks, far apart

}  // namespace

PCM_source_wav_metadata::PCM_source_wav_metadata(const char* fileName) {
    FileReader reader(fileName, headerReading);
    valid_ = ParseMetadataHeader(reader, header_);
}

void* PCM_source_wav_metadata::DeletingDestructor(unsigned flags) {
    if (flags & deleteAndFree) {
        const std::unique_ptr<PCM_source_wav_metadata> owned(this);
    } else {
        this->~PCM_source_wav_metadata();
    }
    return this;  // NOLINT(clang-analyzer-cplusplus.NewDelete): the address alone, as compilers' own do
}

intptr_t PCM_source_wav_metadata::ExtendedCall(int32_t code, void* a, void* b, void* c) {
    switch (code) {
        case callValueByKey:
            return ValueByKey(static_cast<const char*>(a), static_cast<char*>(b), IntegerArgument(c));
        case callEntryByIndex:
            return EntryByIndex(IndexArgument(a), static_cast<const char**>(b), static_cast<const char**>(c));
        case callPacketTable:
            return PacketTable(static_cast<int64_t*>(a), static_cast<int32_t*>(b), static_cast<int32_t*>(c));
        default:
            return 0;
    }
}

intptr_t PCM_source_wav_metadata::ValueByKey(const char* key, char* value, int32_t valueBytes) const {
    if (!key || !value || valueBytes < 1) return 0;
    const std::string_view found = header_.metadata.Value(key);
    const size_t room = static_cast<size_t>(valueBytes);
    CopyText(value, room, found);
    return static_cast<intptr_t>(std::min(found.size(), room - 1));
}

intptr_t PCM_source_wav_metadata::EntryByIndex(size_t index, const char** key, const char** value) const {
    const MetadataEntry* entry = header_.metadata.At(index);
    if (!entry || !key || !value) return 0;
    *key = entry->key.c_str();
    *value = entry->value.c_str();
    return 1;
}

intptr_t PCM_source_wav_metadata::PacketTable(int64_t* valid, int32_t* priming, int32_t* remainder) const {
    if (valid) *valid = header_.validFrames;
    if (priming) *priming = header_.primingFrames;
    if (remainder) *remainder = header_.remainderFrames;
    return header_.validFrames >= 1 ? 1 : 0;
}

PCM_source* CreateMetadataSource(const char* fileName) {
    return Guarded<PCM_source*>(nullptr, [&]() -> PCM_source* {
        if (!fileName) return nullptr;
        auto source = std::make_unique<PCM_source_wav_metadata>(fileName);
        return source->IsValid() ? source.release() : nullptr;
    });
}

}  // namespace vantor
