#include "metadata/write/put_field.h"

#include <algorithm>

#include "text/text.h"

namespace vantor {

void PutField(ChunkBody& body, const TextField& field, std::string_view text) {
    const auto start = body.begin() + static_cast<std::ptrdiff_t>(field.offset);
    const auto cut = CutAtCharacter(text, field.width);
    std::fill(std::copy(cut.begin(), cut.end(), start), start + static_cast<std::ptrdiff_t>(field.width),
              uint8_t{0});
}

}  // namespace vantor
