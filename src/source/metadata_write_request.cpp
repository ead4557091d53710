// The write request as the host makes it: handed to the edit, before and after which the file is forgotten.
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

}  // namespace

// a: target file name, b: list of MetadataPair, c: WriteFlags. Returns a WriteAnswer.
intptr_t WriteMetadata(const ExtendedCallArguments& call) {
    if (!call.a || !call.b || !TakesTags(call.format)) return writeFailed;
    const auto state = call.source.Attachment().state;
    // A name that was changed is not that of the file whose tags the host sees.
    if (!state || CompareFileNames(state->fileName, call.source.Name()) != 0) return writeFailed;
    const platform::LockGuard rewriting(state->rewriting);
    return EditFile({.fileName = call.source.Name(),
                     .target = static_cast<const char*>(call.a),
                     .changes = StoreOf(static_cast<const MetadataPair*>(call.b)),
                     .flags = IntegerArgument(call.c),
                     .forget = [](const std::string& name) { ForgetFile(name.c_str()); }});
}

}  // namespace vantor
