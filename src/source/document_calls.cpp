// Documents as they stand, read and written for the host.
#include <algorithm>
#include <cstring>

#include "edit/document.h"
#include "edit/edit_file.h"
#include "source/extended_calls.h"
#include "source/state_tables.h"

namespace vantor {

// a: scheme, b: buffer, c: its size. Returns the bytes of the document.
intptr_t DocumentOf(const ExtendedCallArguments& call) {
    constexpr ReadParameters documentReading{1, 8192, 4};
    const auto* scheme = static_cast<const char*>(call.a);
    if (!scheme) return 0;
    FileReader file(call.source.Name(), documentReading);
    if (!file.IsOpen()) return 0;
    const auto document = ReadDocument(file, call.format, scheme);
    const auto room = static_cast<size_t>(std::max(IntegerArgument(call.c), 0));
    if (call.b && room > 0 && !document.empty())
        std::memcpy(call.b, document.data(), std::min(room, document.size()));
    return static_cast<intptr_t>(document.size());
}

// a: target file name, b: DocumentRecord, c: WriteFlags. Returns a WriteAnswer.
intptr_t WriteDocument(const ExtendedCallArguments& call) {
    const auto* record = static_cast<const DocumentRecord*>(call.b);
    if (!call.a || !record || !record->scheme || !record->bytes || record->byteCount < 1) return writeFailed;
    const auto state = call.source.Attachment().state;
    if (!state || !TakesTags(call.format)) return writeFailed;
    const platform::LockGuard rewriting(state->rewriting);
    const auto* bytes = static_cast<const uint8_t*>(record->bytes);
    return EditFile({.fileName = call.source.Name(),
                     .target = static_cast<const char*>(call.a),
                     .changes = {},
                     .document = Document{record->scheme, {bytes, bytes + record->byteCount}},
                     .flags = IntegerArgument(call.c) & ~(writeMerge | writeLossless),
                     .forget = [](const std::string& name) { ForgetFile(name.c_str()); }});
}

}  // namespace vantor
