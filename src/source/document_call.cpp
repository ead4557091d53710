// A document as it stands in the file.
#include <algorithm>
#include <cstring>

#include "edit/document.h"
#include "source/extended_calls.h"

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

}  // namespace vantor
