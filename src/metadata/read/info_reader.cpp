// The body of a LIST chunk of type INFO (Multimedia Programming Interface and Data Specifications 1.0).
//
// | offset | width | field                                              |
// |      0 |     4 | "INFO"                                             |
// |      4 |       | items: id (4), length (4), text, pad to even       |

#include <algorithm>

#include "fileio/byte_order.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t typeBytes = 4;
constexpr size_t itemHeaderBytes = 8;

void StoreItem(std::string_view id, std::span<const uint8_t> text, MetadataStore& store) {
    std::string key = "INFO:";
    key.append(id);
    const auto value = UpToNul(text);
    if (id.starts_with('\0') || (value.empty() && store.Has(key))) return;
    if (IsValidUtf8(value))
        store.Set(key, value);
    else
        store.Set(key, Latin1ToUtf8(value));
}

}  // namespace

bool ReadInfo(std::span<const uint8_t> listBody, MetadataStore& store) {
    if (listBody.size() < typeBytes || !EqualIgnoringCase(FourCharacters(listBody.data()), "INFO"))
        return false;
    for (auto rest = listBody.subspan(typeBytes); rest.size() > itemHeaderBytes;) {
        const size_t length = ReadLe32(&rest[4]);
        const auto data = rest.subspan(itemHeaderBytes);
        if (length > data.size()) break;
        StoreItem(FourCharacters(rest.data()), data.first(length), store);
        rest = data.subspan(std::min(length + length % 2, data.size()));
    }
    return true;
}

}  // namespace vantor
