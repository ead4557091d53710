// The write request as the host makes it: handed to the edit, before and after which the file is forgotten.
#include "edit/edit_file.h"
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

}  // namespace

// a: target file name, b: list of MetadataPair, c: WriteFlags. Returns a WriteAnswer.
intptr_t WriteMetadata(const ExtendedCallArguments& call) {
    if (!call.a || !call.b || !TakesTags(call.format)) return writeFailed;
    const auto state = call.source.Attachment().state;
    if (!state) return writeFailed;
    const std::lock_guard rewriting(state->rewriting);
    return EditFile({.fileName = call.source.Name(),
                     .target = static_cast<const char*>(call.a),
                     .changes = StoreOf(static_cast<const MetadataPair*>(call.b)),
                     .flags = IntegerArgument(call.c),
                     .forget = [](const std::string& name) { ForgetFile(name.c_str()); }});
}

}  // namespace vantor
