#include "metadata/write/put_field.h"

#include <algorithm>

namespace vantor {

std::string_view CutAtCharacter(std::string_view text, size_t bytes) {
    if (text.size() <= bytes) return text;
    const auto continues = [&](size_t place) { return (static_cast<uint8_t>(text[place]) & 0xC0) == 0x80; };
    while (bytes > 0 && continues(bytes))
        --bytes;
    return text.substr(0, bytes);
}

void PutField(ChunkBody& body, const TextField& field, std::string_view text) {
    const auto start = body.begin() + static_cast<std::ptrdiff_t>(field.offset);
    const auto cut = CutAtCharacter(text, field.width);
    std::fill(std::copy(cut.begin(), cut.end(), start), start + static_cast<std::ptrdiff_t>(field.width),
              uint8_t{0});
}

}  // namespace vantor
