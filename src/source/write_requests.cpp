// The write requests as the host makes them, handed to the edit, and what it asks of them afterwards.
#include <utility>

#include "edit/container.h"
#include "edit/edit_file.h"
#include "fileio/file_name.h"
#include "source/extended_calls.h"
#include "source/state_tables.h"

namespace vantor {

namespace {

MetadataStore StoreOf(const MetadataPair* pairs) {
    MetadataStore store;
    for (; pairs->key && pairs->value; ++pairs)
        store.Set(pairs->key, pairs->value);
    return store;
}

// `request` says what is to be written; file and target are those of the call.
intptr_t EditOwnFile(const ExtendedCallArguments& call, EditRequest request) {
    const auto state = call.source.Attachment().state;
    // A name that was changed is not that of the file whose tags the host sees.
    if (!state || CompareFileNames(state->fileName, call.source.Name()) != 0) return writeFailed;
    request.fileName = call.source.Name();
    request.target = static_cast<const char*>(call.a);
    // Before and after the edit the file is forgotten.
    request.forget = [](const std::string& name) { ForgetFile(name.c_str()); };
    const platform::LockGuard rewriting(state->rewriting);
    auto outcome = std::make_shared<const EditOutcome>(EditFile(request));
    const WriteAnswer answer = outcome->answer;
    call.source.SetOutcome(std::move(outcome));
    return answer;
}

// The element at the index that the host gives; null when there is none.
template <typename List>
auto* ElementAt(const List& list, void* index) {
    const size_t i = IndexArgument(index);
    return i < list.size() ? &list[i] : nullptr;
}

}  // namespace

// a: target file name, b: list of MetadataPair, c: WriteFlags. Returns a WriteAnswer.
intptr_t WriteMetadata(const ExtendedCallArguments& call) {
    if (!call.a || !call.b || !TakesTags(call.format)) return writeFailed;
    return EditOwnFile(call, {.changes = StoreOf(static_cast<const MetadataPair*>(call.b)),
                              .flags = IntegerArgument(call.c)});
}

// a: target file name, b: DocumentRecord, c: WriteFlags. Returns a WriteAnswer.
intptr_t WriteDocument(const ExtendedCallArguments& call) {
    const auto* record = static_cast<const DocumentRecord*>(call.b);
    if (!call.a || !record || !record->bytes || record->byteCount < 1 || !TakesTags(call.format))
        return writeFailed;
    if (!record->scheme) return writeFailed;
    const auto* bytes = static_cast<const uint8_t*>(record->bytes);
    return EditOwnFile(call, {.document = Document{record->scheme, {bytes, bytes + record->byteCount}},
                              .flags = IntegerArgument(call.c) & ~(writeMerge | writeLossless)});
}

// a: index, b: out key, c: out value. Returns 1, or 0 behind the last one.
intptr_t PlannedEntry(const ExtendedCallArguments& call) {
    const auto outcome = call.source.Outcome();
    if (!outcome || !call.b || !call.c) return 0;
    const auto* entry = outcome->planned.entries.At(IndexArgument(call.a));
    if (!entry) return 0;
    *static_cast<const char**>(call.b) = entry->key.c_str();
    *static_cast<const char**>(call.c) = entry->value.c_str();
    return 1;
}

// a: index, b: out id, c: DocumentRecord. Returns 1, or 0 behind the last one.
intptr_t PlannedChunk(const ExtendedCallArguments& call) {
    const auto outcome = call.source.Outcome();
    if (!outcome || !call.b || !call.c) return 0;
    const auto* chunk = ElementAt(outcome->planned.chunks, call.a);
    if (!chunk) return 0;
    *static_cast<const char**>(call.b) = chunk->id.c_str();
    *static_cast<DocumentRecord*>(call.c) = {chunk->scheme->name, chunk->body.data(),
                                             std::ssize(chunk->body)};
    return 1;
}

// a: index, b: out scheme. Returns 1, or 0 behind the last one.
intptr_t RebuiltScheme(const ExtendedCallArguments& call) {
    const auto outcome = call.source.Outcome();
    if (!outcome || !call.b) return 0;
    const auto* scheme = ElementAt(outcome->rebuilt, call.a);
    if (!scheme) return 0;
    *static_cast<const char**>(call.b) = scheme->data();  // names in the table end with a zero
    return 1;
}

}  // namespace vantor
