// The information chunk of a CAF file (Apple Core Audio Format Specification 1.0, "Information Chunk").
//
// | offset | width | field                                                             |
// |      0 |     4 | number of entries n, big-endian                                   |
// |      4 |       | 2 n UTF-8 strings, each with its NUL: key and value alternately   |

#include <optional>

#include "fileio/byte_order.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr uint32_t maximumEntries = 16383;

// Takes the next string from the front; nothing when no NUL ends it.
std::optional<std::string_view> TakeString(std::span<const uint8_t>& bytes) {
    const auto text = UpToNul(bytes);
    if (text.size() == bytes.size()) return std::nullopt;
    bytes = bytes.subspan(text.size() + 1);
    return text;
}

// The loose form of UTF-8 that is accepted here: every lead byte from 0xC2 to 0xF7 with as many continuation
// bytes as it announces.
bool IsLooseUtf8(std::string_view text) {
    size_t continuations = 0;
    for (const char character : text) {
        const auto byte = static_cast<uint8_t>(character);
        const bool continues = IsContinuationByte(character);
        if (continues != (continuations > 0)) return false;
        if (continues)
            --continuations;
        else if (byte >= 0xC2 && byte <= 0xF7)
            continuations = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
        else if (byte >= 0x80)
            return false;
    }
    return continuations == 0;
}

}  // namespace

bool ReadCafInfo(std::span<const uint8_t> body, MetadataStore& store) {
    if (body.size() < 4) return false;
    const auto entries = ReadBe32(body.data());
    if (entries < 1 || entries > maximumEntries) return false;
    body = body.subspan(4);
    for (uint32_t i = 0; i < entries; ++i) {
        const auto key = TakeString(body);
        const auto value = TakeString(body);
        if (!key || !value || !IsLooseUtf8(*key) || !IsLooseUtf8(*value)) return false;
        store.Set("CAFINFO:" + std::string(*key), *value);
    }
    return true;
}

}  // namespace vantor
