// Texts at fixed places of a chunk under construction.
#pragma once

#include <string_view>

#include "metadata/text_field.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

// At most `bytes` of the text, without a part of a UTF-8 character at the end.
[[nodiscard]] std::string_view CutAtCharacter(std::string_view text, size_t bytes);
// Fills the field, with zeros behind the text. Too long a text is cut between characters.
void PutField(ChunkBody& body, const TextField& field, std::string_view text);

}  // namespace vantor
