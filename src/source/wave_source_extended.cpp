#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "metadata/key_table.h"
#include "source/extended_calls.h"
#include "source/file_info_text.h"
#include "source/guarded.h"
#include "text/text.h"

namespace vantor {

namespace {

// a: text buffer, b: its size.
intptr_t FileInfo(const ExtendedCallArguments& call) {
    const int32_t textBytes = IntegerArgument(call.b);
    if (!call.a || textBytes < 1) return 0;
    const std::string text = FileInfoText(call.format, call.source.LengthSeconds());
    CopyText(static_cast<char*>(call.a), static_cast<size_t>(textBytes), text);
    return text.empty() ? 0 : 1;
}

// a receives the project position note that the host wrote into the description; the text is the store's.
intptr_t ProjectNote(const ExtendedCallArguments& call) {
    constexpr std::string_view prefix = "TQP:";
    const auto* description = call.format.metadata.Get("BWF:Description");
    if (!call.a || !description || !description->starts_with(prefix) || description->size() == prefix.size())
        return 0;
    *static_cast<const char**>(call.a) = description->c_str() + prefix.size();
    return 1;
}

// a: index in key order, b receives the key, c the value; both texts are the store's.
intptr_t EntryByIndex(const ExtendedCallArguments& call) {
    if (!call.b || !call.c) return 0;
    const MetadataEntry* entry = call.format.metadata.At(IndexArgument(call.a));
    if (!entry) return 0;
    *static_cast<const char**>(call.b) = entry->key.c_str();
    *static_cast<const char**>(call.c) = entry->value.c_str();
    return 1;
}

bool CopyMarker(const AudioFormat& format, size_t index, MarkerRecord* record) {
    if (record) *record = {};
    if (index >= format.markers.size()) return false;
    if (!record) return true;
    const Marker& marker = format.markers[index];
    *record = {marker.id, marker.isRegion, marker.start, marker.end, marker.name, marker.namePriority, 0};
    return true;
}

// a: index, b: the record to fill. Whole files only.
intptr_t MarkerByIndex(const ExtendedCallArguments& call) {
    if (call.source.SliceIndex() >= 0) return 0;
    return CopyMarker(call.format, IndexArgument(call.a), static_cast<MarkerRecord*>(call.b));
}

// a: index, b: the place of a record pointer, which receives a new record; with a negative index the record
// there is freed. Whole files only.
intptr_t AllocatedMarker(const ExtendedCallArguments& call) {
    if (call.source.SliceIndex() >= 0) return 0;
    auto** place = static_cast<MarkerRecord**>(call.b);
    if (IntegerArgument(call.a) < 0) {
        if (place) const std::unique_ptr<MarkerRecord> freed(std::exchange(*place, nullptr));
        return 0;
    }
    std::unique_ptr<MarkerRecord> record;
    if (place) {
        *place = nullptr;
        record = std::make_unique<MarkerRecord>();
    }
    if (!CopyMarker(call.format, IndexArgument(call.a), record.get())) return 0;
    if (place) *place = record.release();
    return 1;
}

struct Handler {
    int32_t code;
    intptr_t (*answer)(const ExtendedCallArguments& call);
};

constexpr std::array handlers = {
    Handler{callFileInfoText, FileInfo},       Handler{callProjectNote, ProjectNote},
    Handler{callValueByKey, ValueByKey},       Handler{callEntryByIndex, EntryByIndex},
    Handler{callWriteMetadata, WriteMetadata}, Handler{callTempo, Tempo},
    Handler{callUsableTempo, UsableTempo},     Handler{callAllocatedMarker, AllocatedMarker},
    Handler{callMarker, MarkerByIndex},        Handler{callBeatSlices, BeatSlices},
    Handler{callDocument, DocumentOf},         Handler{callWriteDocument, WriteDocument},
    Handler{callPlannedEntry, PlannedEntry},   Handler{callPlannedChunk, PlannedChunk},
    Handler{callRebuiltScheme, RebuiltScheme},
};

// The call is not answered, but the text buffer tells the user why.
void TellStatus(const PCM_source_wavefile& source, void* text, int32_t textBytes) {
    if (!text || textBytes < 1) return;
    CopyText(static_cast<char*>(text), static_cast<size_t>(textBytes),
             ClosedStatusText(source.IsForcedOffline()));
}

}  // namespace

// a: key of a field or a scheme, b: value buffer, c: its size. Returns the length of the value.
intptr_t ValueByKey(const ExtendedCallArguments& call) {
    const auto* key = static_cast<const char*>(call.a);
    auto* value = static_cast<char*>(call.b);
    const int32_t valueBytes = IntegerArgument(call.c);
    if (!key || !value || valueBytes < 1) return 0;
    const auto room = static_cast<size_t>(valueBytes);
    value[0] = '\0';
    LookupField(key, value, room, &call.format.metadata);
    if (!value[0] && std::strcmp(key, "BPM") == 0) {
        double tempo = 0;
        if (UsableTempo({call.source, call.format, &tempo, nullptr, nullptr}))
            CopyText(value, room, TrimNumber(FixedText(tempo, 4)));
    }
    if (!value[0] && std::strcmp(key, "KEY") == 0) CopyText(value, room, MusicalKeyText(call.format));
    return static_cast<intptr_t>(std::strlen(value));
}

intptr_t PCM_source_wavefile::ExtendedCall(int32_t code, void* a, void* b, void* c) {
    return Guarded<intptr_t>(0, [&]() -> intptr_t {
        const auto [state, format] = Attachment();
        if (code == callSourceGoesAway) {
            if (state) DisownReaders(*state, this);
            return 1;
        }
        if (code == callSetHostValue) {
            hostValue_ = a;
            return 1;
        }
        if (!format) {
            if (code == callFileInfoText) TellStatus(*this, a, IntegerArgument(b));
            return 0;
        }
        const auto* handler = std::find_if(handlers.begin(), handlers.end(),
                                           [&](const Handler& candidate) { return candidate.code == code; });
        return handler == handlers.end() ? 0 : handler->answer({*this, *format, a, b, c});
    });
}

}  // namespace vantor
